// talvox-pc against the real service: named commands go out as the right
// frames, replies come back in plain words, and NAK, time-out and a missing
// device end the client with their own exit codes.
#include "TestRig.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QSocketNotifier>
#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {

const int CLIENT_TIMEOUT_MS = 10000;

// talvox-pc needs a device path, and a pty master has none. So the service
// gets a line of its own (a second "-d", which wins over the rig's), and
// this bridge copies bytes between the master of that line and the master
// of the line the client opens, as a null-modem cable would.
class PtyBridge
{
public:
    ~PtyBridge()
    {
        m_notifiers.clear();
        for (int fd : { m_clientMaster, m_clientSlave, m_serviceMaster, m_serviceSlave }) {
            if (fd >= 0)
                ::close(fd);
        }
    }

    bool open()
    {
        return openPair(&m_clientMaster, &m_clientSlave, &m_clientDevice)
            && openPair(&m_serviceMaster, &m_serviceSlave, &m_serviceDevice)
            && relay(m_clientMaster, m_serviceMaster) && relay(m_serviceMaster, m_clientMaster);
    }

    // "/dev/pts/N", for the client.
    QString clientDevice() const { return m_clientDevice; }
    // "pts/N", as talvox takes it after "-d".
    QString serviceDevice() const { return QString(m_serviceDevice).remove(QStringLiteral("/dev/")); }

private:
    static bool openPair(int* master, int* slave, QString* device)
    {
        termios raw {};
        cfmakeraw(&raw);
        char name[128] = {};
        if (openpty(master, slave, name, &raw, nullptr) != 0)
            return false;
        tcsetattr(*master, TCSANOW, &raw);
        fcntl(*master, F_SETFD, FD_CLOEXEC);
        fcntl(*slave, F_SETFD, FD_CLOEXEC);
        fcntl(*master, F_SETFL, fcntl(*master, F_GETFL) | O_NONBLOCK);
        *device = QString::fromLocal8Bit(name);
        return true;
    }

    bool relay(int from, int to)
    {
        auto notifier = std::make_unique<QSocketNotifier>(from, QSocketNotifier::Read);
        QObject::connect(notifier.get(), &QSocketNotifier::activated, [from, to] {
            char buffer[512];
            const ssize_t got = ::read(from, buffer, sizeof buffer);
            for (ssize_t done = 0; got > 0 && done < got;) {
                const ssize_t written = ::write(to, buffer + done, size_t(got - done));
                if (written <= 0)
                    return;
                done += written;
            }
        });
        m_notifiers.push_back(std::move(notifier));
        return true;
    }

    int m_clientMaster = -1, m_clientSlave = -1, m_serviceMaster = -1, m_serviceSlave = -1;
    QString m_clientDevice, m_serviceDevice;
    std::vector<std::unique_ptr<QSocketNotifier>> m_notifiers;
};

struct ClientResult {
    int exitCode = -1;
    QString out;
    QString err;
};

QString clientProgram()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../client/talvox-pc");
}

// Runs talvox-pc while the event loop keeps the bridge relaying.
ClientResult runClient(const QStringList& arguments, const QByteArray& script = {})
{
    QProcess client;
    client.start(clientProgram(), arguments);
    if (!client.waitForStarted(CLIENT_TIMEOUT_MS))
        return { -1, {}, client.errorString() };
    client.write(script);
    client.closeWriteChannel();
    if (!QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, CLIENT_TIMEOUT_MS))
        client.kill();
    client.waitForFinished(CLIENT_TIMEOUT_MS);
    return { client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1,
             QString::fromUtf8(client.readAllStandardOutput()), QString::fromUtf8(client.readAllStandardError()) };
}

} // namespace

class TestClient : public QObject
{
    Q_OBJECT

private:
    // The rig with the service on the bridge's line.
    bool startRig(TestRig& rig, PtyBridge& bridge)
    {
        if (!bridge.open())
            return false;
        RigOptions options;
        options.extraArgs = QStringList { "-d", bridge.serviceDevice() };
        return rig.start(options);
    }

    ClientResult run(const PtyBridge& bridge, const QStringList& command, const QByteArray& script = {})
    {
        return runClient(QStringList { "--device", bridge.clientDevice() } + command, script);
    }

private slots:
    void initTestCase()
    {
        if (!QFile::exists(clientProgram()))
            QFAIL(qPrintable("talvox-pc is not built: " + clientProgram()));
    }

