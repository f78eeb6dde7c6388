// SPDX-License-Identifier: BSD-2-Clause
#include "ServiceManager.h"

#include "CEventLogger.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstring>
#include <limits>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// One datagram to the socket in NOTIFY_SOCKET, as sd_notify(3) sends it; the
// protocol is that small and stable, and the board's system need not carry
// libsystemd. "@name" is an abstract socket.
void notify(const char* state)
{
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address {};
    if (path.isEmpty() || size_t(path.size()) >= sizeof(address.sun_path))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0';
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return;
    ::sendto(fd, state, std::strlen(state), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
             socklen_t(offsetof(sockaddr_un, sun_path) + size_t(path.size())));
    ::close(fd);
}

// The manager's watchdog interval in microseconds; 0 when it wants none (or
// wants it from another process, WATCHDOG_PID).
quint64 watchdogInterval()
{
    const QByteArray pid = qgetenv("WATCHDOG_PID");
    if (!pid.isEmpty() && pid.toLongLong() != qint64(::getpid()))
        return 0;
    return qgetenv("WATCHDOG_USEC").toULongLong();
}

} // namespace

void ServiceManager::notifyReady()
{
    notify("READY=1");
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, [] { notify("STOPPING=1"); });

    // The timer fires on the event loop's thread, so the pings stop as soon
    // as the loop is stuck (a bus call that does not come back): that is
    // what the watchdog is for. Pinging at half the interval leaves room for
    // one late tick.
    const quint64 usec = watchdogInterval();
    if (usec == 0)
        return;
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [] { notify("WATCHDOG=1"); });
    timer->start(int(qBound<quint64>(1, usec / 2000, std::numeric_limits<int>::max())));
    TVX_LOG(CEventLogger::LOG_LEVEL_NOTICE, QString("watchdog fed every %1 ms").arg(timer->interval()));
}
