// talvox-pc against the real service: named commands go out as the right
// frames, replies come back in plain words, and NAK, time-out and a missing
// device end the client with their own exit codes.
#include "TestRig.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSocketNotifier>
#include <QtTest>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <vector>

namespace {
// talvox-pc needs a device path, which a pty master lacks. So the service gets a line of its own (a
// second "-d" wins over the rig's), and the event loop copies between the two masters like a null-modem cable.
struct PtyBridge {
    int fds[4] = {-1, -1, -1, -1}; // the client's master and slave, the service's
    QString devices[2];            // "/dev/pts/N" of each slave
    std::vector<std::unique_ptr<QSocketNotifier>> relays;

    bool open()
    {
        termios raw{};
        cfmakeraw(&raw);
        for (int i = 0; i < 2; ++i) {
            char name[128] = {};
            if (openpty(&fds[2 * i], &fds[2 * i + 1], name, &raw, nullptr) != 0)
                return false;
            devices[i] = name;
            fcntl(fds[2 * i], F_SETFL, O_NONBLOCK);
        }
        for (int fd : fds)
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        for (const auto& [from, to] : {std::pair{fds[0], fds[2]}, std::pair{fds[2], fds[0]}}) {
            relays.push_back(std::make_unique<QSocketNotifier>(from, QSocketNotifier::Read));
            QObject::connect(relays.back().get(), &QSocketNotifier::activated, [from = from, to = to] {
                char buffer[512];
                const ssize_t got = ::read(from, buffer, sizeof buffer);
                if (got > 0 && ::write(to, buffer, size_t(got)) != got)
                    qWarning("PtyBridge: bytes lost");
            });
        }
        return true;
    }

    ~PtyBridge()
    {
        relays.clear();
        for (int fd : fds)
            ::close(fd); // -1 if never opened: EBADF, harmless
    }
};

struct ClientResult { int exitCode; QString out, err; };

// Runs talvox-pc on the bridge's line while the event loop keeps it relaying.
ClientResult run(const PtyBridge& bridge, const QStringList& command, const QByteArray& script = {})
{
    QProcess client;
    client.start(QCoreApplication::applicationDirPath() + "/../tools/talvox-pc",
                 QStringList{"--device", bridge.devices[0]} + command);
    client.write(script);
    client.closeWriteChannel();
    if (!QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, 10000))
        client.kill();
    client.waitForFinished();
    return {client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1,
            QString::fromUtf8(client.readAllStandardOutput()), QString::fromUtf8(client.readAllStandardError())};
}
}

class TestClient : public QObject
{
    Q_OBJECT

    // The bridge goes first, so the service sees the hang-up and ends.
    TestRig rig;
    PtyBridge bridge;

private slots:
    void initTestCase()
    {
        QVERIFY(bridge.open());
        TALVOX_RIG_START(rig, RigOptions{QString(), 0, 0, {"-d", QString(bridge.devices[1]).remove("/dev/")}});
    }

