// SPDX-License-Identifier: BSD-2-Clause
// Device data and values of crawler and camera, and the inclination. Every
// value goes out as a 4-byte float, in the units the device bus service uses.
#include "DeviceValueCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CTravendDeviceEventsInterface.h"
#include "CTravendDeviceStatusInterface.h"
#include "Handlers.h"
#include "RS232Message.h"
#include "SensorPayloads.h"

#include <cmath>

namespace {
// Analogue converter channel 0 carries the inclination; the others read 0.
const unsigned char INCLINATION_CHANNEL = 0;

const float DEGREES_TO_RADIANS = 0.017453292f;
} // namespace

DeviceValueCommands::DeviceValueCommands(CTravendDeviceStatusInterface& deviceStatus,
                                         CTravendDeviceEventsInterface& deviceEvents, BusCommand& bus)
    : deviceStatus(deviceStatus)
    , bus(bus)
{
    using Events = CTravendDeviceEventsInterface;
    connect(&deviceEvents, &Events::crawler_pitch, this, &DeviceValueCommands::onCrawlerPitch);
    // Both cameras feed the same pan and tilt values: the last report wins.
    connect(&deviceEvents, &Events::camera_pan_pos, this, &DeviceValueCommands::onCameraPanPos);
    connect(&deviceEvents, &Events::camera_tilt_pos, this, &DeviceValueCommands::onCameraTiltPos);
    connect(&deviceEvents, &Events::camera2_pan_pos, this, &DeviceValueCommands::onCameraPanPos);
    connect(&deviceEvents, &Events::camera2_tilt_pos, this, &DeviceValueCommands::onCameraTiltPos);
    connect(&deviceEvents, &Events::extmodule_object_temperature, this,
            &DeviceValueCommands::onExtModuleObjectTemperature);
    connect(&deviceEvents, &Events::camera_temperature, this, &DeviceValueCommands::onCameraTemperature);
    connect(&deviceEvents, &Events::crawler_temperature, this, &DeviceValueCommands::onCrawlerTemperature);
}

void DeviceValueCommands::onCrawlerPitch(double dPitch)
{
    // Gradient in percent: the product in single precision, the tangent in
    // double precision.
    const float radians = static_cast<float>(dPitch) * DEGREES_TO_RADIANS;
    inclination = static_cast<float>(std::tan(double(radians)) * 100.0);
}

void DeviceValueCommands::onCameraPanPos(int iPanPos)
{
    cameraPanPosition = static_cast<float>(iPanPos);
}

void DeviceValueCommands::onCameraTiltPos(int iTiltPos)
{
    cameraTiltPosition = static_cast<float>(iTiltPos);
}

void DeviceValueCommands::onExtModuleObjectTemperature(double dTemperature)
{
    extensionModuleObjectTemperature = static_cast<float>(dTemperature);
}

void DeviceValueCommands::onCameraTemperature(int iTemperature)
{
    cameraTemperature = iTemperature;
}

void DeviceValueCommands::onCrawlerTemperature(int iTemperature)
{
    crawlerTemperature = iTemperature;
}

Reply fh_get_device_data(DeviceValueCommands& devices, const RS232Message& request, NoArgument)
{
    // Level 0, like the meter counter queries: visible at the default log level.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_device_data");
    // Only one selector pair is known: (1, 1), the camera module type.
    DeviceData data { decodeDeviceSelector(request.data()), DEVICE_DATA_UNKNOWN_SELECTOR, 0 };
    if (data.selector == CAMERA_MODULE_TYPE) {
        data.status = DEVICE_DATA_ANSWERED;
        data.value = devices.bus.waited(devices.deviceStatus.get_camera_module_type());
    }
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return reply_with(encodeDeviceData(data), "RS232Handler::fh_get_device_data done.");
}

Reply fh_get_device_value(DeviceValueCommands& devices, const RS232Message&, DeviceValue value)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_device_value");
    float answer = 0.0f;
    switch (value) {
    case DeviceValue::CrawlerTemperature:
        answer = float(devices.crawlerTemperature);
        break;
    case DeviceValue::CrawlerPressure1:
        answer = float(devices.bus.waited(devices.deviceStatus.get_crawler_pressure1()));
        break;
    case DeviceValue::CrawlerRoll:
        answer = float(devices.bus.waited(devices.deviceStatus.get_crawler_roll()));
        break;
    case DeviceValue::Unused:
        // No value behind it; the PC expects 0.0.
        break;
    case DeviceValue::CameraPanPosition:
        answer = devices.cameraPanPosition;
        break;
    case DeviceValue::CameraTiltPosition:
        answer = devices.cameraTiltPosition;
        break;
    case DeviceValue::ExtensionModuleObjectTemperature:
        answer = devices.extensionModuleObjectTemperature;
        break;
    case DeviceValue::CameraTemperature:
        answer = float(devices.cameraTemperature);
        break;
    case DeviceValue::CameraPressure1:
        answer = float(devices.bus.waited(devices.deviceStatus.get_camera_pressure1()));
        break;
    case DeviceValue::Inclination:
        answer = devices.inclination;
        break;
    }
    return reply_with(RS232Message::float_to_bytearray(answer));
}

Reply fh_get_adconverter(DeviceValueCommands& devices, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_adconverter");
    const unsigned char channel = request.data_byte(0);
    const float value = channel == INCLINATION_CHANNEL ? devices.inclination : 0.0f;

    return reply_with(encodeConverterReading({ channel, value }));
}

// The inclination commands come from a recording feature of the PC
// application whose marks the controller never reports: direction, recording
// and distance change nothing the PC can read back. Only the reset is seen,
// in the inclination value.

// Logs nothing, unlike the other inclination commands.
Reply fh_set_inclination_direction(DeviceValueCommands&, const RS232Message&, NoArgument)
{
    return no_reply();
}

Reply fh_set_inclination_status(DeviceValueCommands&, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_status");
    return no_reply();
}

Reply fh_init_inclination(DeviceValueCommands& devices, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_init_inclination");
    devices.inclination = 0.0f;
    return no_reply();
}

Reply fh_set_inclination_distance(DeviceValueCommands&, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_distance");
    return no_reply();
}
