// SPDX-License-Identifier: BSD-2-Clause
// 3D measurement commands: the sensor is driven through the device bus
// service, which pushes its data as a signal.
#include "MeasurementCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CTravendDeviceControlInterface.h"
#include "CTravendDeviceEventsInterface.h"
#include "Handlers.h"
#include "RS232Message.h"
#include "SensorPayloads.h"

MeasurementCommands::MeasurementCommands(CTravendDeviceControlInterface& deviceControl,
                                         CTravendDeviceEventsInterface& deviceEvents, BusCommand& bus)
    : deviceControl(deviceControl)
    , bus(bus)
{
    connect(&deviceEvents, &CTravendDeviceEventsInterface::sensor_3d_data, this, &MeasurementCommands::onSensor3DData);
}

void MeasurementCommands::onSensor3DData(double dDistCtr, double dXValue, double dYValue, double dZValue)
{
    distanceCounter = dDistCtr;
    x = dXValue;
    y = dYValue;
    z = dZValue;
}

Reply fh_cmd_3d_measurement(MeasurementCommands& sensor, const RS232Message&, SensorCommand command)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_cmd_3d_measurement");
    sensor.deviceControl.set_sensor_3d_cmd(command.command, command.parameter);
    return no_reply();
}

Reply fh_get_3d_measurement_data(MeasurementCommands& sensor, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_get_3d_measurement_data");
    return reply_with(
        encodeMeasurement3D({ sensor.x, sensor.y, sensor.z, static_cast<float>(sensor.distanceCounter) }));
}

Reply fh_set_3d_measurement_start_position(MeasurementCommands& sensor, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_position");
    const Position3D position = decodeStartPosition(request.data());
    if (sensor.bus.may_send())
        sensor.deviceControl.set_sensor_3d_start_position(position.x, position.y, position.z);
    return no_reply();
}

Reply fh_set_3d_measurement_start_orientation(MeasurementCommands& sensor, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_orientation");
    // Floats on the line, doubles on the bus.
    const Orientation3D orientation = decodeStartOrientation(request.data());
    if (sensor.bus.may_send())
        sensor.deviceControl.set_sensor_3d_start_orientation(orientation.first, orientation.second);
    return no_reply();
}