    // Where nobody answers, requests time out (exit 4) and --raw shows a name's frame; or there is no line at all.
    void withoutController_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output"); // on standard output or error
        const QString sent = "sent:     02 ";
        QTest::newRow("no such device") << QStringList{"-d", "/dev/no-such-line", "version"} << 2
                                        << "cannot open /dev/no-such-line";
        QTest::newRow("unknown name lists the names") << QStringList{"frobnicate"} << 1 << "metercounter get 1";
        QTest::newRow("counter 3 set under 0x3C, float")
            << QStringList{"metercounter", "set", "3", "1"} << 4 << sent + "3C 02 04 00 3F 80 00 00 03\n";
        QTest::newRow("date") << QStringList{"date", "set", "2026-11-22"} << 4 << sent + "40 02 04 00 16 0B 14 1A 03\n";
        QTest::newRow("utf8 text") << QStringList{"--charset", "utf8", "line", "set", "1", "\u00fc"} << 4
                                   << sent + "98 02 03 00 01 C3 BC 03\n";
        QTest::newRow("locale text") << QStringList{"line", "set", "1", "\u00fc"} << 4
                                     << sent + "98 02 02 00 01 FC 03\n";
        QTest::newRow("temp texts") << QStringList{"screen", "temp", "4", "10", "AB", "CD"} << 4
                                    << sent + "D7 02 08 00 04 0A 00 41 42 00 43 44 03\n";
    }

    void withoutController()
    {
        QFETCH(QStringList, command);
        QFETCH(QString, output);
        PtyBridge silentLine;
        QVERIFY(silentLine.open());
        const ClientResult result = run(silentLine, QStringList{"--raw", "--timeout", "50"} + command);
        QTEST(result.exitCode, "exitCode");
        QVERIFY2((result.out + result.err).contains(output), qPrintable(result.out + result.err));
    }

    void answersInPlainWords()
    {
        rig.setValue("videocounter", QVariantList{1, 2, 30, 15, 12});
        QVERIFY(rig.emitSignal("sensor_3d_data", {2.5, 1.0, 0.0, -1.0}));
        QVERIFY(rig.emitSignal("meter_counter_changed", {12.5}));
        // Signals reach the service on their own time: ask until it knows.
        ClientResult meter;
        const auto known = [&] { return (meter = run(bridge, {"metercounter", "get", "1"})).out.contains("12.5"); };
        QVERIFY2(QTest::qWaitFor(known, 5000), qPrintable(meter.out + meter.err));
        QCOMPARE(meter.out, QString("meter counter 1: 12.5 metres (feet if the controller's locale is US)\n"));

        // One script: texts both ways, the client following "codec set" for later texts, comments skipped.
        const QByteArray script = "# a comment\nline set 5 \"Hello there\"\nline get 5\nstatusline state 2\n"
                                  "codec set utf8\nline set 3 \"Grüße\"\nline get 3\nvideocounter get\n3d data\n";
        const ClientResult result = run(bridge, {}, script);
        QVERIFY2(result.exitCode == 0, qPrintable(result.err + result.out));
        const QStringList expected = {"line 5: \"Hello there\"", "status line item 2: colours 1 on 13, visible",
                                      "line 3: \"Grüße\"", "video counter: 02:30:15, frame 12",
                                      "3D data: x 1, y 0, z -1, distance counter 2.5"};
        for (const QString& line : expected)
            QVERIFY2(result.out.contains(line + "\n"), qPrintable("missing \"" + line + "\" in:\n" + result.out));
        QCOMPARE(result.out.count("done (acknowledged)"), 3);

        // A setting: frame and ACK as they crossed the line, and the bus call.
        const ClientResult raw = run(bridge, {"--raw", "metercounter", "set", "2", "12.5"});
        QVERIFY2(raw.out.startsWith("sent:     02 36 02 04 00 41 48 00 00 03\nreceived: 06\n"), qPrintable(raw.out));
        QVERIFY(rig.waitForCall("set_meter_counter_sat(12.5)"));
    }

    void refusalAndTimeOut_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("group 3: NAK") << QStringList{"raw", "0x05", "3"} << 3 << "refused the frame (NAK 0x15)";
        QTest::newRow("item 0: ACK, no reply") << QStringList{"--timeout", "400", "statusline", "state", "0"} << 4
                                               << "acknowledged the command but sent no reply";
        QTest::newRow("command id 0: no ACK") << QStringList{"--timeout", "400", "raw", "0", "1"} << 4
                                              << "no answer within 400 ms";
    }

    void refusalAndTimeOut()
    {
        QFETCH(QStringList, command);
        QFETCH(QString, message);
        const ClientResult result = run(bridge, command);
        QTEST(result.exitCode, "exitCode");
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
        QCOMPARE(run(bridge, {"codec", "get"}).exitCode, 0); // the controller goes on answering
    }
};

QTEST_GUILESS_MAIN(TestClient)
#include "test_client.moc"
