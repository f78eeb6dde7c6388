// SPDX-License-Identifier: BSD-2-Clause
#include "SensorPayloads.h"

#include "ByteView.h"
#include "RS232Message.h"

namespace {
const int FLOAT_SIZE = 4;
const int DOUBLE_SIZE = 8;

float floatAt(const QByteArray& data, int offset)
{
    return RS232Message::bytearray_to_float(bytesFrom(data, offset));
}

double doubleAt(const QByteArray& data, int offset)
{
    return RS232Message::bytearray_to_double(bytesFrom(data, offset));
}
} // namespace

QByteArray encodeDeviceSelector(const DeviceSelector& selector)
{
    const char bytes[] = { char(selector.first), char(selector.second) };
    return QByteArray(bytes, sizeof bytes);
}

DeviceSelector decodeDeviceSelector(const QByteArray& request)
{
    return DeviceSelector { byte_at(request, 0), byte_at(request, 1) };
}

QByteArray encodeDeviceData(const DeviceData& data)
{
    const char bytes[]
        = { char(data.selector.first), char(data.selector.second), char(data.status), char(data.value & 0xFF) };
    return QByteArray(bytes, sizeof bytes);
}

DeviceData decodeDeviceData(const QByteArray& reply)
{
    return DeviceData { decodeDeviceSelector(reply), byte_at(reply, 2), byte_at(reply, 3) };
}

QByteArray encodeConverterReading(const ConverterReading& reading)
{
    return char(reading.channel & 0xFF) + RS232Message::float_to_bytearray(reading.value);
}

ConverterReading decodeConverterReading(const QByteArray& reply)
{
    return ConverterReading { byte_at(reply, 0), floatAt(reply, 1) };
}

QByteArray encodeMeasurement3D(const Measurement3D& measurement)
{
    QByteArray reply;
    reply.reserve(3 * DOUBLE_SIZE + FLOAT_SIZE);
    reply.append(RS232Message::double_to_bytearray(measurement.x));
    reply.append(RS232Message::double_to_bytearray(measurement.y));
    reply.append(RS232Message::double_to_bytearray(measurement.z));
    reply.append(RS232Message::float_to_bytearray(measurement.distanceCounter));
    return reply;
}

Measurement3D decodeMeasurement3D(const QByteArray& reply)
{
    return Measurement3D { doubleAt(reply, 0), doubleAt(reply, DOUBLE_SIZE), doubleAt(reply, 2 * DOUBLE_SIZE),
                           floatAt(reply, 3 * DOUBLE_SIZE) };
}

QByteArray encodeStartPosition(const Position3D& position)
{
    return RS232Message::double_to_bytearray(position.x) + RS232Message::double_to_bytearray(position.y)
        + RS232Message::double_to_bytearray(position.z);
}

Position3D decodeStartPosition(const QByteArray& request)
{
    return Position3D { doubleAt(request, 0), doubleAt(request, DOUBLE_SIZE), doubleAt(request, 2 * DOUBLE_SIZE) };
}

QByteArray encodeStartOrientation(const Orientation3D& orientation)
{
    return RS232Message::float_to_bytearray(orientation.first) + RS232Message::float_to_bytearray(orientation.second);
}

Orientation3D decodeStartOrientation(const QByteArray& request)
{
    return Orientation3D { floatAt(request, 0), floatAt(request, FLOAT_SIZE) };
}
