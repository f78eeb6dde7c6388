// talvox-pc decode on captures a technician might bring: every byte ends up
// in a line (frames in words, typed text, stray bytes, broken and truncated
// frames), replies are read in terms of their query, and bad input fails.
#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {
const QString TRACE_HEADER = "# talvox line trace\n";

QString clientPath()
{
    return QCoreApplication::applicationDirPath() + "/../tools/talvox-pc";
}

struct Decoded {
    int exitCode;
    QString out, err;
};

Decoded decode(const QStringList& arguments)
{
    QProcess client;
    client.start(clientPath(), QStringList { "decode" } + arguments);
    const bool finished = client.waitForFinished(10000);
    return { finished && client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1,
             QString::fromUtf8(client.readAllStandardOutput()), QString::fromUtf8(client.readAllStandardError()) };
}
} // namespace

class TestLineDecode : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString file(const QString& name, const QByteArray& contents)
    {
        QFile f(dir.filePath(name));
        f.open(QIODevice::WriteOnly);
        f.write(contents);
        return f.fileName();
    }

private slots:
    // One file, raw bytes of one direction or a trace; the decoded lines, in full.
    void decodes_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("capture");
        QTest::addColumn<QString>("expected");
        QTest::newRow("typed, stray, frame, truncated at the end")
            << QStringList {} << QByteArray::fromHex("616201070201010000030298020500014142")
            << "PC   typed \"ab\"\nPC   bytes outside a frame: 01 07\nPC   codec get\n"
               "PC   truncated frame at the end of the capture (3 of 5 data bytes): 02 98 02 05 00 01 41 42\n";
        QTest::newRow("broken frames go on with the next byte")
            << QStringList {} << QByteArray::fromHex("02050341020101000000")
            << "PC   broken frame (group id 3 is above 2; the controller answers NAK): 02 05 03\n"
               "PC   typed \"A\"\n"
               "PC   broken frame (0x00 where the end byte 0x03 belongs; the controller answers NAK): 02 01 01 00 00 "
               "00\n";
        QTest::newRow("values as talvox-pc takes them, unknown and id 0 frames")
            << QStringList { "--raw" }
            << QByteArray::fromHex("0240020400160B141A03"
                                   "0299020300010F0203"
                                   "02050001000703"
                                   "0200000000"
                                   "03")
            << "PC   date set 2026-11-22  [02 40 02 04 00 16 0B 14 1A 03]\n"
               "PC   statusline color 1 2 15  [02 99 02 03 00 01 0F 02 03]\n"
               "PC   frame 0x05/0, not in the command table, data 07  [02 05 00 01 00 07 03]\n"
               "PC   frame with command id 0, ignored by the controller, no data  [02 00 00 00 00 03]\n";
        QTest::newRow("controller: ACK, NAK, stray bytes, reply without its query")
            << QStringList { "--from", "ctl" } << QByteArray::fromHex("0615410201010100010300")
            << "CTL  ACK\nCTL  NAK\nCTL  bytes outside a frame: 41\nCTL  reply: character set: UTF-8 (1)\n"
               "CTL  bytes outside a frame: 00\n";
        QTest::newRow("trace: texts follow codec set, replies read by their query")
            << QStringList {}
            << (TRACE_HEADER
                + "t1 pc 02 01 02 01 00 01 03\n"
                  "t2 ctl 06\n"
                  "t3 pc 02 90 01 01 00 02 03\n"
                  "- ctl 06 02 90 01 05 00 02 47 C3 BC 74 03\n")
                   .toUtf8()
            << "t1  PC   codec set utf8\nt2  CTL  ACK\nt3  PC   statusline get 2\nCTL  ACK\n"
               "CTL  reply: status line item 2: \"Güt\"\n";
    }

    void decodes()
    {
        QFETCH(QStringList, options);
        QFETCH(QByteArray, capture);
        const Decoded result = decode(options + QStringList { file("capture", capture) });
        QCOMPARE(result.err, QString());
        QFETCH(QString, expected);
        QCOMPARE(result.out, expected);
        QCOMPARE(result.exitCode, 0);
    }

    // Two captures without times: the PC's events, then the controller's; replies are read by their
    // queries in turn (only an item 1-4 is echoed in front of a status line text).
    void twoCaptures()
    {
        const QString pc = file("pc",
                                QByteArray::fromHex("02900101000703"
                                                    "02900101000203"));
        const QString ctl = file("ctl",
                                 QByteArray::fromHex("06029001030061626303"
                                                     "060290010300024F4B03"));
        const Decoded result = decode({ pc, ctl });
        QCOMPARE(result.out,
                 QString("PC   statusline get 7\nPC   statusline get 2\nCTL  ACK\n"
                         "CTL  reply: overlay text 7: \"abc\"\nCTL  ACK\nCTL  reply: status line item 2: \"OK\"\n"));
        QCOMPARE(result.exitCode, 0);
    }

    void badInput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing file") << QStringList { "no-such-file" } << 2 << "cannot read no-such-file";
        QTest::newRow("three captures") << QStringList { "a", "b", "c" } << 1 << "at most two captures";
        QTest::newRow("bad direction") << QStringList { "--from", "up" } << 1 << "--from takes pc";
        QTest::newRow("follow without a line") << QStringList { "--follow" } << 1 << "--follow takes one line";
        // A trace line that is no trace line is reported with its place.
        QTest::newRow("malformed trace line") << QStringList { "bad.trace" } << 1 << "bad.trace:3: not a trace line";
        QTest::newRow("follow a missing device")
            << QStringList { "--follow", "/dev/no-such-tap" } << 2 << "cannot open /dev/no-such-tap";
    }

    void badInput()
    {
        QFETCH(QStringList, arguments);
        for (const char* name : { "a", "b", "c" })
            file(name, "x");
        file("bad.trace", (TRACE_HEADER + "t1 pc 02 FE 01 00 00 03\nt2 sideways 06\n").toUtf8());
        QDir::setCurrent(dir.path());
        const Decoded result = decode(arguments);
        QTEST(result.exitCode, "exitCode");
        QFETCH(QString, message);
        QVERIFY2(result.err.contains(message), qPrintable(result.err));
    }

    // A live line: events appear as the bytes come, stamped with the time; the line going away ends it.
    void followsALiveLine()
    {
        int master = -1, slave = -1;
        char name[128] = {};
        termios raw {};
        cfmakeraw(&raw);
        QVERIFY(openpty(&master, &slave, name, &raw, nullptr) == 0);
        // Only this process holds the master: closing it hangs the line up.
        fcntl(master, F_SETFD, FD_CLOEXEC);
        fcntl(slave, F_SETFD, FD_CLOEXEC);
        QProcess follower;
        follower.start(clientPath(), { "decode", "--follow", "--from", "ctl", name });
        QVERIFY(follower.waitForStarted());
        ::close(slave); // the follower holds its own
        const auto send = [&](const QByteArray& bytes) {
            return ::write(master, bytes.constData(), size_t(bytes.size())) == bytes.size();
        };
        // Waits for `text` in the output, sending `resend` meanwhile: the follower may open the line late.
        QByteArray out;
        const auto seen = [&](const QByteArray& text, const QByteArray& resend) {
            const auto arrived = [&] {
                out += follower.readAllStandardOutput();
                return out.contains(text) || (!resend.isEmpty() && !send(resend));
            };
            return QTest::qWaitFor(arrived, 5000) && out.contains(text);
        };
        QVERIFY2(seen("CTL  ACK", "\x06"), out.constData());
        QVERIFY(send(QByteArray::fromHex("02010101000203")));
        QVERIFY2(seen("CTL  reply: character set: UTF-16 (2)\n", {}), out.constData());
        QVERIFY(QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}  CTL  ACK\n")
                    .match(out)
                    .hasMatch());
        ::close(master);
        QVERIFY(follower.waitForFinished(5000));
        QCOMPARE(follower.exitCode(), 2);
        const QByteArray error = follower.readAllStandardError();
        QVERIFY2(error.contains(" ended: the line hung up"), error.constData());
    }
};

QTEST_GUILESS_MAIN(TestLineDecode)
#include "test_line_decode.moc"
