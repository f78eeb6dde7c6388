// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINEBYTES_H
#define LINEBYTES_H

#include "Protocol.h"
#include "QtCompat.h"

#include <QByteArray>
#include <QString>
#include <QSysInfo>

// Bytes as the tests write them, for the rig and for the in-process handler tests.

// The group ids as test data rows carry them.
constexpr quint8 ACTION = Protocol::ACTION, QUERY = Protocol::QUERY, SETTING = Protocol::SETTING;
// Bytes written as hex digits, spaces allowed ("02 05 01"); one byte.
inline QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}
inline QByteArray byte(int value)
{
    return QByteArray(1, char(value));
}

// A text in a character set as the line carries it ("UTF-16": a byte-order mark, then the text in
// utf16Order, built by hand). The controller writes UTF-16 in its own byte order, which need not be
// the PC's: an expected answer takes the order from the mark the answer starts with (markedOrder).
inline QByteArray encoded(const char* codec, const QString& text, QSysInfo::Endian utf16Order = QSysInfo::ByteOrder)
{
    if (qstrcmp(codec, "UTF-16") != 0)
        return QTextCodec::codecForName(codec)->fromUnicode(text);
    // Built by hand rather than by a codec, as an independent check of the service's.
    QByteArray bytes;
    for (const QChar c : QChar(QChar::ByteOrderMark) + text) {
        const char high = char(c.unicode() >> 8), low = char(c.unicode() & 0xFF);
        bytes.append(utf16Order == QSysInfo::BigEndian ? high : low)
            .append(utf16Order == QSysInfo::BigEndian ? low : high);
    }
    return bytes;
}
// The order a UTF-16 byte-order mark at the start of bytes gives; host order without one.
inline QSysInfo::Endian markedOrder(const QByteArray& bytes)
{
    if (bytes.startsWith("\xfe\xff"))
        return QSysInfo::BigEndian;
    return bytes.startsWith("\xff\xfe") ? QSysInfo::LittleEndian : QSysInfo::ByteOrder;
}

#endif
