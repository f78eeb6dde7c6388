#include "ServiceManager.h"

#include "CEventLogger.h"

#include <QCoreApplication>
#include <QTimer>

#include <limits>

#ifdef TALVOX_HAVE_LIBSYSTEMD
#include <systemd/sd-daemon.h>
#endif

namespace {

void notify(const char* state)
{
#ifdef TALVOX_HAVE_LIBSYSTEMD
    sd_notify(0, state);
#else
    Q_UNUSED(state)
#endif
}

// The manager's watchdog interval in microseconds; 0 when it wants none.
quint64 watchdogInterval()
{
#ifdef TALVOX_HAVE_LIBSYSTEMD
    uint64_t usec = 0;
    if (sd_watchdog_enabled(0, &usec) > 0)
        return usec;
#endif
    return 0;
}

} // namespace

void ServiceManager::notifyReady()
{
    notify("READY=1");
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &ServiceManager::notifyStopping);

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

void ServiceManager::notifyStopping()
{
    notify("STOPPING=1");
}
