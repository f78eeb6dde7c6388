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
QByteArray piece(const RS232Message& message, int offset, int size)
{
    return message.data().mid(offset, size);
}
}

void RS232Handler::fh_cmd_3d_measurement(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_cmd_3d_measurement");
    for (const SensorCommand& row : SENSOR_COMMANDS) {
        if (row.command_id == message.get_command_id()) {
            instance()->m_pDeviceControl->set_sensor_3d_cmd(row.command, row.parameter);
            return;
        }
    }
}

void RS232Handler::fh_get_3d_measurement_data(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_get_3d_measurement_data");
    const RS232Handler* self = instance();
    QByteArray reply;
    reply.reserve(28);
    reply.append(RS232Message::double_to_bytearray(self->m_d3DX));
    reply.append(RS232Message::double_to_bytearray(self->m_d3DY));
    reply.append(RS232Message::double_to_bytearray(self->m_d3DZ));
    reply.append(RS232Message::float_to_bytearray(static_cast<float>(self->m_d3DDistanceCounter)));
    send_reply(message, reply);
}

void RS232Handler::fh_set_3d_measurement_start_position(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_position");
    const double x = RS232Message::bytearray_to_double(piece(message, 0, 8));
    const double y = RS232Message::bytearray_to_double(piece(message, 8, 8));
    const double z = RS232Message::bytearray_to_double(piece(message, 16, 8));
    send_by_name(*instance()->m_pDeviceControl, "set_sensor_3d_start_position", { x, y, z });
}

void RS232Handler::fh_set_3d_measurement_start_orientation(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_3d_measurement_start_orientation");
    // Floats on the line, doubles on the bus.
    const double first = RS232Message::bytearray_to_float(piece(message, 0, 4));
    const double second = RS232Message::bytearray_to_float(piece(message, 4, 4));
    send_by_name(*instance()->m_pDeviceControl, "set_sensor_3d_start_orientation", { first, second });
}

// Writes no log line, unlike the other handlers, on purpose.
void RS232Handler::fh_set_inclination_direction(RS232Message& message)
{
    if (message.get_command_id() == CMD_DIRECTION_UP)
        instance()->m_bInclinationDirection = true;
    else if (message.get_command_id() == CMD_DIRECTION_DOWN)
        instance()->m_bInclinationDirection = false;
}

void RS232Handler::fh_set_inclination_status(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_status");
    RS232Handler* self = instance();
    if (message.get_command_id() == CMD_INCLINATION_ON) {
        self->m_bInclinationActive = true;
        self->m_fInclinationStartMeter = self->m_fMeterCounter;
    } else if (message.get_command_id() == CMD_INCLINATION_OFF) {
        // The start meter stays where it was.
        self->m_bInclinationActive = false;
    }
}

void RS232Handler::fh_init_inclination(RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_init_inclination");
    RS232Handler* self = instance();
    self->m_bInclinationActive = false;
    self->m_bInclinationDirection = false;
    self->m_fInclinationValue = 0.0f;
    self->m_fInclinationStartMeter = self->m_fMeterCounter;
}

void RS232Handler::fh_set_inclination_distance(RS232Message& message)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_inclination_distance");
    // The two-byte integer form carries only the upper half of a value, so
    // the low 16 bits kept here are always 0: the mark then advances by 0.
    const int decoded = RS232Message::bytearray_to_int(message.data());
    instance()->m_uiInclinationDistance = static_cast<quint16>(decoded & 0xFFFF);
}
