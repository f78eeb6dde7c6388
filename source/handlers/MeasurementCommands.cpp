// SPDX-License-Identifier: BSD-2-Clause
// 3D measurement and inclination commands. The 3D sensor is driven through the
// device bus service, which pushes its data as a signal; the inclination
// commands set the direction, distance and activity that the crawler pitch
// slot uses to advance the inclination mark.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CTravendDeviceControlInterface.h"
#include "RS232Handler.h"

namespace {
// The sensor command pair sent for each action command.
struct SensorCommand {
    unsigned char command_id;
    uchar command;
    uchar parameter;
};

const SensorCommand SENSOR_COMMANDS[] = {
    // id    command  parameter
    { 0xD4, 1, 1 },
    { 0xD5, 1, 2 },
    { 0xD6, 1, 0 },
};

const unsigned char CMD_DIRECTION_UP = 0x20;
const unsigned char CMD_DIRECTION_DOWN = 0x21;
const unsigned char CMD_INCLINATION_ON = 0x22;
const unsigned char CMD_INCLINATION_OFF = 0x23;

// A piece of the request; a request shorter than the piece gives a shorter
// (or empty) piece, whose missing bytes the decoders read as 0.
QByteArray piece(const RS232Message& request, int offset, int size)
{
    return request.data().mid(offset, size);
}
} // namespace

RS232Handler::Reply RS232Handler::fh_cmd_3d_measurement(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_cmd_3d_measurement");
    for (const SensorCommand& row : SENSOR_COMMANDS) {
        if (row.command_id == request.get_command_id()) {
            self.m_pDeviceControl->set_sensor_3d_cmd(row.command, row.parameter);
            return no_reply();
        }
    }
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_get_3d_measurement_data(RS232Handler& self, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_get_3d_measurement_data");
    QByteArray reply;
    reply.reserve(28);
    reply.append(RS232Message::double_to_bytearray(self.m_d3DX));
    reply.append(RS232Message::double_to_bytearray(self.m_d3DY));
    reply.append(RS232Message::double_to_bytearray(self.m_d3DZ));
    reply.append(RS232Message::float_to_bytearray(static_cast<float>(self.m_d3DDistanceCounter)));
    return reply_with(reply);
}

RS232Handler::Reply RS232Handler::fh_set_3d_measurement_start_position(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_position");
    const double x = RS232Message::bytearray_to_double(piece(request, 0, 8));
    const double y = RS232Message::bytearray_to_double(piece(request, 8, 8));
    const double z = RS232Message::bytearray_to_double(piece(request, 16, 8));
    if (may_send())
        self.m_pDeviceControl->set_sensor_3d_start_position(x, y, z);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_3d_measurement_start_orientation(RS232Handler& self,
                                                                          const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_orientation");
    // Floats on the line, doubles on the bus.
    const double first = RS232Message::bytearray_to_float(piece(request, 0, 4));
    const double second = RS232Message::bytearray_to_float(piece(request, 4, 4));
    if (may_send())
        self.m_pDeviceControl->set_sensor_3d_start_orientation(first, second);
    return no_reply();
}

// Logs nothing, unlike the other inclination commands: direction changes do
// not show in the log.
RS232Handler::Reply RS232Handler::fh_set_inclination_direction(RS232Handler& self, const RS232Message& request)
{
    if (request.get_command_id() == CMD_DIRECTION_UP)
        self.m_bInclinationDirection = true;
    else if (request.get_command_id() == CMD_DIRECTION_DOWN)
        self.m_bInclinationDirection = false;
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_inclination_status(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_status");
    if (request.get_command_id() == CMD_INCLINATION_ON) {
        self.m_bInclinationActive = true;
        self.m_fInclinationStartMeter = self.m_fMeterCounter;
    } else if (request.get_command_id() == CMD_INCLINATION_OFF) {
        // The start meter stays where it was.
        self.m_bInclinationActive = false;
    }
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_init_inclination(RS232Handler& self, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_init_inclination");
    self.m_bInclinationActive = false;
    self.m_bInclinationDirection = false;
    self.m_fInclinationValue = 0.0f;
    self.m_fInclinationStartMeter = self.m_fMeterCounter;
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_inclination_distance(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_distance");
    // The two-byte integer form carries only the upper half of a value, so
    // the low 16 bits kept here are always 0: the mark then advances by 0.
    const int decoded = RS232Message::bytearray_to_int(request.data());
    self.m_uiInclinationDistance = static_cast<quint16>(decoded & 0xFFFF);
    return no_reply();
}
