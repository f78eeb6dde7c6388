// SPDX-License-Identifier: BSD-2-Clause
// Start-up of the service and its single-instance lock.
#include "talvox.h"

#include "CEventLogger.h"
#include "CLog.h"
#include "CTerminationSignals.h"
#include "RS232.h"
#include "RS232Handler.h"
#include "ServiceManager.h"
#include "SystemClock.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
#include <QString>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The lock file, held with flock(2) while the service runs: the kernel lets go
// of it when its holder dies, so a file left by a killed instance or a power
// loss does not block the next start. The holder's pid is written into it.
QFile lockfile;
bool iLogEnabled = true;

namespace {
// The lock's path; lockfile forgets its name once it wraps the held descriptor.
QByteArray lockPath;

[[noreturn]] void lock_creation_failed()
{
    std::fputs("error on .lock-file creation\n", stderr);
    if (iLogEnabled)
        CLog(__FILE__, 27, "void lock_start()") << "Filename: " << lockfile.fileName().toStdString();
    std::exit(1);
}

bool same_file(int fd, const QByteArray& path)
{
    struct stat held {
    };
    struct stat named {
    };
    return ::fstat(fd, &held) == 0 && ::stat(path.constData(), &named) == 0 && held.st_dev == named.st_dev
        && held.st_ino == named.st_ino;
}
} // namespace

void lock_start()
{
    lockPath = QFile::encodeName(lockfile.fileName());
    const QByteArray& path = lockPath;
    int fd = -1;
    for (;;) {
        // A link planted in the shared /tmp is never followed.
        fd = ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd < 0)
            lock_creation_failed();
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            ::close(fd);
            if (error != EWOULDBLOCK)
                lock_creation_failed();
            // Not app_exit: the lock and its file belong to the running instance.
            std::fputs("another instance is running\n", stderr);
            std::exit(1);
        }
        // A holder removes the file before it lets go of the lock; whoever
        // got the lock on the removed file tries again on a new one.
        if (same_file(fd, path))
            break;
        ::close(fd);
    }
    lockfile.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    // For the people and tools that look: which process holds it.
    if (::ftruncate(fd, 0) == 0)
        lockfile.write(QByteArray::number(qint64(::getpid())) + '\n');
    lockfile.flush();
}

void lock_end()
{
    // Removed while still held, so that no later start takes a dying lock.
    if (lockfile.isOpen())
        ::unlink(lockPath.constData());
    lockfile.close();
}

void app_exit(int status)
{
    lock_end();
    std::exit(status);
}

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

    // From before the lock is taken, a termination signal ends the service
    // through its event loop, which removes the lock.
    CTerminationSignals terminationSignals;
    terminationSignals.install();
    lockfile.setFileName("/tmp/tvx-" + device + ".lock");
    lock_start();

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232");
    // 1: the port is open and configured; 0: it is not, and the reason is logged.
    if (RS232::instance()->init(device) <= 0) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_ERROR, "end initialize RS232, result: FAILED");
        app_exit(2);
    }
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232, result: OK");

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232Handler");
    SystemClock clock;
    RS232Handler registry(QDBusConnection::systemBus(), clock);
    QObject::connect(&registry, &RS232Handler::bus_lost, [] { app_exit(9); });
    registry.init();
    RS232::instance()->serve(registry);
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232Handler, result: OK");
    ServiceManager::notifyReady();

    // The service stays in the foreground; whoever starts it may detach it.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start deamonizing");

    // Ends when the loop is told to quit (a termination signal).
    QCoreApplication::exec();
    RS232::instance()->close();
    app_exit(0);
}
