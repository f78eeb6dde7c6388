// SPDX-License-Identifier: BSD-2-Clause
// The service manager's notification protocol, as systemd sees it under talvox@.service (Type=notify,
// WatchdogSec=): the service alone gets NOTIFY_SOCKET naming a datagram socket of this test.
#include "TestRig.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

class ServiceNotifyTest : public QObject
{
    Q_OBJECT

    TestRig rig;
    int notifySocket = -1;
    QList<QByteArray> said;  // what the service said, in order
    QList<qint64> pingTimes; // when each WATCHDOG=1 arrived, ms
    QElapsedTimer clock;

    // Collects what has arrived until `done` holds or the time-out passes.
    bool collectUntil(const std::function<bool()>& done, int timeoutMs = 5000)
    {
        const auto collect = [&] {
            char text[256];
            for (ssize_t size; (size = ::recv(notifySocket, text, sizeof text, 0)) > 0;) {
                said.append(QByteArray(text, int(size)));
                if (said.last() == "WATCHDOG=1")
                    pingTimes.append(clock.elapsed());
            }
            return done();
        };
        return QTest::qWaitFor(collect, timeoutMs);
    }
    int count(const char* text) const { return int(said.count(text)); }

private slots:
    void cleanupTestCase() { ::close(notifySocket); }
    void initTestCase()
    {
        // Abstract, as systemd's: the service's private /tmp cannot hide it.
        const QByteArray name = "talvox-notify-test-" + QByteArray::number(qint64(getpid()));
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path + 1, name.constData(), size_t(name.size()));
        notifySocket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        QVERIFY(::bind(notifySocket, reinterpret_cast<sockaddr*>(&address),
                       socklen_t(offsetof(sockaddr_un, sun_path) + 1 + name.size()))
                == 0);
        clock.start();
        // A 200 ms watchdog: the service pings every 100 ms.
        const QStringList environment { "NOTIFY_SOCKET=@" + QString::fromLatin1(name), "WATCHDOG_USEC=200000" };
        TALVOX_RIG_START(rig, RigOptions { {}, {}, environment });
    }

    void readyComesFirstOnceServing()
    {
        QVERIFY(collectUntil([&] { return !said.isEmpty(); }));
        QCOMPARE(said.first(), QByteArray("READY=1"));
        QVERIFY(rig.sync()); // ready means serving
        QCOMPARE(count("READY=1"), 1);
    }

    // A query waiting on the stopped overlay blocks the event loop until the bus call gives up (750 ms): the
    // pings must pause that long, or systemd could never see a stuck loop.
    void watchdogIsFedFromTheEventLoop()
    {
        QVERIFY2(collectUntil([&] { return count("WATCHDOG=1") >= 5; }), qPrintable(QString::number(said.size())));
        QVERIFY(rig.stopSimulator());
        rig.write(TestRig::frame(0x70, QUERY)); // the video counter
        const QByteArray ack = rig.read(1);
        collectUntil([] { return true; }, 0);
        pingTimes = { clock.elapsed() }; // the loop is in the handler from here on
        const bool resumed = collectUntil([&] { return pingTimes.size() > 5; });
        QVERIFY(rig.continueSimulator());
        QCOMPARE(ack, QByteArray("\x06"));
        QVERIFY(resumed);
        qint64 longestPause = 0;
        for (int i = 1; i < pingTimes.size(); ++i)
            longestPause = qMax(longestPause, pingTimes[i] - pingTimes[i - 1]);
        QVERIFY2(longestPause >= 500, qPrintable(QString("longest pause %1 ms").arg(longestPause)));
        QVERIFY(rig.readReply(3000));
    }

    void stoppingOnSigterm()
    {
        rig.signalService(SIGTERM);
        QVERIFY(collectUntil([&] { return count("STOPPING=1") == 1; }));
        QCOMPARE(rig.waitForExit(3000), 0);
    }
};

QTEST_GUILESS_MAIN(ServiceNotifyTest)
#include "test_service_notify.moc"
