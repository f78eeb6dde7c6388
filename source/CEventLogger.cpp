// SPDX-License-Identifier: BSD-2-Clause
#include "CEventLogger.h"

#include "SyslogWriter.h"

#include <QString>
#include <cstdlib>
#include <syslog.h>

CEventLogger* CEventLogger::m_pcInstance = nullptr;

CEventLogger::CEventLogger(const char* ident, ELogLevel level, const char* socketPath)
    : m_bEnabled(true)
    , m_eMaximumLevel(level)
    , m_pSyslog(new SyslogWriter(ident, LOG_LOCAL2, socketPath))
{
}

void CEventLogger::initialize(const char* ident, ELogLevel level, const char* socketPath)
{
    if (!m_pcInstance)
        m_pcInstance = new CEventLogger(ident, level, socketPath);
}

bool CEventLogger::wouldLog(ELogLevel level)
{
    return m_pcInstance->m_bEnabled && level <= m_pcInstance->m_eMaximumLevel;
}

void CEventLogger::logMessage(ELogLevel level, const char* text)
{
    if (wouldLog(level))
        m_pcInstance->m_pSyslog->write(syslogPriority(level), text);
}

void CEventLogger::setLoggingEnabled(bool enabled)
{
    m_pcInstance->m_bEnabled = enabled;
}
void CEventLogger::setMaximumLogLevel(ELogLevel level)
{
    m_pcInstance->m_eMaximumLevel = level;
}

void msgHandler(QtMsgType type, const QMessageLogContext&, const QString& msg)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, msg.toUtf8().constData());
    if (type == QtFatalMsg)
        abort();
}
