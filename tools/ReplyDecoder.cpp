// SPDX-License-Identifier: BSD-2-Clause
#include "ReplyDecoder.h"

#include "RS232Message.h"
#include "TextCharset.h"

#include <QLocale>

namespace {

// The value the controller sends for a video counter it could not read.
const unsigned char NO_VIDEOCOUNTER = 99;

QString colours(unsigned char code)
{
    return QStringLiteral("colours %1 on %2").arg(code >> 4).arg(code & 0x0F);
}

QString twoDigits(int value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

QString decodeVideoCounter(const QByteArray& reply)
{
    const unsigned char h = byte_at(reply, 0), m = byte_at(reply, 1), s = byte_at(reply, 2), f = byte_at(reply, 3);
    if (h == NO_VIDEOCOUNTER && m == NO_VIDEOCOUNTER && s == NO_VIDEOCOUNTER && f == NO_VIDEOCOUNTER)
        return QStringLiteral(
            "video counter: no value (the overlay service did not answer; the controller sends 99 99 99 99)");
    return QStringLiteral("video counter: %1:%2:%3, frame %4").arg(twoDigits(h), twoDigits(m), twoDigits(s)).arg(f);
}

QString decode3D(const QByteArray& reply)
{
    const double x = RS232Message::bytearray_to_double(reply.mid(0, 8));
    const double y = RS232Message::bytearray_to_double(reply.mid(8, 8));
    const double z = RS232Message::bytearray_to_double(reply.mid(16, 8));
    const float distance = RS232Message::bytearray_to_float(reply.mid(24, 4));
    return QStringLiteral("3D data: x %1, y %2, z %3, distance counter %4")
        .arg(number(x), number(y), number(z), number(distance));
}

QString decodeStatusLineText(const QByteArray& request, const QByteArray& reply, const TextCharset& charset)
{
    // Items 1 to 4 are echoed in front of the text; other values are not.
    const unsigned char item = byte_at(request, 0);
    if (item >= 1 && item <= 4)
        return QStringLiteral("status line item %1: %2")
            .arg(byte_at(reply, 0))
            .arg(quoted(charset.decode(reply.mid(1))));
    return QStringLiteral("overlay text %1: %2").arg(item).arg(quoted(charset.decode(reply)));
}

QString decodeDeviceData(const QByteArray& reply)
{
    const QString selector = QStringLiteral("selector %1 %2").arg(byte_at(reply, 0)).arg(byte_at(reply, 1));
    if (byte_at(reply, 2) != 0)
        return selector + QStringLiteral(": unknown to the controller (status %1)").arg(byte_at(reply, 2));
    return selector + QStringLiteral(": camera module type %1").arg(byte_at(reply, 3));
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
        return QStringLiteral("character set: ") + TextCharset::describe(byte_at(reply, 0));
    case ReplyKind::DeviceData:
        return decodeDeviceData(reply);
    case ReplyKind::Metres:
        return QStringLiteral("%1: %2 metres (feet if the controller's locale is US)")
            .arg(entry.subject, number(RS232Message::bytearray_to_float(reply)));
    case ReplyKind::Float:
        return entry.subject + QStringLiteral(": ") + number(RS232Message::bytearray_to_float(reply));
    case ReplyKind::Integer:
        return entry.subject + QStringLiteral(": %1").arg(RS232Message::bytearray_to_int(reply));
    case ReplyKind::UnitState:
        return QStringLiteral("%1: format %2, %3, position %4, %5")
            .arg(entry.subject)
            .arg(byte_at(reply, 0))
            .arg(byte_at(reply, 1) ? QStringLiteral("visible") : QStringLiteral("hidden"))
            .arg(byte_at(reply, 2))
            .arg(byte_at(reply, 3));
    case ReplyKind::Date:
        return QStringLiteral("date: %1-%2-%3")
            .arg(byte_at(reply, 2) * 100 + byte_at(reply, 3), 4, 10, QLatin1Char('0'))
            .arg(twoDigits(byte_at(reply, 1)), twoDigits(byte_at(reply, 0)));
    case ReplyKind::Time:
        return QStringLiteral("time: %1:%2:%3")
            .arg(twoDigits(byte_at(reply, 0)), twoDigits(byte_at(reply, 1)), twoDigits(byte_at(reply, 2)));
    case ReplyKind::VideoCounter:
        return decodeVideoCounter(reply);
    case ReplyKind::StatusLineText:
        return decodeStatusLineText(request, reply, charset);
    case ReplyKind::StatusLineState:
        return QStringLiteral("status line item %1: %2, %3")
            .arg(byte_at(reply, 0))
            .arg(colours(byte_at(reply, 1)))
            .arg(byte_at(reply, 2) ? QStringLiteral("visible") : QStringLiteral("hidden"));
    case ReplyKind::LineText:
        return QStringLiteral("line %1: %2").arg(byte_at(reply, 0)).arg(quoted(charset.decode(reply.mid(1))));
    case ReplyKind::Converter:
        return QStringLiteral("converter channel %1: %2")
            .arg(byte_at(reply, 0))
            .arg(number(RS232Message::bytearray_to_float(reply.mid(1, 4))));
    case ReplyKind::Measurement3D:
        return decode3D(reply);
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
