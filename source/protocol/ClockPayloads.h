// SPDX-License-Identifier: BSD-2-Clause
#ifndef CLOCKPAYLOADS_H
#define CLOCKPAYLOADS_H

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QTime>

// Date and time on the line, one byte a piece.
//
// The PC sets the date as day, month, century, year within the century, and
// the time as hour, minute, second. The controller answers the date query
// with the century as the constant 20 and the year as (year + 48) mod 256,
// and the time query with a fourth byte 0: the PC application reads exactly
// this, and from 2000 to 2099 the year byte is the year within the century.

// A byte of a date or time request; `present` false where the request ends
// before it (its value then reads as 0).
struct ClockPiece {
    unsigned char value = 0;
    bool present = false;
};

struct DatePieces {
    ClockPiece day, month, century, yearInCentury;

    int year() const { return century.value * 100 + yearInCentury.value; }
};

struct TimePieces {
    ClockPiece hour, minute, second;
};

// The settings as the PC sends them.
QByteArray encodeDateSetting(const QDate& date);
QByteArray encodeTimeSetting(const QTime& time);

// The replies to the queries, as the controller sends them.
QByteArray encodeDateReply(const QDate& date);
QByteArray encodeTimeReply(const QTime& time);

// Either direction: the first four (three) bytes.
DatePieces decodeDate(const QByteArray& data);
TimePieces decodeTime(const QByteArray& data);

// What the controller makes of a setting before it sets the clock: the
// pieces in decimal, at least two digits each, as "CCYY-MM-DD" and
// "hh:mm:ss". A piece the request lacks adds nothing, so the text does not
// parse and the clock is left alone instead of being set from a guess.
QString dateSettingText(const DatePieces& date);
QString timeSettingText(const TimePieces& time);

#endif
