// SPDX-License-Identifier: BSD-2-Clause
#ifndef METERCOUNTERCOMMANDS_H
#define METERCOUNTERCOMMANDS_H

#include "CommandArguments.h"

#include <QObject>

class BusCommand;
class CHolvardMeterCounterInterface;
class LineLocale;

// The three cable meter counters of the system management service, as its
// change signals last pushed them.
class MeterCounterCommands : public QObject
{
    Q_OBJECT

public:
    MeterCounterCommands(CHolvardMeterCounterInterface& meterCounters, const LineLocale& lineLocale, BusCommand& bus);

    float value(MeterCounter counter) const { return m_values[int(counter) - 1]; }

    CHolvardMeterCounterInterface& meterCounters;
    const LineLocale& lineLocale;
    BusCommand& bus;

private slots:
    void onMeterCounterChanged(double dMeterValue);
    void onSatMeterCounterChanged(double dMeterValue);
    void onAbsMeterCounterChanged(double dMeterValue);

private:
    float m_values[3] = { 0.0f, 0.0f, 0.0f };
};

#endif
