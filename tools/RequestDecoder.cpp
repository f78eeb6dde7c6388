// SPDX-License-Identifier: BSD-2-Clause
#include "RequestDecoder.h"

#include "RS232Message.h"
#include "ReplyDecoder.h"
#include "TextCharset.h"

#include <QStringList>

namespace {

const int TEMP_TEXTS_OFFSET = 3; // first line, duration, one unread byte

// A text as an argument: quoted, with quotes and backslashes escaped as
// the script reader expects them.
QString textArgument(const QByteArray& bytes, const TextCharset& charset)
{
    QString text = charset.decode(bytes);
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return quoted(text);
}

QString bytes(const QByteArray& data, int count)
{
    QStringList words;
    for (int i = 0; i < count; ++i)
        words.append(QString::number(byte_at(data, i)));
    return words.join(QLatin1Char(' '));
}

QString colours(unsigned char code)
{
    return QStringLiteral("%1 %2").arg(code >> 4).arg(code & 0x0F);
}

// The unit text whose colour setting uses `index`; the index itself if none does.
QString unitTextOfColourIndex(int index)
{
    for (const CatalogueEntry& entry : catalogue()) {
        if (entry.request != RequestKind::Position)
            continue;
        const int id = entry.name.section(QLatin1Char(' '), -1).toInt();
        if (unitColourIndex(id) == index)
            return QString::number(id);
    }
    return QStringLiteral("(colour index %1)").arg(index);
}

QString tempTexts(const QByteArray& data, const TextCharset& charset)
{
    QStringList words = { QString::number(byte_at(data, 0)), QString::number(byte_at(data, 1)) };
    if (data.size() > TEMP_TEXTS_OFFSET) {
        for (const QByteArray& text : data.mid(TEMP_TEXTS_OFFSET).split('\0'))
            words.append(textArgument(text, charset));
    }
    return words.join(QLatin1Char(' '));
}

// The arguments, and how many data bytes they account for.
QString decode(const CatalogueEntry& entry, const QByteArray& data, const TextCharset& charset, int* used)
{
    *used = data.size();
    switch (entry.request) {
    case RequestKind::None:
        *used = 0;
        return {};
    case RequestKind::Byte:
        *used = 1;
        return bytes(data, 1);
    case RequestKind::ByteText:
        return bytes(data, 1) + QLatin1Char(' ') + textArgument(data.mid(1), charset);
    case RequestKind::Text:
        return textArgument(data, charset);
    case RequestKind::Cursor:
    case RequestKind::Position:
    case RequestKind::Selector:
        *used = 2;
        return bytes(data, 2);
    case RequestKind::LineColour:
        // One byte alone is the colour for the cursor's line.
        if (data.size() == 1)
            return QStringLiteral("cursor ") + colours(byte_at(data, 0));
        *used = 2;
        return QStringLiteral("%1 %2").arg(byte_at(data, 0)).arg(colours(byte_at(data, 1)));
    case RequestKind::ItemColours:
    case RequestKind::UnitColour: {
        // Background before foreground on the line.
        *used = 3;
        const QString target = entry.request == RequestKind::UnitColour ? unitTextOfColourIndex(byte_at(data, 0))
                                                                        : QString::number(byte_at(data, 0));
        return QStringLiteral("%1 %2 %3").arg(target).arg(byte_at(data, 2)).arg(byte_at(data, 1));
    }
    case RequestKind::Float:
        *used = 4;
        return number(RS232Message::bytearray_to_float(data.left(4)));
    case RequestKind::Date:
        *used = 4;
        return QStringLiteral("%1-%2-%3")
            .arg(byte_at(data, 2) * 100 + byte_at(data, 3), 4, 10, QLatin1Char('0'))
            .arg(byte_at(data, 1), 2, 10, QLatin1Char('0'))
            .arg(byte_at(data, 0), 2, 10, QLatin1Char('0'));
    case RequestKind::Time:
        *used = 3;
        return QStringLiteral("%1:%2:%3")
            .arg(byte_at(data, 0), 2, 10, QLatin1Char('0'))
            .arg(byte_at(data, 1), 2, 10, QLatin1Char('0'))
            .arg(byte_at(data, 2), 2, 10, QLatin1Char('0'));
    case RequestKind::Codec: {
        *used = 1;
        static const char* const NAMES[] = { "locale", "utf8", "utf16" };
        const unsigned char selector = byte_at(data, 0);
        return selector <= TextCharset::Utf16 ? QString::fromLatin1(NAMES[selector])
                                              : QStringLiteral("(selector %1, ignored)").arg(selector);
    }
    case RequestKind::VideoCounter:
        *used = 4;
        return bytes(data, 4);
    case RequestKind::Integer:
        *used = 2;
        return QString::number(RS232Message::bytearray_to_int(data.left(2)));
    case RequestKind::StartPosition:
        *used = 24;
        return QStringLiteral("%1 %2 %3")
            .arg(number(RS232Message::bytearray_to_double(data.mid(0, 8))),
                 number(RS232Message::bytearray_to_double(data.mid(8, 8))),
                 number(RS232Message::bytearray_to_double(data.mid(16, 8))));
    case RequestKind::StartOrientation:
        *used = 8;
        return number(RS232Message::bytearray_to_float(data.mid(0, 4))) + QLatin1Char(' ')
            + number(RS232Message::bytearray_to_float(data.mid(4, 4)));
    case RequestKind::TempText:
        return tempTexts(data, charset);
    }
    return {};
}

} // namespace

QString requestArguments(const CatalogueEntry& entry, const QByteArray& data, const TextCharset& charset)
{
    int used = 0;
    QString arguments = decode(entry, data, charset, &used);
    if (data.size() < used)
        arguments
            += QStringLiteral(" (only %1 of %2 data bytes; the missing ones read as 0)").arg(data.size()).arg(used);
    else if (data.size() > used)
        arguments
            += QStringLiteral(" (and %1 more data bytes: %2)").arg(data.size() - used).arg(hexBytes(data.mid(used)));
    return arguments.trimmed();
}
