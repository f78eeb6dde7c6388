// SPDX-License-Identifier: BSD-2-Clause
// Meter counter commands: the three cable meter counters of the system
// management service. Queries answer from the values its change signals last
// pushed; settings go to the service, which signals the new value back.
// Values cross the line in metres, or in feet under a non-metric locale.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CHolvardMeterCounterInterface.h"
#include "RS232.h"
#include "RS232Handler.h"

// The PC application converts with 3.28 feet per metre, not 3.2808...; both
// sides must use the same factor or a value drifts on every round trip.
float ConvertMetersToFeet(float meters)
{
    return static_cast<float>(meters * 3.28);
}

float ConvertFeetToMeters(float feet)
{
    return static_cast<float>(feet / 3.28);
}

namespace {
struct MeterCounter {
    const char* query_name;
    const char* query_done;
    const char* setting_name;
    QDBusPendingReply<> (CHolvardMeterCounterInterface::*set)(double value);
};

// Counter 1 is read and set under 0x30, counter 2 under 0x36, counter 3 is
// read under 0x3B and set under 0x3C (see the command table).
const MeterCounter COUNTER_1
    = { "RS232Handler::fh_get_metercounter_1", "RS232Handler::fh_get_metercounter_1 done.",
        "RS232Handler::fh_set_metercounter_1", &CHolvardMeterCounterInterface::set_meter_counter };
const MeterCounter COUNTER_2
    = { "RS232Handler::fh_get_metercounter_2", "RS232Handler::fh_get_metercounter_2 done.",
        "RS232Handler::fh_set_metercounter_2", &CHolvardMeterCounterInterface::set_meter_counter_sat };
const MeterCounter COUNTER_3
    = { "RS232Handler::fh_get_metercounter_3", "RS232Handler::fh_get_metercounter_3 done.",
        "RS232Handler::fh_set_metercounter_3", &CHolvardMeterCounterInterface::set_meter_counter_abs };

// The same for every counter: the wheel is 200 (never converted to feet) and
// the resolution 20, which the two-byte integer form sends as two zero bytes.
const float WHEEL_LENGTH = 200.0f;
const int RESOLUTION = 20;

// The meter counter queries log at level 0, like the serial diagnostics: the
// default log level (-l 0) shows every counter query.
RS232Handler::Reply answerCounter(const MeterCounter& counter, float meters, bool metric)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, counter.query_name);
    const QByteArray value = RS232Message::float_to_bytearray(metric ? meters : ConvertMetersToFeet(meters));
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return RS232Handler::reply_with(value, counter.query_done);
}

// The stored value is left alone: it changes when the service signals back.
void forwardCounter(const RS232Message& request, const MeterCounter& counter, bool metric,
                    CHolvardMeterCounterInterface& meterCounters)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, counter.setting_name);
    const float value = RS232Message::bytearray_to_float(request.data());
    const float meters = metric ? value : ConvertFeetToMeters(value);
    if (may_send())
        (meterCounters.*counter.set)(double(meters));
}
} // namespace

RS232Handler::Reply RS232Handler::fh_get_metercounter_1(RS232Handler& self, const RS232Message&)
{
    return answerCounter(COUNTER_1, self.m_fMeterCounter, self.m_bMetric);
}

RS232Handler::Reply RS232Handler::fh_get_metercounter_2(RS232Handler& self, const RS232Message&)
{
    return answerCounter(COUNTER_2, self.m_fSatMeterCounter, self.m_bMetric);
}

RS232Handler::Reply RS232Handler::fh_get_metercounter_3(RS232Handler& self, const RS232Message&)
{
    return answerCounter(COUNTER_3, self.m_fAbsMeterCounter, self.m_bMetric);
}

RS232Handler::Reply RS232Handler::fh_set_metercounter_1(RS232Handler& self, const RS232Message& request)
{
    forwardCounter(request, COUNTER_1, self.m_bMetric, *self.m_pMeterCounter);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_metercounter_2(RS232Handler& self, const RS232Message& request)
{
    forwardCounter(request, COUNTER_2, self.m_bMetric, *self.m_pMeterCounter);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_metercounter_3(RS232Handler& self, const RS232Message& request)
{
    forwardCounter(request, COUNTER_3, self.m_bMetric, *self.m_pMeterCounter);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_get_metercounter_wheel_length(RS232Handler&, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_metercounter_wheel_length");
    return reply_with(RS232Message::float_to_bytearray(WHEEL_LENGTH));
}

RS232Handler::Reply RS232Handler::fh_get_metercounter_resolution(RS232Handler&, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_metercounter_resolution");
    return reply_with(RS232Message::int_to_bytearray(RESOLUTION));
}
