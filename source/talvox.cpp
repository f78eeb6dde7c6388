// SPDX-License-Identifier: BSD-2-Clause
// Start-up of the service and every way out of it.
#include "talvox.h"

#include "CEventLogger.h"
#include "CLog.h"
#include "CTerminationSignals.h"
#include "InstanceLock.h"
#include "RS232.h"
#include "RS232Handler.h"
#include "SerialTty.h"
#include "ServiceManager.h"
#include "SystemClock.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
#include <QString>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {
// Shared by every instance on the controller, whatever device it serves.
const char* const LOCK_DIRECTORY = "/tmp";

// Every orderly end once the lock is held: the lock file goes with it. The
// parts built in start-up are left as they are (the screen stays on the
// overlay as the PC left it).
[[noreturn]] void app_exit(InstanceLock& lock, int status)
{
    lock.release();
    std::exit(status);
}

// Every end once the registry is built: the line gone, the bus gone, a
// termination signal. What the PC typed last is still on its way to the
// overlay and goes first.
[[noreturn]] void endServing(RS232Handler& registry, InstanceLock& lock, int status)
{
    registry.flush_before_exit();
    app_exit(lock, status);
}

// Takes the lock or ends the process with exit code 1; a lock file that is
// there stays as it was, for it belongs to the instance running.
void lockStart(InstanceLock& lock)
{
    switch (lock.take()) {
    case InstanceLock::Outcome::Taken:
        return;
    case InstanceLock::Outcome::HeldByAnother:
        std::fputs("another instance is running\n", stderr);
        break;
    case InstanceLock::Outcome::NotCreatable:
        std::fputs("error on .lock-file creation\n", stderr);
        CLog(__FILE__, __LINE__, "void lock_start()") << "Filename: " << lock.path().toStdString();
        break;
    }
    std::exit(1);
}

// The PC's line, open at 9600 8N1, or the end of the process: exit code 8
// when the device does not exist, 2 when it cannot be opened as that tty.
int openLine(const QString& device, InstanceLock& lock)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232");
    const QString path = SerialTty::devicePath(device);
    if (!QFile::exists(path)) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "interface " + path + " doesn't exists!");
        app_exit(lock, 8);
    }
    QString error;
    const int fd = SerialTty::openLine(path, error);
    if (fd < 0) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "cannot open " + path + ": " + error);
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_ERROR, "end initialize RS232, result: FAILED");
        app_exit(lock, 2);
    }
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232, result: OK");
    return fd;
}
} // namespace

int talvox_main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);

    QString device = "ttyUSB0";
    int level = 0;

    // The leading "-" keeps plain arguments in place; they are ignored.
    opterr = 0;
    int option;
    while ((option = getopt(argc, argv, "-d:b:p:l:")) != -1) {
        switch (std::tolower(option)) {
        case 'd':
            device = QString::fromLocal8Bit(optarg);
            break;
        // Accepted and ignored: the line always runs 9600 8N1, and no pid
        // file is written (the lock file holds the pid).
        case 'b':
        case 'p':
            break;
        case 'l':
            level = QString::fromLocal8Bit(optarg).toInt();
            break;
        default:
            break;
        }
    }

    CEventLogger::initialize("talvox", static_cast<CEventLogger::ELogLevel>(level));
    qInstallMessageHandler(msgHandler);

    // From before the lock is taken, a termination signal ends the service
    // through its event loop, which removes the lock.
    CTerminationSignals terminationSignals;
    terminationSignals.install();
    InstanceLock lock(LOCK_DIRECTORY, device);
    lockStart(lock);

    const int fd = openLine(device, lock);

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232Handler");
    SystemClock clock;
    RS232Handler registry(QDBusConnection::systemBus(), clock);
    QObject::connect(&registry, &RS232Handler::bus_lost, [&] { endServing(registry, lock, 9); });
    registry.init();
    RS232 link(fd, registry);
    QObject::connect(&link, &RS232::line_lost, [&] { endServing(registry, lock, 7); });
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232Handler, result: OK");
    ServiceManager::notifyReady();

    // The service stays in the foreground; whoever starts it may detach it.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start deamonizing");

    // Ends when the loop is told to quit (a termination signal).
    QCoreApplication::exec();
    // The line before the lock: whoever takes the lock next finds the tty free.
    link.close();
    endServing(registry, lock, 0);
}
