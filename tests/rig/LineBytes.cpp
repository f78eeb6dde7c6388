// SPDX-License-Identifier: BSD-2-Clause
#include "LineBytes.h"

#include "QtCompat.h"

QByteArray encoded(const char* codec, const QString& text, QSysInfo::Endian utf16Order)
{
    if (qstrcmp(codec, "UTF-16") != 0)
        return QTextCodec::codecForName(codec)->fromUnicode(text);
    // Built by hand rather than by a codec, as an independent check of the service's.
    const QString marked = QChar(QChar::ByteOrderMark) + text;
    QByteArray bytes;
    bytes.reserve(int(marked.size() * 2));
    for (const QChar c : marked) {
        const char high = char(c.unicode() >> 8), low = char(c.unicode() & 0xFF);
        bytes.append(utf16Order == QSysInfo::BigEndian ? high : low);
        bytes.append(utf16Order == QSysInfo::BigEndian ? low : high);
    }
    return bytes;
}

QSysInfo::Endian markedOrder(const QByteArray& bytes)
{
    if (bytes.startsWith("\xfe\xff"))
        return QSysInfo::BigEndian;
    if (bytes.startsWith("\xff\xfe"))
        return QSysInfo::LittleEndian;
    return QSysInfo::ByteOrder;
}
