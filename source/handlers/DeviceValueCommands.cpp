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

// A double answer of the device status service; anything else reads as 0.
double waitedDouble(QDBusAbstractInterface& proxy, const char* method)
{
    const QVariant value = waited_by_name(proxy, method);
    return value.userType() == QMetaType::Double ? value.toDouble() : 0.0;
}
}

void RS232Handler::fh_get_device_data(RS232Message& message)
{
    // Level 0 on purpose, unlike the other handlers.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_device_data");
    const unsigned char first = message.data_byte(0);
    const unsigned char second = message.data_byte(1);

    unsigned char status = STATUS_UNKNOWN_SELECTOR;
    unsigned char moduleType = 0;
    if (first == CAMERA_MODULE_SELECTOR[0] && second == CAMERA_MODULE_SELECTOR[1]) {
        status = STATUS_ANSWERED;
        moduleType = waited(instance()->m_pDeviceStatus->get_camera_module_type()) & 0xFF;
    }

    const char reply[] = { char(first), char(second), char(status), char(moduleType) };
    message.set_data(QByteArray(reply, sizeof reply));
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    RS232::instance()->send_message(&message);
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_device_data done.");
}

void RS232Handler::fh_get_device_value(RS232Message& message)
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
        { 0xC4, [](RS232Handler& h) { return float(waitedDouble(*h.m_pDeviceStatus, "get_crawler_roll")); } },
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
        if (row.command_id == message.get_command_id()) {
            value = row.read(*instance());
            break;
        }
    }
    send_reply(message, RS232Message::float_to_bytearray(value));
}

void RS232Handler::fh_get_adconverter(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_adconverter");
    const unsigned char channel = message.data_byte(0);
    const float value = channel == INCLINATION_CHANNEL ? instance()->m_fInclinationValue : 0.0f;

    QByteArray reply(1, char(channel));
    reply.append(RS232Message::float_to_bytearray(value));
    send_reply(message, reply);
}
