// SPDX-License-Identifier: BSD-2-Clause
// talvox-sim: stand-in for the sibling services of talvox on the bus named by
// DBUS_SYSTEM_BUS_ADDRESS, for tests and for trying talvox on a desk.
//
//   talvox-sim           serve until SIGTERM or SIGINT (exit 0)
//   talvox-sim --screen  print the running simulator's overlay screen
//   talvox-sim --calls   print the running simulator's call log

#include "Simulator.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

// Asks the running simulator's control interface and prints the answer.
int printFromControl(const QString& method)
{
    QDBusMessage request
        = QDBusMessage::createMethodCall(QStringLiteral("local.talvox.simulator"), QStringLiteral("/control"),
                                         QStringLiteral("local.talvox.simulator.control"), method);
    const QDBusMessage reply = QDBusConnection::systemBus().call(request);
    QTextStream out(stdout);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        QTextStream(stderr) << "talvox-sim: " << reply.errorMessage() << '\n';
        return 1;
    }
    const QVariant answer = reply.arguments().constFirst();
    if (answer.userType() == QMetaType::QStringList) {
        for (const QString& line : answer.toStringList())
            out << line << '\n';
    } else {
        out << answer.toString();
    }
    return 0;
}

int serve(QCoreApplication& app, const sigset_t& stopSignals)
{
    // SIGTERM and SIGINT arrive as readable data, so the event loop ends
    // orderly and the exit code is 0.
    const int stopFd = signalfd(-1, &stopSignals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (stopFd < 0) {
        perror("talvox-sim: signalfd");
        return 1;
    }
    QSocketNotifier stopNotifier(stopFd, QSocketNotifier::Read);
    QObject::connect(&stopNotifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);

    Simulator simulator(QDBusConnection::systemBus());
    QString error;
    if (!simulator.start(error)) {
        QTextStream(stderr) << "talvox-sim: " << error << '\n';
        close(stopFd);
        return 1;
    }
    const int code = QCoreApplication::exec();
    close(stopFd);
    return code;
}

} // namespace

int main(int argc, char* argv[])
{
    // Blocked before any thread starts (the bus has its own), so no thread
    // dies of them and the signal file descriptor receives them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args == QStringList { QStringLiteral("--screen") })
        return printFromControl(QStringLiteral("screen"));
    if (args == QStringList { QStringLiteral("--calls") })
        return printFromControl(QStringLiteral("calls"));
    if (!args.isEmpty()) {
        QTextStream(stderr) << "usage: talvox-sim [--screen | --calls]\n";
        return 2;
    }
    return serve(app, stopSignals);
}
