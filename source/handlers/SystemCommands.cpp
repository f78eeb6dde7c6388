// SPDX-License-Identifier: BSD-2-Clause
// System information, clock and character set commands, and the locale that
// decides the character set of texts on the line and metres versus feet.
#include "CEventLogger.h"
#include "LocaleCodecs.h"
#include "QtCompat.h"
#include "RS232.h"
#include "RS232Handler.h"
#include "SystemClock.h"

#include <QDateTime>
#include <QLocale>
#include <QTextCodec>

namespace {
const char* const SOFTWARE_VERSION_TEXT = "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work";
const char* const SOFTWARE_ID_TEXT = "Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29";

const unsigned char CMD_DATE = 0x40;
const unsigned char CMD_TIME = 0x50;

// The date query answers the century as the constant 20 and the year as
// (year + 48) modulo 256, which is the year within the century from 2000 to
// 2099; the date setting reads century and year from the same two bytes.
const unsigned char CENTURY_BYTE = 20;
const int YEAR_OFFSET = 48;

const int SELECTOR_UTF8 = 1;
const int SELECTOR_UTF16 = 2;

// Codecs are looked up by name: some are not found by MIB number until they
// were once looked up by name.
QTextCodec* codecNamed(const char* name)
{
    return QTextCodec::codecForName(name);
}

// A date or time piece as the setting command writes it: decimal, with a
// leading "0" up to 9; a byte the request does not carry adds nothing.
QString datePiece(const QByteArray& data, int index)
{
    if (index >= data.size())
        return QString();
    const unsigned char value = byte_at(data, index);
    return (value <= 9 ? QStringLiteral("0") : QString()) + QString::number(value);
}
} // namespace

bool RS232Handler::locale_codec_selected() const
{
    return m_iCodecSelector != SELECTOR_UTF8 && m_iCodecSelector != SELECTOR_UTF16;
}

QByteArray RS232Handler::encode_text(const QString& text) const
{
    if (m_iCodecSelector == SELECTOR_UTF8)
        return codecNamed("UTF-8")->fromUnicode(text);
    if (m_iCodecSelector == SELECTOR_UTF16)
        return QtCompat::encodeWithByteOrderMark(codecNamed("UTF-16"), text);
    return m_pLocaleCodec ? m_pLocaleCodec->fromUnicode(text) : text.toLatin1();
}

QString RS232Handler::decode_text(const QByteArray& bytes) const
{
    if (m_iCodecSelector == SELECTOR_UTF8)
        return codecNamed("UTF-8")->toUnicode(bytes);
    if (m_iCodecSelector == SELECTOR_UTF16)
        return codecNamed("UTF-16")->toUnicode(bytes);
    return m_pLocaleCodec ? m_pLocaleCodec->toUnicode(bytes) : QString::fromLatin1(bytes);
}

void RS232Handler::setTalvoxLocale(const QString& locale_code)
{
    // A code that is no locale gives the C locale: metric, ISO-8859-15.
    const QLocale locale(locale_code);
    QLocale::setDefault(locale);
    m_bMetric = locale.country() != QLocale::UnitedStates;
    m_pLocaleCodec = codecNamed(locale_codec_name(locale.country()));
}

RS232Handler::Reply RS232Handler::fh_get_softwareversion(RS232Handler& self, const RS232Message&)
{
    // A template that was never filled in; the PC gets it as it stands.
    const QByteArray text = self.encode_text(SOFTWARE_VERSION_TEXT);
    return reply_with(text, "RS232Handler::fh_get_softwareversion: " + QString::fromLatin1(text),
                      CEventLogger::LOG_LEVEL_DEBUG);
}

RS232Handler::Reply RS232Handler::fh_get_softwareid(RS232Handler& self, const RS232Message&)
{
    const QByteArray text = self.encode_text(SOFTWARE_ID_TEXT);
    return reply_with(text, "RS232Handler::fh_get_softwareid: " + QString::fromLatin1(text),
                      CEventLogger::LOG_LEVEL_DEBUG);
}

RS232Handler::Reply RS232Handler::fh_get_date_time(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_date_time");
    const QDateTime now = self.m_rClock.now();

    QByteArray data;
    if (request.get_command_id() == CMD_DATE) {
        const QDate date = now.date();
        data.append(char(date.day()));
        data.append(char(date.month()));
        data.append(char(CENTURY_BYTE));
        data.append(char((date.year() + YEAR_OFFSET) % 256));
    } else if (request.get_command_id() == CMD_TIME) {
        const QTime time = now.time();
        data.append(char(time.hour()));
        data.append(char(time.minute()));
        data.append(char(time.second()));
        data.append(char(0));
    }
    return reply_with(data);
}

RS232Handler::Reply RS232Handler::fh_set_date_time(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_date_time");
    const QByteArray& data = request.data();
    const QDateTime now = self.m_rClock.now();
    QDate date = now.date();
    QTime time = now.time();

    if (request.get_command_id() == CMD_DATE) {
        const QString text
            = datePiece(data, 2) + datePiece(data, 3) + "-" + datePiece(data, 1) + "-" + datePiece(data, 0);
        date = QDate::fromString(text, "yyyy-MM-dd");
        if (!date.isValid()) {
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    "RS232Handler::fh_set_date_time: invalid date \"" + text + "\" ignored");
            return no_reply();
        }
    } else if (request.get_command_id() == CMD_TIME) {
        const QString text = datePiece(data, 0) + ":" + datePiece(data, 1) + ":" + datePiece(data, 2);
        time = QTime::fromString(text, "hh:mm:ss");
        if (!time.isValid()) {
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    "RS232Handler::fh_set_date_time: invalid time \"" + text + "\" ignored");
            return no_reply();
        }
    }

    // A date or time that is not one never reaches the clock: with a piece
    // missing, date would read the rest as another format. The digits are
    // the C locale's, whatever the process's locale writes digits as.
    const QLocale digits = QLocale::c();
    self.m_rClock.run("/bin/date " + digits.toString(date, "MMdd") + digits.toString(time, "HHmm")
             + digits.toString(date, "yyyy") + digits.toString(time, ".ss"));
    // The hardware clock is kept in UTC.
    self.m_rClock.run("/sbin/hwclock -w -u");
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_get_codec(RS232Handler& self, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_codec");
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return reply_with(QByteArray(1, char(self.m_iCodecSelector & 0xFF)), "RS232Handler::fh_get_codec done.");
}

RS232Handler::Reply RS232Handler::fh_set_codec(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_codec");
    const unsigned char selector = request.data_byte(0);
    if (selector <= SELECTOR_UTF16)
        self.m_iCodecSelector = selector;
    return no_reply();
}