    void withoutController_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("no such device") << QStringList { "-d", "/dev/no-such-line", "version" } << 2
                                        << "cannot open /dev/no-such-line";
        QTest::newRow("unknown name lists the names") << QStringList { "frobnicate" } << 1 << "metercounter get 1";
        QTest::newRow("unknown sub-command lists its family")
            << QStringList { "metercounter", "wobble" } << 1 << "metercounter set 3 <value>";
        QTest::newRow("bad argument shows the usage") << QStringList { "date", "set", "22.11.2026" } << 1
                                                      << "usage: date set <YYYY-MM-DD>";
    }

    void withoutController()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        const ClientResult result = runClient(arguments);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
    }

    // The frames the names stand for, read off --raw on a line where nobody
    // answers (so every one of them ends in a time-out).
    void requestFrames_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QString>("frame");
        QTest::newRow("float") << QStringList { "metercounter", "set", "2", "12.5" } << "02 36 02 04 00 41 48 00 00 03";
        QTest::newRow("counter 3 set under 0x3C") << QStringList { "metercounter", "set", "3", "1" }
                                                  << "02 3C 02 04 00 3F 80 00 00 03";
        QTest::newRow("date") << QStringList { "date", "set", "2026-11-22" } << "02 40 02 04 00 16 0B 14 1A 03";
        QTest::newRow("time") << QStringList { "time", "set", "14:30:05" } << "02 50 02 03 00 0E 1E 05 03";
        QTest::newRow("line text") << QStringList { "line", "set", "5", "Hi" } << "02 98 02 03 00 05 48 69 03";
        QTest::newRow("line cleared") << QStringList { "line", "set", "5" } << "02 98 02 01 00 05 03";
        QTest::newRow("utf8 text") << QStringList { "--charset", "utf8", "line", "set", "1", "\u00fc" }
                                   << "02 98 02 03 00 01 C3 BC 03";
        QTest::newRow("locale text") << QStringList { "line", "set", "1", "\u00fc" } << "02 98 02 02 00 01 FC 03";
        QTest::newRow("cursor colour") << QStringList { "line", "color", "cursor", "2", "15" } << "02 92 02 01 00 2F 03";
        QTest::newRow("line colour") << QStringList { "line", "color", "4", "2", "15" } << "02 92 02 02 00 04 2F 03";
        QTest::newRow("status colours") << QStringList { "statusline", "color", "1", "2", "15" }
                                        << "02 99 02 03 00 01 0F 02 03";
        QTest::newRow("unit colour index") << QStringList { "text", "color", "87", "1", "15" }
                                           << "02 E5 02 03 00 0E 0F 01 03";
        QTest::newRow("unit position") << QStringList { "text", "position", "103", "16", "5" } << "02 FB 02 02 00 10 05 03";
        QTest::newRow("unit state") << QStringList { "text", "state", "87" } << "02 FC 01 00 00 03";
        QTest::newRow("codec") << QStringList { "codec", "set", "utf16" } << "02 01 02 01 00 02 03";
        QTest::newRow("temp texts") << QStringList { "screen", "temp", "4", "10", "AB", "CD" }
                                    << "02 D7 02 08 00 04 0A 00 41 42 00 43 44 03";
        QTest::newRow("video counter") << QStringList { "videocounter", "set", "1", "2", "3", "4" }
                                       << "02 70 02 04 00 01 02 03 04 03";
        QTest::newRow("status switch") << QStringList { "statusline", "hide", "2" } << "02 94 00 00 00 03";
        QTest::newRow("device data") << QStringList { "device", "data" } << "02 11 01 02 00 01 01 03";
        QTest::newRow("device value") << QStringList { "device", "value", "0xf6" } << "02 F6 01 00 00 03";
        QTest::newRow("raw") << QStringList { "raw", "0x30", "1", "7", "0xff" } << "02 30 01 02 00 07 FF 03";
    }

    void requestFrames()
    {
        QFETCH(QStringList, command);
        QFETCH(QString, frame);
        PtyBridge silentLine;
        QVERIFY(silentLine.open());
        const ClientResult result = run(silentLine, QStringList { "--raw", "--timeout", "50" } + command);
        QCOMPARE(result.exitCode, 4);
        QCOMPARE(result.out, "sent:     " + frame + "\n");
    }

    void queriesInPlainWords()
    {
        TestRig rig;
        PtyBridge bridge;
        if (!startRig(rig, bridge)) {
            if (rig.unsupported())
                QSKIP(qPrintable("end-to-end rig unavailable: " + rig.lastError()));
            QFAIL(qPrintable("rig did not start: " + rig.lastError()));
        }
        rig.setValue("videocounter", QVariantList { 1, 2, 30, 15, 12 });
        QVERIFY(rig.emitSignal("sensor_3d_data", { 2.5, 1.0, 0.0, -1.0 }));
        QVERIFY(rig.emitSignal("camera_temperature", { 35 }));
        QVERIFY(rig.emitSignal("meter_counter_changed", { 12.5 }));

        // Signals reach the service on their own time: ask until it knows.
        ClientResult meter;
        const bool known = QTest::qWaitFor([&] {
            meter = run(bridge, { "metercounter", "get", "1" });
            return meter.out.contains("12.5");
        }, 5000);
        Q_UNUSED(known); // the comparison below tells what came instead
        QCOMPARE(meter.out.trimmed(), QString("meter counter 1: 12.5 metres (feet if the controller's locale is US)"));

        // One script: several commands on one line, texts both ways, and the
        // client following "codec set" for the texts after it.
        const QByteArray script = "# a comment\n"
                                  "version\n"
                                  "line set 5 \"Hello there\"\n"
                                  "line get 5\n"
                                  "statusline set 2 ABC\n"
                                  "statusline get 2\n"
                                  "statusline state 2\n"
                                  "codec set utf8\n"
                                  "line set 3 \"Grüße\"\n"
                                  "line get 3\n"
                                  "codec get\n"
                                  "videocounter get\n"
                                  "3d data\n"
                                  "device value 0xF6\n"
                                  "metercounter wheel 2\n"
                                  "text state 95\n";
        const ClientResult result = run(bridge, {}, script);
        QVERIFY2(result.exitCode == 0, qPrintable(result.err + result.out));
        const QStringList expected = {
            "software version: \"Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work\"",
            "line 5: \"Hello there\"",
            "status line item 2: \"ABC\"",
            "status line item 2: colours 1 on 13, visible",
            "line 3: \"Grüße\"",
            "character set: UTF-8 (1)",
            "video counter: 02:30:15, frame 12",
            "3D data: x 1, y 0, z -1, distance counter 2.5",
            "camera temperature: 35",
            "wheel length: 200",
        };
        for (const QString& line : expected)
            QVERIFY2(result.out.contains(line + "\n"), qPrintable("missing \"" + line + "\" in:\n" + result.out));
        QVERIFY2(QRegularExpression("unit text 95: format \\d+, (visible|hidden), position \\d+, \\d+\n").match(result.out).hasMatch(),
                 qPrintable(result.out));
        QCOMPARE(result.out.count("done (acknowledged)"), 4);
    }

    void settingsReachTheController()
    {
        TestRig rig;
        PtyBridge bridge;
        if (!startRig(rig, bridge)) {
            if (rig.unsupported())
                QSKIP(qPrintable("end-to-end rig unavailable: " + rig.lastError()));
            QFAIL(qPrintable("rig did not start: " + rig.lastError()));
        }
        ClientResult result = run(bridge, { "--raw", "metercounter", "set", "2", "12.5" });
        QCOMPARE(result.exitCode, 0);
        // Frame and ACK as they crossed the line.
        QVERIFY2(result.out.contains("sent:     02 36 02 04 00 41 48 00 00 03\nreceived: 06\n"), qPrintable(result.out));
        QVERIFY(rig.waitForCall("set_meter_counter_sat(12.5)"));

        result = run(bridge, { "date", "set", "2026-11-22" });
        QCOMPARE(result.exitCode, 0);
        QVERIFY(QTest::qWaitFor([&] { return !rig.standinCalls().isEmpty(); }, 3000));
        QVERIFY2(QRegularExpression("^date 1122\\d{4}2026\\.\\d{2}$").match(rig.standinCalls().value(0)).hasMatch(),
                 qPrintable(rig.standinCalls().join('\n')));

        result = run(bridge, { "text", "hide", "95" });
        QCOMPARE(result.exitCode, 0);
        QVERIFY(rig.waitForCall("hide_text("));
    }

    void refusalAndTimeOut_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        // Group 3 does not exist: the controller answers NAK.
        QTest::newRow("NAK") << QStringList { "raw", "0x05", "3" } << 3 << "refused the frame (NAK 0x15)";
        // A state query for item 0 is acknowledged but never answered.
        QTest::newRow("no reply") << QStringList { "--timeout", "400", "statusline", "state", "0" } << 4
                                  << "acknowledged the command but sent no reply";
        // A frame with command id 0 gets neither ACK nor NAK.
        QTest::newRow("no ACK") << QStringList { "--timeout", "400", "raw", "0", "1" } << 4 << "no answer within 400 ms";
    }

    void refusalAndTimeOut()
    {
        QFETCH(QStringList, command);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        TestRig rig;
        PtyBridge bridge;
        if (!startRig(rig, bridge)) {
            if (rig.unsupported())
                QSKIP(qPrintable("end-to-end rig unavailable: " + rig.lastError()));
            QFAIL(qPrintable("rig did not start: " + rig.lastError()));
        }
        const ClientResult result = run(bridge, command);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
        // The controller goes on answering after either.
        QCOMPARE(run(bridge, { "codec", "get" }).exitCode, 0);
    }
};

QTEST_GUILESS_MAIN(TestClient)
#include "test_client.moc"
