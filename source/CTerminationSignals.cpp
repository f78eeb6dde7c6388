// SPDX-License-Identifier: BSD-2-Clause
#include "CTerminationSignals.h"

#include "CEventLogger.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QString>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
// [0] is written by the handler, [1] read by the event loop. Process-wide
// because a signal handler reaches nothing else; only install() sets it.
int signalSockets[2] = { -1, -1 };

void onTerminationSignal(int number)
{
    const int savedErrno = errno;
    const unsigned char byte = static_cast<unsigned char>(number);
    // Async-signal-safe; a full socket means a quit is already on its way.
    ssize_t written = ::write(signalSockets[0], &byte, 1);
    (void)written;
    errno = savedErrno;
}
} // namespace

bool CTerminationSignals::install()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalSockets) != 0) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                QString("cannot watch for termination signals: ") + std::strerror(errno));
        return false;
    }
    m_pNotifier = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, this);
    connect(m_pNotifier, &QSocketNotifier::activated, this, &CTerminationSignals::onSignal);

    struct sigaction action {
    };
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    // Interrupted reads and writes resume instead of failing with EINTR.
    action.sa_flags = SA_RESTART;
    for (int number : { SIGTERM, SIGINT, SIGHUP })
        sigaction(number, &action, nullptr);
    return true;
}

void CTerminationSignals::onSignal()
{
    unsigned char number = 0;
    if (::read(signalSockets[1], &number, 1) != 1)
        return;
    TVX_LOG(CEventLogger::LOG_LEVEL_NOTICE,
            QString("received signal %1 (%2), exiting").arg(number).arg(strsignal(number)));
    QCoreApplication::quit();
}
