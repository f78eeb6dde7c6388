// SPDX-License-Identifier: BSD-2-Clause
// talvox-pc without a controller. Its decode on captures a technician might
// bring: every byte ends up in a line (frames in words, typed text, stray
// bytes, broken and truncated frames), replies are read in terms of their
// query, bad input fails, a live line is followed until it hangs up. (The trace
// of a real run is decoded by tests/e2e/network_line.py.) And the command
// catalogue it shares with the service: names, and docs/protocol.md from it.
#include "CommandCatalogue.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

class TestLineDecode : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    const QString client = QCoreApplication::applicationDirPath() + "/../tools/talvox-pc";

private slots:
    // A command is found by its name: one given twice leaves a command out of reach (pairs: test_command_table).
    void everyCommandHasItsOwnName()
    {
        QStringList names;
        for (const CatalogueEntry& entry : catalogue())
            names << entry.name;
        QCOMPARE(names.removeDuplicates(), 0);
    }

    // The captures go after the arguments as files (of two, the first is the PC's and the second the
    // controller's). Expected is the standard output in full, or for bad input a piece of the error.
    void prints_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArrayList>("captures");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("expected");
        QTest::newRow("typed, stray, known, unknown, broken frames (read on after), one truncated at the end")
            << QStringList { "decode", "--raw" }
            << QByteArrayList { QByteArray::fromHex("6162010702010100000302050001000703"
                                                    "020503410201010000000298020500014142") }
            << 0
            << "PC   typed \"ab\"\nPC   bytes outside a frame: 01 07\nPC   codec get  [02 01 01 00 00 03]\n"
               "PC   frame 0x05/0, not in the command table, data 07  [02 05 00 01 00 07 03]\n"
               "PC   broken frame (group id 3 is above 2; the controller answers NAK): 02 05 03\nPC   typed \"A\"\n"
               "PC   broken frame (0x00 where the end byte 0x03 belongs; the controller answers NAK): "
               "02 01 01 00 00 00\nPC   truncated frame at the end of the capture (3 of 5 data bytes): "
               "02 98 02 05 00 01 41 42\n";
        // Only an item 1-4 is echoed in front of a status line text.
        QTest::newRow("two captures, replies read by their queries in turn")
            << QStringList { "decode" }
            << QByteArrayList { QByteArray::fromHex("0290010100070302900101000203"),
                                QByteArray::fromHex("06029001030061626303060290010300024F4B03") }
            << 0
            << "PC   statusline get 7\nPC   statusline get 2\nCTL  ACK\nCTL  reply: overlay text 7: \"abc\"\n"
               "CTL  ACK\nCTL  reply: status line item 2: \"OK\"\n";
        QFile reference(QFINDTESTDATA("../../docs/protocol.md"));
        QTest::newRow("docs/protocol.md is --list-markdown (regenerate it with that)")
            << QStringList { "--list-markdown" } << QByteArrayList {} << 0
            << QString::fromUtf8(reference.open(QIODevice::ReadOnly) ? reference.readAll() : "(missing)");
        QTest::newRow("malformed trace line, reported with its place")
            << QStringList { "decode" }
            << QByteArrayList { "# talvox line trace\nt1 pc 02 FE 01 00 00 03\nt2 sideways 06\n" } << 1
            << ":3: not a trace line";
    }

    void prints()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArrayList, captures);
        for (int i = 0; i < captures.size(); ++i) {
            QFile file(dir.filePath(QString::number(i)));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(captures[i]) == captures[i].size());
            arguments << file.fileName();
        }
        QProcess run;
        run.start(client, arguments);
        QVERIFY(run.waitForFinished(10000) && run.exitStatus() == QProcess::NormalExit);
        const QString err = QString::fromUtf8(run.readAllStandardError());
        QTEST(run.exitCode(), "exitCode");
        QFETCH(QString, expected);
        if (run.exitCode() != 0) // else nothing on the error output, and the output in full
            QVERIFY2(err.contains(expected), qPrintable(err));
        else
            QCOMPARE(err + QString::fromUtf8(run.readAllStandardOutput()), expected);
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
        follower.start(client, { "decode", "--follow", "--from", "ctl", name });
        QVERIFY(follower.waitForStarted());
        ::close(slave); // the follower holds its own
        // Sends `bytes` again and again until `text` is in the output: the follower may open the line late.
        QByteArray out;
        const auto answered = [&](const QByteArray& bytes, const QByteArray& text) {
            const auto arrived = [&] {
                out += follower.readAllStandardOutput();
                return out.contains(text) || ::write(master, bytes.constData(), size_t(bytes.size())) != bytes.size();
            };
            return QTest::qWaitFor(arrived, 5000) && out.contains(text);
        };
        QVERIFY2(answered("\x06", "CTL  ACK"), out.constData());
        QVERIFY2(answered(QByteArray::fromHex("02010101000203"), "CTL  reply: character set: UTF-16 (2)\n"),
                 out.constData());
        QVERIFY2(
            QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}  CTL  ACK\n").match(out).hasMatch(),
            out.constData());
        ::close(master);
        QVERIFY(follower.waitForFinished(5000));
        QCOMPARE(follower.exitCode(), 2);
        const QByteArray error = follower.readAllStandardError();
        QVERIFY2(error.contains(" ended: the line hung up"), error.constData());
    }
};

QTEST_GUILESS_MAIN(TestLineDecode)
#include "test_line_decode.moc"
