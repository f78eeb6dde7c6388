// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232MESSAGE_H
#define RS232MESSAGE_H

#include <QByteArray>
#include <QObject>
#include <QString>

// One frame of the serial protocol: a command from the PC or a reply to it.
//
// The length the header announces is length lo + length hi (a sum, not a
// 16-bit number), so a received frame carries 0 to 510 data bytes and a
// message the program fills with set_data() is valid only up to 255 bytes;
// set_long_length() announces longer data as the PC reads it.
class RS232Message : public QObject
{
    Q_OBJECT

public:
    // What length lo alone announces, and what lo + hi can announce at most.
    static constexpr int MAX_SHORT_DATA_LENGTH = 255;
    static constexpr int MAX_DATA_LENGTH = 510;

    RS232Message();
    RS232Message(const RS232Message& other);
    RS232Message& operator=(const RS232Message&) = delete;

    unsigned char get_command_id() const { return m_ucCommandId; }
    void set_command_id(unsigned char id) { m_ucCommandId = id; }
    unsigned char get_group_id() const { return m_ucGroupId; }
    void set_group_id(unsigned char id) { m_ucGroupId = id; }
    unsigned char get_length_hi() const { return m_ucLengthHi; }
    void set_length_hi(unsigned char length) { m_ucLengthHi = length; }
    unsigned char get_length_lo() const { return m_ucLengthLo; }
    void set_length_lo(unsigned char length) { m_ucLengthLo = length; }

    int get_setted_length() const { return int(m_ucLengthHi) + int(m_ucLengthLo); }
    int get_data_length() const { return m_baData.size(); }
    QByteArray get_data() const { return m_baData; }
    // The data without a copy, for readers on the hot path.
    const QByteArray& data() const { return m_baData; }
    // Data byte `index` as an unsigned value; a byte the data lacks reads as 0.
    unsigned char data_byte(int index) const;

    void append_data_byte(unsigned char byte) { m_baData.append(char(byte)); }
    // Room for the data a header announced: one allocation per frame.
    void reserve_data(int size) { m_baData.reserve(size); }
    void set_data(const QByteArray& data);
    // Announces the data as length lo = 255 and length hi = the rest, cutting
    // it to MAX_DATA_LENGTH first; false if it had to be cut.
    bool set_long_length();
    void clear_data();
    void clear();

    bool is_data_complete() const { return get_setted_length() == m_baData.size(); }
    bool is_valid() const { return m_ucCommandId != 0 && m_ucGroupId != 255 && is_data_complete(); }
    QString toStr() const;
    // The frame on the line: STX, command id, group id, length lo, length hi,
    // the data, ETX. No checksum, no escaping: the length delimits the data.
    QByteArray to_frame() const;

    // Value encodings on the line, most significant byte first on every host.
    // The decoders read missing bytes as 0 instead of reading past the end.
    static QByteArray int_to_bytearray(int value);
    static int bytearray_to_int(const QByteArray& bytes);
    static QByteArray float_to_bytearray(float value);
    static float bytearray_to_float(const QByteArray& bytes);
    static QByteArray double_to_bytearray(double value);
    static double bytearray_to_double(const QByteArray& bytes);

private:
    unsigned char m_ucCommandId;
    unsigned char m_ucGroupId;
    unsigned char m_ucLengthHi;
    unsigned char m_ucLengthLo;
    QByteArray m_baData;
};

// Byte `index` of `bytes` as an unsigned value, 0 past the end.
inline unsigned char byte_at(const QByteArray& bytes, int index)
{
    return (index >= 0 && index < bytes.size()) ? static_cast<unsigned char>(bytes.constData()[index]) : 0;
}

#endif
