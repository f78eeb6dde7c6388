// SPDX-License-Identifier: BSD-2-Clause
// System information, clock and character set commands, and the locale that
// decides the character set of texts on the line and metres versus feet.
#include "SystemCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CHolvardSysLocaleInterface.h"
#include "ClockPayloads.h"
#include "Handlers.h"
#include "LineLocale.h"
#include "RS232Message.h"
#include "SystemClock.h"

#include <QDateTime>
#include <QLocale>

namespace {
const char* const SOFTWARE_VERSION_TEXT = "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work";
const char* const SOFTWARE_ID_TEXT = "Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29";

} // namespace

SystemCommands::SystemCommands(CHolvardSysLocaleInterface& sysLocale, LineLocale& lineLocale, SystemClock& clock,
                               BusCommand& bus)
    : lineLocale(lineLocale)
    , clock(clock)
    , m_sysLocale(sysLocale)
    , m_bus(bus)
{
    connect(&sysLocale, &CHolvardSysLocaleInterface::locale_changed, this, &SystemCommands::onLocaleChanged);
}

void SystemCommands::readLocale()
{
    m_bus.begin();
    setTalvoxLocale(m_bus.waited(m_sysLocale.get_locale()));
}

void SystemCommands::readLocaleAgain()
{
    m_bus.begin();
    QDBusPendingReply<QString> locale = m_sysLocale.get_locale();
    locale.waitForFinished();
    m_bus.note_error(locale.error());
    if (locale.isValid())
        setTalvoxLocale(locale.value());
}

void SystemCommands::setTalvoxLocale(const QString& localeCode)
{
    lineLocale.setLocale(localeCode);
}

void SystemCommands::onLocaleChanged(const QString& cLocaleCode)
{
    setTalvoxLocale(cLocaleCode);
}

Reply fh_get_softwareversion(SystemCommands& system, const RS232Message&, NoArgument)
{
    // A template that was never filled in; the PC gets it as it stands.
    const QByteArray text = system.lineLocale.charset().encode(SOFTWARE_VERSION_TEXT);
    return reply_with(text, "RS232Handler::fh_get_softwareversion: " + QString::fromLatin1(text),
                      CEventLogger::LOG_LEVEL_DEBUG);
}

Reply fh_get_softwareid(SystemCommands& system, const RS232Message&, NoArgument)
{
    const QByteArray text = system.lineLocale.charset().encode(SOFTWARE_ID_TEXT);
    return reply_with(text, "RS232Handler::fh_get_softwareid: " + QString::fromLatin1(text),
                      CEventLogger::LOG_LEVEL_DEBUG);
}

Reply fh_get_date_time(SystemCommands& system, const RS232Message&, ClockField field)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_date_time");
    const QDateTime now = system.clock.now();
    return reply_with(field == ClockField::Date ? encodeDateReply(now.date()) : encodeTimeReply(now.time()));
}

Reply fh_set_date_time(SystemCommands& system, const RS232Message& request, ClockField field)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_date_time");
    const QDateTime now = system.clock.now();
    QDate date = now.date();
    QTime time = now.time();

    if (field == ClockField::Date) {
        const QString text = dateSettingText(decodeDate(request.data()));
        date = QDate::fromString(text, "yyyy-MM-dd");
        if (!date.isValid()) {
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    "RS232Handler::fh_set_date_time: invalid date \"" + text + "\" ignored");
            return no_reply();
        }
    } else {
        const QString text = timeSettingText(decodeTime(request.data()));
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
    system.clock.run("/bin/date " + digits.toString(date, "MMdd") + digits.toString(time, "HHmm")
                     + digits.toString(date, "yyyy") + digits.toString(time, ".ss"));
    // The hardware clock is kept in UTC.
    system.clock.run("/sbin/hwclock -w -u");
    return no_reply();
}

Reply fh_get_codec(SystemCommands& system, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "RS232Handler::fh_get_codec");
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "sending");
    return reply_with(QByteArray(1, char(system.lineLocale.charset().selected())), "RS232Handler::fh_get_codec done.");
}

Reply fh_set_codec(SystemCommands& system, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_codec");
    // Selectors above 2 are ignored: the PC keeps what it had.
    system.lineLocale.charset().selectByte(request.data_byte(0));
    return no_reply();
}
