// SPDX-License-Identifier: BSD-2-Clause
#ifndef CEVENTLOGGER_H
#define CEVENTLOGGER_H

#include <QtGlobal>

class SyslogWriter;

// The service's main log: one process-wide instance that filters by level and
// hands every message to the system's syslog daemon (identity "talvox",
// facility local2, with the process id), with a copy on standard error; see
// SyslogWriter for why not through syslog(3).
//
// The levels are the service's own: -l filters on them, and level 0 marks
// the serial receiver's per-frame diagnostics, not emergencies. Syslog and the
// journal act on the priority (journald writes every emergency to all
// terminals), so those lines go out at debug priority; every other level is
// its own priority.
class CEventLogger
{
public:
    // syslog priorities. The underlying type is fixed because the -l option
    // may carry any number and every int must be a valid maximum level
    // (above 7 logs everything, below 0 nothing).
    enum ELogLevel : int {
        LOG_LEVEL_EMERGENCY = 0,
        LOG_LEVEL_ALERT = 1,
        LOG_LEVEL_CRITICAL = 2,
        LOG_LEVEL_ERROR = 3,
        LOG_LEVEL_WARNING = 4,
        LOG_LEVEL_NOTICE = 5,
        LOG_LEVEL_INFO = 6,
        LOG_LEVEL_DEBUG = 7
    };

    // `socketPath` is where the syslog daemon listens (tests pass their own).
    static void initialize(const char* ident, ELogLevel level, const char* socketPath = "/dev/log");
    // The syslog priority a line of this level is sent with.
    static int syslogPriority(ELogLevel level) { return level == LOG_LEVEL_EMERGENCY ? LOG_LEVEL_DEBUG : level; }
    static void logMessage(ELogLevel level, const char* text);
    static void logMessage(int level, const char* text) { logMessage(static_cast<ELogLevel>(level), text); }

    static void setLoggingEnabled(bool enabled);
    // Whether a message of this level would be written; lets callers skip
    // formatting traffic dumps that nobody reads.
    static bool wouldLog(ELogLevel level);
    static void setMaximumLogLevel(ELogLevel level);

private:
    CEventLogger(const char* ident, ELogLevel level, const char* socketPath);

    bool m_bEnabled;
    ELogLevel m_eMaximumLevel;
    SyslogWriter* m_pSyslog; // lives as long as the process

    static CEventLogger* m_pcInstance;
};

// Shorthand used all over the service: log a QString (or anything QString
// accepts) at a syslog priority. The text is only built when it is logged.
#define TVX_LOG(level, text)                                                                                           \
    do {                                                                                                               \
        if (CEventLogger::wouldLog(level))                                                                             \
            CEventLogger::logMessage((level), QString(text).toUtf8().constData());                                     \
    } while (false)

// Qt's message handler: Qt's own messages go to the main log at debug level,
// below everything the service says itself; a fatal one aborts once logged.
void msgHandler(QtMsgType type, const QMessageLogContext& context, const QString& msg);

#endif
