// SPDX-License-Identifier: BSD-2-Clause
#include "ReplyDecoder.h"

#include "CharsetNames.h"
#include "ClockPayloads.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "SensorPayloads.h"
#include "TextCharset.h"
#include "TextPayloads.h"

#include <QLocale>

namespace {

QString colours(int code)
{
    return QStringLiteral("colours %1 on %2").arg(code >> 4).arg(code & 0x0F);
}

QString twoDigits(int value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

QString videoCounterReply(const QByteArray& reply)
{
    const VideoCounter counter = decodeVideoCounter(reply);
    if (counter.isNoValue())
        return QStringLiteral(
            "video counter: no value (the overlay service did not answer; the controller sends 99 99 99 99)");
    return QStringLiteral("video counter: %1:%2:%3, frame %4")
        .arg(twoDigits(counter.hours), twoDigits(counter.minutes), twoDigits(counter.seconds))
        .arg(counter.frames);
}

QString measurement3DReply(const QByteArray& reply)
{
    const Measurement3D data = decodeMeasurement3D(reply);
    return QStringLiteral("3D data: x %1, y %2, z %3, distance counter %4")
        .arg(number(data.x), number(data.y), number(data.z), number(data.distanceCounter));
}

QString statusLineTextReply(const QByteArray& request, const QByteArray& reply, const TextCharset& charset)
{
    const int item = byte_at(request, 0);
    const NumberedText text = decodeStatusLineText(item, reply, charset);
    return QStringLiteral("%1 %2: %3")
        .arg(isStatusLineItem(item) ? QStringLiteral("status line item") : QStringLiteral("overlay text"))
        .arg(text.number)
        .arg(quoted(text.text));
}

QString deviceDataReply(const QByteArray& reply)
{
    const DeviceData data = decodeDeviceData(reply);
    const QString selector = QStringLiteral("selector %1 %2").arg(data.selector.first).arg(data.selector.second);
    if (data.status != DEVICE_DATA_ANSWERED)
        return selector + QStringLiteral(": unknown to the controller (status %1)").arg(data.status);
    return selector + QStringLiteral(": camera module type %1").arg(data.value);
}

QString visibility(bool visible)
{
    return visible ? QStringLiteral("visible") : QStringLiteral("hidden");
}

} // namespace

QString number(float value)
{
    return QString::number(double(value), 'g', 7);
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString quoted(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString dateText(const DatePieces& date)
{
    return QStringLiteral("%1-%2-%3")
        .arg(date.year(), 4, 10, QLatin1Char('0'))
        .arg(twoDigits(date.month.value), twoDigits(date.day.value));
}

QString timeText(const TimePieces& time)
{
    return QStringLiteral("%1:%2:%3")
        .arg(twoDigits(time.hour.value), twoDigits(time.minute.value), twoDigits(time.second.value));
}

QString hexBytes(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QString decodeReply(const CatalogueEntry& entry, const QByteArray& request, const QByteArray& reply,
                    const TextCharset& charset)
{
    switch (entry.reply) {
    case ReplyKind::Ack:
        return QStringLiteral("done (acknowledged)");
    case ReplyKind::Codec:
        return QStringLiteral("character set: ") + describeCharset(byte_at(reply, 0));
    case ReplyKind::DeviceData:
        return deviceDataReply(reply);
    case ReplyKind::Metres:
        return QStringLiteral("%1: %2 metres (feet if the controller's locale is US)")
            .arg(entry.subject, number(RS232Message::bytearray_to_float(reply)));
    case ReplyKind::Float:
        return entry.subject + QStringLiteral(": ") + number(RS232Message::bytearray_to_float(reply));
    case ReplyKind::Integer:
        return entry.subject + QStringLiteral(": %1").arg(RS232Message::bytearray_to_int(reply));
    case ReplyKind::UnitState: {
        const UnitState state = decodeUnitState(reply);
        return QStringLiteral("%1: format %2, %3, position %4, %5")
            .arg(entry.subject)
            .arg(state.format)
            .arg(visibility(state.visible))
            .arg(state.x)
            .arg(state.y);
    }
    case ReplyKind::Date:
        return QStringLiteral("date: ") + dateText(decodeDate(reply));
    case ReplyKind::Time:
        return QStringLiteral("time: ") + timeText(decodeTime(reply));
    case ReplyKind::VideoCounter:
        return videoCounterReply(reply);
    case ReplyKind::StatusLineText:
        return statusLineTextReply(request, reply, charset);
    case ReplyKind::StatusLineState: {
        const StatusLineState state = decodeStatusLineState(reply);
        return QStringLiteral("status line item %1: %2, %3")
            .arg(state.item)
            .arg(colours(state.colourCode))
            .arg(visibility(state.visible));
    }
    case ReplyKind::LineText: {
        const NumberedText line = decodeNumberedText(reply, charset);
        return QStringLiteral("line %1: %2").arg(line.number).arg(quoted(line.text));
    }
    case ReplyKind::Converter: {
        const ConverterReading reading = decodeConverterReading(reply);
        return QStringLiteral("converter channel %1: %2").arg(reading.channel).arg(number(reading.value));
    }
    case ReplyKind::Measurement3D:
        return measurement3DReply(reply);
    case ReplyKind::Text:
        return entry.subject + QStringLiteral(": ") + quoted(charset.decode(reply));
    }
    return hexBytes(reply);
}

QString describeReply(ReplyKind kind)
{
    switch (kind) {
    case ReplyKind::Ack:
        return QStringLiteral("none (ACK only)");
    case ReplyKind::Codec:
        return QStringLiteral("1 byte: the selector (0 locale codec, 1 UTF-8, 2 UTF-16)");
    case ReplyKind::DeviceData:
        return QStringLiteral("4 bytes: the two selector bytes, status (0 answered, 1 unknown selector), module type");
    case ReplyKind::Metres:
        return QStringLiteral("4 bytes: float, metres (feet under a US locale)");
    case ReplyKind::Float:
        return QStringLiteral("4 bytes: float");
    case ReplyKind::Integer:
        return QStringLiteral("2 bytes: integer form (00 00 for 20)");
    case ReplyKind::UnitState:
        return QStringLiteral("4 bytes: format, visible (1/0), x, y");
    case ReplyKind::Date:
        return QStringLiteral("4 bytes: day, month, 20, (year + 48) mod 256");
    case ReplyKind::Time:
        return QStringLiteral("4 bytes: hour, minute, second, 0");
    case ReplyKind::VideoCounter:
        return QStringLiteral("4 bytes: hours, minutes, seconds, frames (99 99 99 99: no value)");
    case ReplyKind::StatusLineText:
        return QStringLiteral("item (only for 1-4), then the text in the selected character set");
    case ReplyKind::StatusLineState:
        return QStringLiteral("5 bytes: item, colour byte, visible (1/0), 0, 0; nothing for items other than 1-4");
    case ReplyKind::LineText:
        return QStringLiteral("line byte as sent, then the text in the selected character set");
    case ReplyKind::Converter:
        return QStringLiteral("5 bytes: channel, float");
    case ReplyKind::Measurement3D:
        return QStringLiteral("28 bytes: doubles x, y, z, float distance counter");
    case ReplyKind::Text:
        return QStringLiteral("the text in the selected character set");
    }
    return {};
}
