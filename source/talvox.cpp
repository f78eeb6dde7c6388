// Start-up of the service and its single-instance lock.
#include "talvox.h"

#include "CEventLogger.h"
#include "CLog.h"
#include "RS232.h"
#include "RS232Handler.h"

#include <QCoreApplication>
#include <QFile>
#include <QString>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The existence of this file is the lock; it stays open until lock_end().
QFile lockfile;
bool iLogEnabled = true;

void lock_start()
{
    if (lockfile.exists()) {
        std::fputs("another instance is running\n", stderr);
        std::exit(1);
    }

    // Create-new semantics: of two instances started at the same moment only
    // one can create the file, and a planted link is never followed.
    if (!lockfile.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::NewOnly)) {
        std::fputs("error on .lock-file creation\n", stderr);
        if (iLogEnabled)
            CLog(__FILE__, 27, "void lock_start()") << "Filename: " << lockfile.fileName().toStdString();
        std::exit(1);
    }
}

void lock_end()
{
    lockfile.close();
    lockfile.remove();
}

void app_exit(int status)
{
    lock_end();
    std::exit(status);
}

int daemonize()
{
    const pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid > 0)
        app_exit(0);
    setsid();
    if (chdir("/") != 0)
        return -1;
    umask(0);
    return getpid();
}

int talvox_main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);

    QString device = "ttyUSB0";
    int baud = 9600;
    QString pidfile;
    int level = 0;

    // The leading "-" keeps plain arguments in place; they are ignored.
    opterr = 0;
    int option;
    while ((option = getopt(argc, argv, "-d:b:p:l:")) != -1) {
        switch (std::tolower(option)) {
        case 'd': device = QString::fromLocal8Bit(optarg); break;
        case 'b': baud = QString::fromLocal8Bit(optarg).toInt(); break;
        case 'p': pidfile = QString::fromLocal8Bit(optarg); break;
        case 'l': level = QString::fromLocal8Bit(optarg).toInt(); break;
        default: break;
        }
    }

    CEventLogger::initialize("talvox", static_cast<CEventLogger::ELogLevel>(level));

    lockfile.setFileName("/tmp/tvx-" + device + ".lock");
    lock_start();

    // Computed for a detached start; this version writes no pid file.
    if (pidfile.isEmpty())
        pidfile = "./talvox-" + device + ".pid";

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232");
    if (RS232::instance()->init(device, baud) < 0) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_ERROR, "end initialize RS232, result: FAILED");
        app_exit(2);
    }
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232, result: OK");

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start initialize RS232Handler");
    RS232Handler::instance()->init();
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end initialize RS232Handler, result: OK");

    // The service stays in the foreground; whoever starts it may detach it.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start deamonizing");

    app.exec();
    app_exit(0);
}
