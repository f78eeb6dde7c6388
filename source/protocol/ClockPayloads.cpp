// SPDX-License-Identifier: BSD-2-Clause
#include "ClockPayloads.h"

#include "RS232Message.h"

namespace {
const unsigned char REPLY_CENTURY = 20;
const int REPLY_YEAR_OFFSET = 48;

QByteArray fourBytes(int first, int second, int third, int fourth)
{
    const char bytes[] = { char(first), char(second), char(third), char(fourth) };
    return QByteArray(bytes, sizeof bytes);
}

ClockPiece pieceAt(const QByteArray& data, int index)
{
    return ClockPiece { byte_at(data, index), index < data.size() };
}

QString pieceText(const ClockPiece& piece)
{
    if (!piece.present)
        return QString();
    return (piece.value <= 9 ? QStringLiteral("0") : QString()) + QString::number(piece.value);
}
} // namespace

QByteArray encodeDateSetting(const QDate& date)
{
    return fourBytes(date.day(), date.month(), date.year() / 100, date.year() % 100);
}

QByteArray encodeTimeSetting(const QTime& time)
{
    const char bytes[] = { char(time.hour()), char(time.minute()), char(time.second()) };
    return QByteArray(bytes, sizeof bytes);
}

QByteArray encodeDateReply(const QDate& date)
{
    return fourBytes(date.day(), date.month(), REPLY_CENTURY, (date.year() + REPLY_YEAR_OFFSET) % 256);
}

QByteArray encodeTimeReply(const QTime& time)
{
    return fourBytes(time.hour(), time.minute(), time.second(), 0);
}

DatePieces decodeDate(const QByteArray& data)
{
    return DatePieces { pieceAt(data, 0), pieceAt(data, 1), pieceAt(data, 2), pieceAt(data, 3) };
}

TimePieces decodeTime(const QByteArray& data)
{
    return TimePieces { pieceAt(data, 0), pieceAt(data, 1), pieceAt(data, 2) };
}

QString dateSettingText(const DatePieces& date)
{
    return pieceText(date.century) + pieceText(date.yearInCentury) + QLatin1Char('-') + pieceText(date.month)
        + QLatin1Char('-') + pieceText(date.day);
}

QString timeSettingText(const TimePieces& time)
{
    return pieceText(time.hour) + QLatin1Char(':') + pieceText(time.minute) + QLatin1Char(':') + pieceText(time.second);
}
