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

namespace {
// A piece of the request; a request shorter than the piece gives a shorter
// (or empty) piece, whose missing bytes the decoders read as 0.
QByteArray piece(const RS232Message& request, int offset, int size)
{
    return request.data().mid(offset, size);
}
} // namespace

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
    QByteArray reply;
    reply.reserve(28);
    reply.append(RS232Message::double_to_bytearray(sensor.x));
    reply.append(RS232Message::double_to_bytearray(sensor.y));
    reply.append(RS232Message::double_to_bytearray(sensor.z));
    reply.append(RS232Message::float_to_bytearray(static_cast<float>(sensor.distanceCounter)));
    return reply_with(reply);
}

Reply fh_set_3d_measurement_start_position(MeasurementCommands& sensor, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_position");
    const double x = RS232Message::bytearray_to_double(piece(request, 0, 8));
    const double y = RS232Message::bytearray_to_double(piece(request, 8, 8));
    const double z = RS232Message::bytearray_to_double(piece(request, 16, 8));
    if (sensor.bus.may_send())
        sensor.deviceControl.set_sensor_3d_start_position(x, y, z);
    return no_reply();
}

Reply fh_set_3d_measurement_start_orientation(MeasurementCommands& sensor, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_orientation");
    // Floats on the line, doubles on the bus.
    const double first = RS232Message::bytearray_to_float(piece(request, 0, 4));
    const double second = RS232Message::bytearray_to_float(piece(request, 4, 4));
    if (sensor.bus.may_send())
        sensor.deviceControl.set_sensor_3d_start_orientation(first, second);
    return no_reply();
}
