// SPDX-License-Identifier: BSD-2-Clause
// Start-up of the real executable: options, the lock file and the exit codes
// of the paths that end before the event loop.
#include "TestRig.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include <csignal>
#include <sys/file.h>
#include <unistd.h>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void earlyExits_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("lock"); // a lock file in place
        QTest::addColumn<bool>("held");    // by a live instance (this test), or left by one that died
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("logged");
        QTest::addColumn<QByteArray>("notLogged");
        QTest::addColumn<QString>("console"); // standard output without its colours

        QTest::newRow("default device's lock held, before any log line")
            << QStringList { "-l", "7" } << "tvx-ttyUSB0.lock" << true << 1
            << QByteArray("another instance is running\n") << QByteArray("start initialize RS232") << "";
        QTest::newRow("missing device") << QStringList { "-d", "xyz", "-l", "3" } << "" << false << 8
                                        << QByteArray("]: interface /dev/xyz doesn't exists!\n")
                                        << QByteArray("start initialize RS232") << "";
        QTest::newRow("device that is no serial port")
            << QStringList { "-d", "null", "-l", "3" } << "" << false << 2 << QByteArray("]: cannot open /dev/null: ")
            << QByteArray("result: OK") << "";
        // Exit 8, not 1: the lock of the instance that died is taken over (and removed), that of /dev/abc not taken.
        QTest::newRow("stale lock taken over; last -d wins, plain arguments ignored")
            << QStringList { "plain", "-d", "abc", "other", "-d", "xyz", "-l", "5" } << "tvx-xyz.lock" << false << 8
            << QByteArray("]: start initialize RS232\n") << QByteArray("/dev/abc") << "";
        // The slashes go into the lock file's name, whose directory does not exist.
        const QString file = "Filename: /tmp/tvx-/dev/ttyS1.lock";
        QTest::newRow("device as a path")
            << QStringList { "-d", "/dev/ttyS1", "-l", "7" } << "" << false << 1
            << QByteArray("error on .lock-file creation\n") << QByteArray("]:")
            << "<talvox.cpp          > [?] (lock_start                ): " + file.leftJustified(74, '.') + "------\n";
    }

    void earlyExits()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, lock);
        QFETCH(bool, held);
        QFETCH(QByteArray, logged);
        QFETCH(QByteArray, notLogged);
        if (geteuid() != 0)
            QSKIP("needs root: talvox runs in a private mount namespace, its /tmp a directory of the build tree");
        static int runs = 0;
        const QString dir = TALVOX_TEST_RUNS_DIR "/startup-" + QString::number(++runs);
        QDir(dir).removeRecursively();
        QDir().mkpath(dir + "/tmp");
        QFile lockFile(dir + "/tmp/" + lock);
        QVERIFY(lock.isEmpty() || (lockFile.open(QIODevice::ReadWrite) && lockFile.write("held by pid 4711") > 0));
        QVERIFY(!held || flock(lockFile.handle(), LOCK_EX | LOCK_NB) == 0);

        QProcess talvox;
        talvox.start(
            "sh", QStringList { QFINDTESTDATA("../../sim-env/run-isolated"), dir } + TestRig::serviceCommand() + args);
        QVERIFY(talvox.waitForFinished(10000));
        QTEST(talvox.exitCode(), "exitCode");
        const QByteArray err = talvox.readAllStandardError();
        QVERIFY2(err.contains(logged) && (notLogged.isEmpty() || !err.contains(notLogged)), err.constData());
        const QString out = QString::fromLatin1(talvox.readAllStandardOutput());
        QTEST(QString(out).remove(QRegularExpression("\x1b\\[[0-9;]*m")), "console");

        // Exit 1 leaves another instance's lock as it was; other exits remove their own.
        QCOMPARE(QDir(dir + "/tmp").entryList(QDir::Files), held ? QStringList { lock } : QStringList());
        QVERIFY(!held || (lockFile.seek(0) && lockFile.readAll() == "held by pid 4711"));
    }

    // A termination signal ends the service through its event loop: exit 0, lock file removed. The baud option
    // is read ("fast" gives 0) and never applied: the service comes up all the same. The tty is held
    // exclusively, without a UUCP lock file in /run/lock (the namespace's own, beside its /tmp).
    void signalsEndInOrder_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void signalsEndInOrder()
    {
        QFETCH(int, signal);
        TestRig rig;
        TALVOX_RIG_START(rig, RigOptions { {}, { "-b", "fast" } });
        QVERIFY(QFile::exists(rig.lockFilePath()));
        QVERIFY(QDir(QFileInfo(rig.lockFilePath()).absolutePath() + "/../lock").isEmpty());
        rig.signalService(signal);
        QCOMPARE(rig.waitForExit(5000), 0);
        QVERIFY(!QFile::exists(rig.lockFilePath()));
        QVERIFY(rig.serviceLog().contains(QString("]: received signal %1 (").arg(signal)));
    }
};

QTEST_GUILESS_MAIN(TestStartup)
#include "test_startup.moc"
