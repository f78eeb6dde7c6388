// SPDX-License-Identifier: BSD-2-Clause
#include "PrivateBus.h"

#include <QFile>

#include <csignal>
#include <sys/prctl.h>

namespace {
const int START_TIMEOUT_MS = 10000;
const int STOP_TIMEOUT_MS = 3000;
} // namespace

void ChildProcess::childSetup()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

PrivateBus::~PrivateBus()
{
    if (!m_daemon)
        return;
    m_daemon->terminate();
    if (!m_daemon->waitForFinished(STOP_TIMEOUT_MS))
        kill();
}

QString PrivateBus::start(const QString& dir, const QString& socketName)
{
    QFile templateFile(TALVOX_SIM_ENV_DIR "/bus.conf.in");
    QFile config(dir + "/bus.conf");
    if (!templateFile.open(QIODevice::ReadOnly) || !config.open(QIODevice::WriteOnly)
        || config.write(templateFile.readAll().replace("@LISTEN@", "unix:abstract=" + socketName.toUtf8())) < 0)
        return "cannot write " + config.fileName();
    config.close();

    m_daemon = std::make_unique<ChildProcess>();
    m_daemon->setStandardErrorFile(dir + "/bus.log");
    m_daemon->start(
        "dbus-daemon",
        { "--config-file=" + config.fileName(), "--nofork", "--nopidfile", "--nosyslog", "--print-address" });
    // The daemon prints its address once it listens.
    while (!m_daemon->canReadLine()) {
        if (!m_daemon->waitForReadyRead(START_TIMEOUT_MS)) {
            QFile log(dir + "/bus.log");
            return "dbus-daemon did not start: "
                + (log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll().right(1500))
                                                 : m_daemon->errorString());
        }
    }
    m_address = QString::fromUtf8(m_daemon->readLine()).trimmed();
    return QString();
}

bool PrivateBus::kill()
{
    return m_daemon && m_daemon->state() != QProcess::NotRunning && ::kill(pid_t(m_daemon->processId()), SIGKILL) == 0
        && m_daemon->waitForFinished(STOP_TIMEOUT_MS);
}
