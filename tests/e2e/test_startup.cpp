// Start-up of the real executable: options, the lock file and the exit codes
// of the paths that end before the event loop.
#include "process_harness.h"

#include <QRegularExpression>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void init() { TALVOX_SKIP_UNLESS_AVAILABLE(); }

    void earlyExits_data();
    void earlyExits();
    void deviceAsPathCannotLock();
    void badBaudRateIsAccepted();
};

void TestStartup::earlyExits_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("heldLock"); // a lock file left by another instance
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("logged");
    QTest::addColumn<QByteArray>("notLogged");

    const QByteArray another = "another instance is running\n";
    QTest::newRow("default device, lock held") << QStringList{} << "tvx-ttyUSB0.lock" << 1 << another << QByteArray();
    QTest::newRow("lock per device") << QStringList{"-d", "ttyS0", "-l", "7"} << "tvx-ttyS0.lock" << 1 << another
                                     << QByteArray("start initialize RS232");
    QTest::newRow("-D is not -d: device stays ttyUSB0")
        << QStringList{"-D", "ttyS0"} << "tvx-ttyUSB0.lock" << 1 << another << QByteArray();
    QTest::newRow("missing device") << QStringList{"-d", "xyz", "-l", "3"} << "" << 8
                                    << QByteArray("]: interface /dev/xyz doesn't exists!\n")
                                    << QByteArray("start initialize RS232");
    QTest::newRow("missing device, only level 0 logged") << QStringList{"-d", "xyz"} << "" << 8 << QByteArray()
                                                         << QByteArray("interface");
    QTest::newRow("level above 7 logs everything") << QStringList{"-d", "xyz", "-l", "99"} << "" << 8
                                                   << QByteArray("]: start initialize RS232\n") << QByteArray();
    QTest::newRow("negative level logs nothing") << QStringList{"-d", "xyz", "-l", "-1"} << "" << 8 << QByteArray()
                                                 << QByteArray("interface");
    QTest::newRow("last -d wins, plain arguments ignored")
        << QStringList{"plain", "-d", "abc", "other", "-d", "xyz", "-l", "5"} << "" << 8
        << QByteArray("]: start initialize RS232\n") << QByteArray("/dev/abc");
    QTest::newRow("absolute device") << QStringList{"-d", "/dev/ttyS1"} << "" << 1
                                     << QByteArray("error on .lock-file creation\n") << QByteArray();
}

void TestStartup::earlyExits()
{
    QFETCH(QStringList, args);
    QFETCH(QString, heldLock);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, logged);
    QFETCH(QByteArray, notLogged);

    TalvoxProcess talvox(QTest::currentDataTag());
    if (!heldLock.isEmpty()) {
        QFile lock(talvox.tmpDir() + "/" + heldLock);
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write("held by pid 4711");
    }
    talvox.start(args);
    QCOMPARE(talvox.exitCode(), exitCode);
    QVERIFY2(talvox.standardError().contains(logged), talvox.standardError().constData());
    if (!notLogged.isEmpty())
        QVERIFY2(!talvox.standardError().contains(notLogged), talvox.standardError().constData());

    // Exit 1 leaves another instance's lock as it was; exit 8 removes its own.
    const QStringList locks = QDir(talvox.tmpDir()).entryList(QDir::Files | QDir::NoDotAndDotDot);
    QCOMPARE(locks, heldLock.isEmpty() ? QStringList{} : QStringList{heldLock});
    if (!heldLock.isEmpty()) {
        QFile lock(talvox.tmpDir() + "/" + heldLock);
        QVERIFY(lock.open(QIODevice::ReadOnly));
        QCOMPARE(lock.readAll(), QByteArray("held by pid 4711"));
    }
}

// "-d /dev/ttyS1" puts the slashes into the lock file's name, whose directory
// does not exist: the console line names the file.
void TestStartup::deviceAsPathCannotLock()
{
    TalvoxProcess talvox("device-as-path");
    talvox.start({"-d", "/dev/ttyS1", "-l", "7"});
    QCOMPARE(talvox.exitCode(), 1);
    QCOMPARE(talvox.standardError(), QByteArray("error on .lock-file creation\n"));

    QString visible = QString::fromLatin1(talvox.standardOutput());
    visible.remove(QRegularExpression("\x1b\\[[0-9;]*m"));
    const QString text = "Filename: /tmp/tvx-/dev/ttyS1.lock";
    QCOMPARE(visible, "<talvox.cpp          > [?] (lock_start                ): " + text
                          + QString(74 - text.size(), '.') + "------\n");
    QVERIFY(QDir(talvox.tmpDir()).isEmpty());
}

// The baud option is read ("fast" gives 0) and never applied: the service
// comes up and the line works.
void TestStartup::badBaudRateIsAccepted()
{
    PtyPair line;
    QVERIFY(line.isOpen());
    TalvoxProcess talvox("bad-baud");
    talvox.makeTmpDir("tvx-pts"); // the lock "/tmp/tvx-pts/N.lock" needs it
    talvox.start({"-b", "fast", "-d", line.device(), "-l", "5"});
    QVERIFY2(talvox.waitForLog("]: start deamonizing\n"), talvox.standardError().constData());
    QVERIFY(talvox.standardError().contains("]: end initialize RS232, result: OK\n"));
    QVERIFY(talvox.tmpHas("tvx-" + line.device() + ".lock"));
    line.write(QByteArray::fromHex("02 05 01 00 00 03"));
    QCOMPARE(line.read(1).toHex(), QByteArray("06"));
    QVERIFY(talvox.running());
}

QTEST_GUILESS_MAIN(TestStartup)
#include "test_startup.moc"
