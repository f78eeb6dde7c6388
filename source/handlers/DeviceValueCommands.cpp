// SPDX-License-Identifier: BSD-2-Clause
// Device data and values of crawler and camera. Most values are pushed by the
// device bus service as signals and kept by the registry's slots; pressures,
// roll and the camera module type are asked for on demand. Every value goes
// out as a 4-byte float, in the units the device bus service uses.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CTravendDeviceStatusInterface.h"
#include "RS232.h"
#include "RS232Handler.h"

namespace {
// Device data selector pairs: only (1, 1), the camera module type, is known.
const unsigned char CAMERA_MODULE_SELECTOR[] = { 1, 1 };
const unsigned char STATUS_ANSWERED = 0;
const unsigned char STATUS_UNKNOWN_SELECTOR = 1;

// Analogue converter channel 0 carries the inclination; the others read 0.
const unsigned char INCLINATION_CHANNEL = 0;
} // namespace

RS232Handler::Reply RS232Handler::fh_get_device_data(RS232Handler& self, const RS232Message& request)
{
    // Level 0, like the meter counter queries: visible at the default log level.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_device_data");
    const unsigned char first = request.data_byte(0);
    const unsigned char second = request.data_byte(1);

    unsigned char status = STATUS_UNKNOWN_SELECTOR;
    unsigned char moduleType = 0;
    if (first == CAMERA_MODULE_SELECTOR[0] && second == CAMERA_MODULE_SELECTOR[1]) {
        status = STATUS_ANSWERED;
        moduleType = waited(self.m_pDeviceStatus->get_camera_module_type()) & 0xFF;
    }

    const char reply[] = { char(first), char(second), char(status), char(moduleType) };
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return reply_with(QByteArray(reply, sizeof reply), "RS232Handler::fh_get_device_data done.");
}

RS232Handler::Reply RS232Handler::fh_get_device_value(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_device_value");

    struct DeviceValue {
        unsigned char command_id;
        float (*read)(RS232Handler& handler);
    };
    // 0xC6 has no value behind it and answers 0.0, as the PC expects; ids not
    // listed answer 0.0 as well.
    static const DeviceValue VALUES[] = {
        { 0xC0, [](RS232Handler& h) { return float(h.m_iCrawlerTemperature); } },
        { 0xC2, [](RS232Handler& h) { return float(waited(h.m_pDeviceStatus->get_crawler_pressure1())); } },
        { 0xC4, [](RS232Handler& h) { return float(waited(h.m_pDeviceStatus->get_crawler_roll())); } },
        { 0xC6, [](RS232Handler&) { return 0.0f; } },
        { 0xF0, [](RS232Handler& h) { return h.m_fCameraPanPos; } },
        { 0xF3, [](RS232Handler& h) { return h.m_fCameraTiltPos; } },
        { 0xF5, [](RS232Handler& h) { return h.m_fExtModuleObjectTemperature; } },
        { 0xF6, [](RS232Handler& h) { return float(h.m_iCameraTemperature); } },
        { 0xF9, [](RS232Handler& h) { return float(waited(h.m_pDeviceStatus->get_camera_pressure1())); } },
        { 0xFB, [](RS232Handler& h) { return h.m_fInclinationValue; } },
    };

    float value = 0.0f;
    for (const DeviceValue& row : VALUES) {
        if (row.command_id == request.get_command_id()) {
            value = row.read(self);
            break;
        }
    }
    return reply_with(RS232Message::float_to_bytearray(value));
}

RS232Handler::Reply RS232Handler::fh_get_adconverter(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_adconverter");
    const unsigned char channel = request.data_byte(0);
    const float value = channel == INCLINATION_CHANNEL ? self.m_fInclinationValue : 0.0f;

    QByteArray reply(1, char(channel));
    reply.append(RS232Message::float_to_bytearray(value));
    return reply_with(reply);
}
