// SPDX-License-Identifier: BSD-2-Clause
#include "RS232Message.h"

#include "Protocol.h"

#include <cstring>

RS232Message::RS232Message()
{
    clear();
}

RS232Message::RS232Message(const RS232Message& other)
    : QObject()
{
    clear();
    m_ucCommandId = other.m_ucCommandId;
    m_ucGroupId = other.m_ucGroupId;
    m_ucLengthLo = other.m_ucLengthLo;
    m_ucLengthHi = other.m_ucLengthHi;
    // The copy's length bytes follow its data, not the source's header.
    set_data(other.m_baData);
}

unsigned char RS232Message::data_byte(int index) const
{
    return byte_at(m_baData, index);
}

void RS232Message::set_data(const QByteArray& data)
{
    m_baData = data;
    m_ucLengthHi = static_cast<unsigned char>((data.size() >> 8) & 0xFF);
    m_ucLengthLo = static_cast<unsigned char>(data.size() & 0xFF);
}

bool RS232Message::set_long_length()
{
    const bool fits = m_baData.size() <= MAX_DATA_LENGTH;
    if (!fits)
        m_baData.truncate(MAX_DATA_LENGTH);
    m_ucLengthLo = static_cast<unsigned char>(qMin(m_baData.size(), MAX_SHORT_DATA_LENGTH));
    m_ucLengthHi = static_cast<unsigned char>(m_baData.size() - m_ucLengthLo);
    return fits;
}

void RS232Message::clear_data()
{
    m_ucLengthHi = 0;
    m_ucLengthLo = 0;
    m_baData.clear();
}

void RS232Message::clear()
{
    m_ucGroupId = 255;
    m_ucCommandId = 0;
    clear_data();
}

QString RS232Message::toStr() const
{
    QString text = QString("0x%1|0x%2|0x%3|0x%4|")
                       .arg(m_ucCommandId, 0, 16)
                       .arg(m_ucGroupId, 0, 16)
                       .arg(m_ucLengthLo, 0, 16)
                       .arg(m_ucLengthHi, 0, 16);
    for (int i = 0; i < m_baData.size(); ++i) {
        if (i > 0)
            text += '|';
        text += QString("0x%1").arg(byte_at(m_baData, i), 0, 16);
    }
    return text;
}

QByteArray RS232Message::to_frame() const
{
    QByteArray frame;
    frame.reserve(m_baData.size() + 6);
    frame.append(char(Protocol::STX));
    frame.append(char(m_ucCommandId));
    frame.append(char(m_ucGroupId));
    frame.append(char(m_ucLengthLo));
    frame.append(char(m_ucLengthHi));
    frame.append(m_baData);
    frame.append(char(Protocol::ETX));
    return frame;
}

// The integer form carries only the upper 16 bits of the value, the lower of
// those two bytes first; the PC side expects exactly this.
QByteArray RS232Message::int_to_bytearray(int value)
{
    const quint32 bits = static_cast<quint32>(value);
    QByteArray bytes(2, '\0');
    bytes[0] = char((bits >> 16) & 0xFF);
    bytes[1] = char((bits >> 24) & 0xFF);
    return bytes;
}

int RS232Message::bytearray_to_int(const QByteArray& bytes)
{
    if (bytes.size() != 2)
        return 0;
    const quint32 bits = (quint32(byte_at(bytes, 1)) << 24) | (quint32(byte_at(bytes, 0)) << 16);
    return static_cast<int>(bits);
}

namespace {
QByteArray bigEndianBytes(quint64 bits, int count)
{
    QByteArray bytes(count, '\0');
    for (int i = 0; i < count; ++i)
        bytes[i] = char((bits >> (8 * (count - 1 - i))) & 0xFF);
    return bytes;
}

quint64 bigEndianBits(const QByteArray& bytes, int count)
{
    quint64 bits = 0;
    for (int i = 0; i < count; ++i)
        bits = (bits << 8) | byte_at(bytes, i);
    return bits;
}
} // namespace

QByteArray RS232Message::float_to_bytearray(float value)
{
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bigEndianBytes(bits, 4);
}

float RS232Message::bytearray_to_float(const QByteArray& bytes)
{
    const quint32 bits = static_cast<quint32>(bigEndianBits(bytes, 4));
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

QByteArray RS232Message::double_to_bytearray(double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bigEndianBytes(bits, 8);
}

double RS232Message::bytearray_to_double(const QByteArray& bytes)
{
    const quint64 bits = bigEndianBits(bytes, 8);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
