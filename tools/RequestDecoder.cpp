// SPDX-License-Identifier: BSD-2-Clause
#include "RequestDecoder.h"

#include "CharsetNames.h"
#include "ClockPayloads.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "ReplyDecoder.h"
#include "SensorPayloads.h"
#include "TextCharset.h"
#include "TextPayloads.h"

#include <QStringList>

namespace {

// A text as an argument: quoted, with quotes and backslashes escaped as
// the script reader expects them.
QString textArgument(QString text)
{
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

QString colours(int code)
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
    const TempTexts temp = decodeTempTexts(data, charset);
    QStringList words = { QString::number(temp.firstLine), QString::number(temp.duration) };
    for (const QString& text : temp.texts)
        words.append(textArgument(text));
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
    case RequestKind::ByteText: {
        const NumberedText numbered = decodeNumberedText(data, charset);
        return QString::number(numbered.number) + QLatin1Char(' ') + textArgument(numbered.text);
    }
    case RequestKind::Text:
        return textArgument(charset.decode(data));
    case RequestKind::Cursor:
    case RequestKind::Position:
        *used = 2;
        return bytes(data, 2);
    case RequestKind::Selector: {
        *used = 2;
        const DeviceSelector selector = decodeDeviceSelector(data);
        return QStringLiteral("%1 %2").arg(selector.first).arg(selector.second);
    }
    case RequestKind::LineColour: {
        const LineColourSetting setting = decodeLineColourSetting(data);
        if (setting.atCursor)
            return QStringLiteral("cursor ") + colours(setting.colourCode);
        *used = 2;
        return QStringLiteral("%1 %2").arg(setting.line).arg(colours(setting.colourCode));
    }
    case RequestKind::ItemColours:
    case RequestKind::UnitColour: {
        *used = 3;
        const ColourSetting setting = decodeColourSetting(data);
        const QString target = entry.request == RequestKind::UnitColour ? unitTextOfColourIndex(setting.target)
                                                                        : QString::number(setting.target);
        return QStringLiteral("%1 %2 %3").arg(target).arg(setting.foreground).arg(setting.background);
    }
    case RequestKind::Float:
        *used = 4;
        return number(RS232Message::bytearray_to_float(data));
    case RequestKind::Date:
        *used = 4;
        return dateText(decodeDate(data));
    case RequestKind::Time:
        *used = 3;
        return timeText(decodeTime(data));
    case RequestKind::Codec: {
        *used = 1;
        const unsigned char selector = byte_at(data, 0);
        return TextCharset::isSelector(selector) ? charsetName(TextCharset::Selector(selector))
                                                 : QStringLiteral("(selector %1, ignored)").arg(selector);
    }
    case RequestKind::VideoCounter: {
        *used = 4;
        const VideoCounter counter = decodeVideoCounter(data);
        return QStringLiteral("%1 %2 %3 %4")
            .arg(counter.hours)
            .arg(counter.minutes)
            .arg(counter.seconds)
            .arg(counter.frames);
    }
    case RequestKind::Integer:
        *used = 2;
        return QString::number(RS232Message::bytearray_to_int(data.left(2)));
    case RequestKind::StartPosition: {
        *used = 24;
        const Position3D position = decodeStartPosition(data);
        return QStringLiteral("%1 %2 %3").arg(number(position.x), number(position.y), number(position.z));
    }
    case RequestKind::StartOrientation: {
        *used = 8;
        const Orientation3D orientation = decodeStartOrientation(data);
        return number(orientation.first) + QLatin1Char(' ') + number(orientation.second);
    }
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
