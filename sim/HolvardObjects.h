// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QObject>

struct SimulatorState;

// /metercounter of "local.vemo.holvard": a setting is stored and pushed back
// as the matching changed signal, as the real service does.
class MeterCounterObject : public QObject
{
    Q_OBJECT
public:
    MeterCounterObject(SimulatorState& state, QObject* parent = nullptr);

    void set_meter_counter(double value);
    void set_meter_counter_sat(double value);
    void set_meter_counter_abs(double value);

signals:
    void meter_counter_changed(double value);
    void meter_counter_sat_changed(double value);
    void meter_counter_abs_changed(double value);

private:
    SimulatorState& m_state;
};

// /syslocale of "local.vemo.holvard".
class SysLocaleObject : public QObject
{
    Q_OBJECT
public:
    SysLocaleObject(SimulatorState& state, QObject* parent = nullptr);

    QString get_locale();

private:
    SimulatorState& m_state;
};
