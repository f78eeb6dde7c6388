// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINEBYTES_H
#define LINEBYTES_H

#include "Protocol.h"

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
QByteArray encoded(const char* codec, const QString& text, QSysInfo::Endian utf16Order = QSysInfo::ByteOrder);
// The order a UTF-16 byte-order mark at the start of bytes gives; host order without one.
QSysInfo::Endian markedOrder(const QByteArray& bytes);

#endif
