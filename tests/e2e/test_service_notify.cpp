// The service manager's notification protocol, as systemd sees it under
// talvox@.service (Type=notify, WatchdogSec=): the rig's service is started
// with NOTIFY_SOCKET pointing at a datagram socket of this test, and the
// test checks who says what on it.
#include "TestRig.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// The watchdog interval the test asks for: the service pings every 100 ms.
const int WATCHDOG_MS = 200;

struct Notification {
    qint64 pid;
    QByteArray text;
};

// A notification socket like systemd's: abstract (the service's private
// /tmp cannot hide it), and the kernel names each sender's pid, so that
// messages from the bus daemon or the simulator are told apart.
class NotifySocket
{
public:
    ~NotifySocket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }

    // The value for NOTIFY_SOCKET, empty if the socket cannot be made.
    QByteArray open()
    {
        const QByteArray name = "talvox-notify-test-" + QByteArray::number(qint64(getpid()));
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path + 1, name.constData(), size_t(name.size())); // sun_path[0] = 0: abstract
        const int on = 1;
        m_fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (m_fd < 0 || ::setsockopt(m_fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0
            || ::bind(m_fd, reinterpret_cast<sockaddr*>(&address),
                      socklen_t(offsetof(sockaddr_un, sun_path) + 1 + name.size()))
                != 0)
            return {};
        return "@" + name;
    }

    // Everything that has arrived so far.
    QList<Notification> take()
    {
        QList<Notification> received;
        char text[4096];
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
        for (;;) {
            iovec data { text, sizeof text };
            msghdr message {};
            message.msg_iov = &data;
            message.msg_iovlen = 1;
            message.msg_control = control;
            message.msg_controllen = sizeof control;
            const ssize_t size = ::recvmsg(m_fd, &message, 0);
            if (size < 0)
                return received;
            // SO_PASSCRED: the credentials are the one control message.
            const cmsghdr* header = CMSG_FIRSTHDR(&message);
            const bool named = header && header->cmsg_type == SCM_CREDENTIALS;
            received.append(
                { named ? reinterpret_cast<const ucred*>(CMSG_DATA(header))->pid : 0, QByteArray(text, int(size)) });
        }
    }

private:
    int m_fd = -1;
};

} // namespace

class ServiceNotifyTest : public QObject
{
    Q_OBJECT

    TestRig rig;
    NotifySocket socket;
    qint64 servicePid = 0;         // kept: the rig forgets it once the service has ended
    QList<QByteArray> fromService; // what the service said, in order
    QList<qint64> pingTimes;       // when each WATCHDOG=1 arrived, ms
    QElapsedTimer clock;

    // Collects until `done` holds for what the service has said, or the time-out passes.
    bool collectUntil(const std::function<bool()>& done, int timeoutMs)
    {
        return QTest::qWaitFor(
            [&] {
                for (const Notification& notification : socket.take()) {
                    if (notification.pid != servicePid)
                        continue;
                    fromService.append(notification.text);
                    if (notification.text == "WATCHDOG=1")
                        pingTimes.append(clock.elapsed());
                }
                return done();
            },
            timeoutMs);
    }
    int count(const QByteArray& text) const { return int(fromService.count(text)); }

private slots:
    void initTestCase()
    {
#ifdef TALVOX_NO_LIBSYSTEMD
        QSKIP("talvox was built without libsystemd: it sends no notifications");
#endif
        clock.start();
        const QByteArray address = socket.open();
        QVERIFY2(!address.isEmpty(), "cannot bind the notification socket");
        // As systemd would set them for the service; the rig's children inherit them.
        qputenv("NOTIFY_SOCKET", address);
        qputenv("WATCHDOG_USEC", QByteArray::number(WATCHDOG_MS * 1000));
        TALVOX_RIG_START(rig);
        servicePid = rig.servicePid();
        qunsetenv("NOTIFY_SOCKET");
        qunsetenv("WATCHDOG_USEC");
    }

    void readyComesFirstOnceStartedUp()
    {
        QVERIFY(collectUntil([&] { return !fromService.isEmpty(); }, 3000));
        QCOMPARE(fromService.first(), QByteArray("READY=1"));
        QCOMPARE(count("READY=1"), 1);
        // Ready means serving: a query is answered.
        QVERIFY(rig.sync());
    }

    void watchdogIsFedFromTheEventLoop()
    {
        fromService.clear();
        QVERIFY2(collectUntil([&] { return count("WATCHDOG=1") >= 5; }, 5000),
                 qPrintable(QString("%1 pings").arg(count("WATCHDOG=1"))));

        // A query that waits for the overlay, which is stopped, blocks the
        // loop until the bus call gives up (750 ms): the pings must pause for
        // that long, or systemd could never see a stuck loop.
        QVERIFY(::kill(pid_t(rig.simulatorPid()), SIGSTOP) == 0);
        collectUntil([&] { return false; }, 0);
        fromService.clear();
        pingTimes.clear();
        rig.write(TestRig::frame(0x70, 1)); // videocounter get
        const QByteArray ack = rig.read(1);
        const qint64 ackAt = clock.elapsed(); // the loop is in the handler from here on
        const bool resumed = collectUntil([&] { return count("WATCHDOG=1") >= 5; }, 5000);
        QVERIFY(::kill(pid_t(rig.simulatorPid()), SIGCONT) == 0);
        QCOMPARE(ack, QByteArray("\x06"));
        QVERIFY(resumed);
        QList<qint64> times = pingTimes;
        times.append(ackAt);
        std::sort(times.begin(), times.end());
        qint64 longestPause = 0;
        for (int i = 1; i < times.size(); ++i)
            longestPause = qMax(longestPause, times[i] - times[i - 1]);
        QVERIFY2(longestPause >= 500, qPrintable(QString("longest pause %1 ms").arg(longestPause)));
        rig.readReply(3000); // whatever the query answered
    }

    void stoppingOnSigterm()
    {
        fromService.clear();
        QVERIFY(::kill(pid_t(servicePid), SIGTERM) == 0);
        QVERIFY(collectUntil([&] { return count("STOPPING=1") == 1; }, 3000));
        QCOMPARE(rig.waitForExit(3000), 0);
    }
};

QTEST_GUILESS_MAIN(ServiceNotifyTest)
#include "test_service_notify.moc"
