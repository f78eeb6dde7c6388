// SPDX-License-Identifier: BSD-2-Clause
#ifndef SYSTEMCOMMANDS_H
#define SYSTEMCOMMANDS_H

#include <QObject>
#include <QString>

class BusCommand;
class CHolvardSysLocaleInterface;
class LineLocale;
class SystemClock;

// System information, the controller's clock, and the character set of texts
// on the line, which follows the controller's locale.
class SystemCommands : public QObject
{
    Q_OBJECT

public:
    SystemCommands(CHolvardSysLocaleInterface& sysLocale, LineLocale& lineLocale, SystemClock& clock, BusCommand& bus);

    // At start-up: a locale that cannot be read counts as the default one.
    void readLocale();
    // From a new instance of the system management service: one that does
    // not answer leaves the locale as it was.
    void readLocaleAgain();
    void setTalvoxLocale(const QString& localeCode);

    LineLocale& lineLocale;
    SystemClock& clock;

private slots:
    void onLocaleChanged(const QString& cLocaleCode);

private:
    CHolvardSysLocaleInterface& m_sysLocale;
    BusCommand& m_bus;
};

#endif
