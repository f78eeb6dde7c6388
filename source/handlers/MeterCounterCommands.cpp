// SPDX-License-Identifier: BSD-2-Clause
// Meter counter commands. Queries answer from the values the change signals
// last pushed; settings go to the service, which signals the new value back.
// Values cross the line in metres, or in feet under a US locale.
#include "MeterCounterCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CHolvardMeterCounterInterface.h"
#include "Handlers.h"
#include "LineLocale.h"
#include "RS232Message.h"

namespace {
// The PC application converts with 3.28 feet per metre, not 3.2808...; both
// sides must use the same factor or a value drifts on every round trip.
float metersToFeet(float meters)
{
    return static_cast<float>(meters * 3.28);
}

float feetToMeters(float feet)
{
    return static_cast<float>(feet / 3.28);
}

struct CounterNames {
    const char* query;
    const char* query_done;
    const char* setting;
    void (CHolvardMeterCounterInterface::*set)(double value);
};

const CounterNames& names(MeterCounter counter)
{
    static const CounterNames NAMES[] = {
        { "RS232Handler::fh_get_metercounter_1", "RS232Handler::fh_get_metercounter_1 done.",
          "RS232Handler::fh_set_metercounter_1", &CHolvardMeterCounterInterface::set_meter_counter },
        { "RS232Handler::fh_get_metercounter_2", "RS232Handler::fh_get_metercounter_2 done.",
          "RS232Handler::fh_set_metercounter_2", &CHolvardMeterCounterInterface::set_meter_counter_sat },
        { "RS232Handler::fh_get_metercounter_3", "RS232Handler::fh_get_metercounter_3 done.",
          "RS232Handler::fh_set_metercounter_3", &CHolvardMeterCounterInterface::set_meter_counter_abs },
    };
    return NAMES[int(counter) - 1];
}

// The same for every counter: the wheel is 200 (never converted to feet) and
// the resolution 20, which the two-byte integer form sends as two zero bytes.
const float WHEEL_LENGTH = 200.0f;
const int RESOLUTION = 20;
} // namespace

MeterCounterCommands::MeterCounterCommands(CHolvardMeterCounterInterface& meterCounters, const LineLocale& lineLocale,
                                           BusCommand& bus)
    : meterCounters(meterCounters)
    , lineLocale(lineLocale)
    , bus(bus)
{
    using Counters = CHolvardMeterCounterInterface;
    connect(&meterCounters, &Counters::meter_counter_changed, this, &MeterCounterCommands::onMeterCounterChanged);
    connect(&meterCounters, &Counters::meter_counter_sat_changed, this,
            &MeterCounterCommands::onSatMeterCounterChanged);
    connect(&meterCounters, &Counters::meter_counter_abs_changed, this,
            &MeterCounterCommands::onAbsMeterCounterChanged);
}

void MeterCounterCommands::onMeterCounterChanged(double dMeterValue)
{
    m_values[0] = static_cast<float>(dMeterValue);
}

void MeterCounterCommands::onSatMeterCounterChanged(double dMeterValue)
{
    m_values[1] = static_cast<float>(dMeterValue);
}

void MeterCounterCommands::onAbsMeterCounterChanged(double dMeterValue)
{
    m_values[2] = static_cast<float>(dMeterValue);
}

// The counter queries log at level 0, like the serial diagnostics, so that
// the default log level (-l 0) shows every one of them.
Reply fh_get_metercounter(MeterCounterCommands& counters, const RS232Message&, MeterCounter counter)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, names(counter).query);
    const float meters = counters.value(counter);
    const QByteArray value
        = RS232Message::float_to_bytearray(counters.lineLocale.metric() ? meters : metersToFeet(meters));
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return reply_with(value, names(counter).query_done);
}

// The stored value is left alone: it changes when the service signals back.
Reply fh_set_metercounter(MeterCounterCommands& counters, const RS232Message& request, MeterCounter counter)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, names(counter).setting);
    const float value = RS232Message::bytearray_to_float(request.data());
    const float meters = counters.lineLocale.metric() ? value : feetToMeters(value);
    if (counters.bus.may_send())
        (counters.meterCounters.*names(counter).set)(double(meters));
    return no_reply();
}

Reply fh_get_metercounter_wheel_length(MeterCounterCommands&, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_metercounter_wheel_length");
    return reply_with(RS232Message::float_to_bytearray(WHEEL_LENGTH));
}

Reply fh_get_metercounter_resolution(MeterCounterCommands&, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_metercounter_resolution");
    return reply_with(RS232Message::int_to_bytearray(RESOLUTION));
}
