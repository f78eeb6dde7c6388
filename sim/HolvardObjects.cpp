// SPDX-License-Identifier: BSD-2-Clause
#include "HolvardObjects.h"

#include "SimulatorState.h"

MeterCounterObject::MeterCounterObject(SimulatorState& state, QObject* parent)
    : QObject(parent)
    , m_state(state)
{
}

void MeterCounterObject::set_meter_counter(double value)
{
    m_state.calls.record("set_meter_counter", { value });
    m_state.meters.counter = value;
    emit meter_counter_changed(value);
}

void MeterCounterObject::set_meter_counter_sat(double value)
{
    m_state.calls.record("set_meter_counter_sat", { value });
    m_state.meters.sat = value;
    emit meter_counter_sat_changed(value);
}

void MeterCounterObject::set_meter_counter_abs(double value)
{
    m_state.calls.record("set_meter_counter_abs", { value });
    m_state.meters.abs = value;
    emit meter_counter_abs_changed(value);
}

SysLocaleObject::SysLocaleObject(SimulatorState& state, QObject* parent)
    : QObject(parent)
    , m_state(state)
{
}

QString SysLocaleObject::get_locale()
{
    m_state.calls.record("get_locale");
    return m_state.locale;
}
