// The console line builder byte for byte, and the event logger's filter as
// seen on standard error (syslog copies every line there).
#include "CEventLogger.h"
#include "CLog.h"

#include <QProcess>
#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <functional>
#include <unistd.h>

using Streamer = std::function<void(CLog&)>;
Q_DECLARE_METATYPE(Streamer)

namespace {
const char* const CHILD_CLOG_EXIT = "--child-clog-exit";
const char* const CHILD_QT_FATAL = "--child-qt-fatal";

// What `action` writes to the descriptor `fd` (1 or 2).
QByteArray captured(int fd, const std::function<void()>& action)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot open a temporary file";
    std::fflush(stdout);
    std::fflush(stderr);
    const int saved = dup(fd);
    dup2(file.handle(), fd);
    action();
    std::fflush(stdout);
    std::fflush(stderr);
    dup2(saved, fd);
    close(saved);
    file.seek(0);
    return file.readAll();
}

// One console line as the operator sees it, colours included; `status` is
// the visible status word with its colour, `end` what follows it.
QByteArray line(const QByteArray& file20, const QByteArray& function26, const QByteArray& text74,
                const QByteArray& status, const QByteArray& end = "\n")
{
    const QByteArray dark = "\x1b[1;30m", white = "\x1b[0;37m", bright = "\x1b[1;37m";
    return dark + white + "<" + dark + file20 + white + "> [" + dark + "?" + white + "] (" + dark + function26
         + white + "): " + white + bright + text74 + white + status + white + end;
}

QByteArray dotted(const QByteArray& text)
{
    return text + QByteArray(74 - text.size(), '.');
}

QByteArray padded(const QByteArray& text, int width)
{
    return text + QByteArray(width - text.size(), ' ');
}

const QByteArray BLUE_DASHES = "\x1b[0;34m------";

QByteArray syslogLine(const char* text)
{
    return QByteArray("talvox[") + QByteArray::number(getpid()) + "]: " + text + "\n";
}
}

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void lockFailureLine();
    void columns_data();
    void columns();
    void text_data();
    void text();
    void status_data();
    void status();
    void throwingValuation();
    void exitingValuation();

    void levelFilter_data();
    void levelFilter();
    void disabledWritesNothing();
    void secondInitializeChangesNothing();
    void qtMessagesAtDebugLevel();
    void qtFatalAborts();
};

void TestLogging::initTestCase()
{
    CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_ERROR);
}

// ---- CLog -------------------------------------------------------------------

void TestLogging::lockFailureLine()
{
    const QByteArray out = captured(1, [] {
        CLog("/work/source/talvox.cpp", 27, "void lock_start()") << "Filename: " << std::string("/tmp/x");
    });
    QCOMPARE(out, QByteArray("\x1b[1;30m\x1b[0;37m<\x1b[1;30mtalvox.cpp          \x1b[0;37m> [\x1b[1;30m?\x1b[0;37m] "
                             "(\x1b[1;30mlock_start                \x1b[0;37m): \x1b[0;37m\x1b[1;37mFilename: /tmp/x"
                             "..........................................................\x1b[0;37m"
                             "\x1b[0;34m------\x1b[0;37m\n"));
}

void TestLogging::columns_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<QByteArray>("fileColumn");
    QTest::addColumn<QByteArray>("functionColumn");

    QTest::newRow("base name of a path") << QByteArray("/a/b/CLog.cpp") << QByteArray("void f()")
                                         << padded("CLog.cpp", 20) << padded("f", 26);
    QTest::newRow("file of 20 kept") << QByteArray("abcdefghijklmnopqrst") << QByteArray("void f()")
                                     << QByteArray("abcdefghijklmnopqrst") << padded("f", 26);
    QTest::newRow("file of 21 keeps the last 20") << QByteArray("x/abcdefghijklmnopqrstu") << QByteArray("void f()")
                                                  << QByteArray("bcdefghijklmnopqrstu") << padded("f", 26);
    QTest::newRow("only the first word goes") << QByteArray("a.cpp") << QByteArray("static int RS232Handler::init(bool)")
                                              << padded("a.cpp", 20) << padded("int RS232Handler::init", 26);
    QTest::newRow("arguments with spaces") << QByteArray("a.cpp") << QByteArray("void f(int a, int b)")
                                           << padded("a.cpp", 20) << padded("f", 26);
    QTest::newRow("qualifier after the arguments") << QByteArray("a.cpp") << QByteArray("int Foo::bar() const")
                                                   << padded("a.cpp", 20) << padded("Foo::bar", 26);
    QTest::newRow("no return type") << QByteArray("a.cpp") << QByteArray("main") << padded("a.cpp", 20)
                                    << padded("main", 26);
    QTest::newRow("function of 26 kept") << QByteArray("a.cpp") << QByteArray("void abcdefghijklmnopqrstuvwxyz()")
                                         << padded("a.cpp", 20) << QByteArray("abcdefghijklmnopqrstuvwxyz");
    QTest::newRow("function of 27 keeps the last 26")
        << QByteArray("a.cpp") << QByteArray("void abcdefghijklmnopqrstuvwxyz1(int)") << padded("a.cpp", 20)
        << QByteArray("bcdefghijklmnopqrstuvwxyz1");
}

void TestLogging::columns()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, function);
    QFETCH(QByteArray, fileColumn);
    QFETCH(QByteArray, functionColumn);
    const QByteArray out = captured(1, [&] { CLog(path.constData(), 12, function.constData()) << "t"; });
    QCOMPARE(out, line(fileColumn, functionColumn, dotted("t"), BLUE_DASHES));
}

void TestLogging::text_data()
{
    QTest::addColumn<Streamer>("stream");
    QTest::addColumn<QByteArray>("text");

    const std::string seventyFour(74, 'a');
    QTest::newRow("empty") << Streamer([](CLog&) {}) << QByteArray();
    QTest::newRow("chars and string") << Streamer([](CLog& l) { l << "ab" << std::string("cd"); }) << QByteArray("abcd");
    QTest::newRow("int is not formatted") << Streamer([](CLog& l) { l << "n=" << 5; }) << QByteArray("n=???");
    QTest::newRow("double is not formatted") << Streamer([](CLog& l) { l << 2.5 << "|"; }) << QByteArray("???|");
    QTest::newRow("bools with spaces") << Streamer([](CLog& l) { l << "x" << true << false << "y"; })
                                       << QByteArray("x true  false y");
    QTest::newRow("74 kept") << Streamer([=](CLog& l) { l << seventyFour; }) << QByteArray(74, 'a');
    QTest::newRow("longer cut to 74") << Streamer([=](CLog& l) { l << seventyFour << "bcd"; }) << QByteArray(74, 'a');
}

void TestLogging::text()
{
    QFETCH(Streamer, stream);
    QFETCH(QByteArray, text);
    const QByteArray out = captured(1, [&] {
        CLog log("a.cpp", 1, "void f()");
        stream(log);
    });
    QCOMPARE(out, line(padded("a.cpp", 20), padded("f", 26), dotted(text), BLUE_DASHES));
}

void TestLogging::status_data()
{
    QTest::addColumn<int>("valuation");
    QTest::addColumn<QByteArray>("status");
    QTest::newRow("0") << 0 << BLUE_DASHES;
    QTest::newRow("1 default") << 1 << BLUE_DASHES;
    QTest::newRow("2 warn") << 2 << QByteArray("\x1b[0;31m  Warn");
    QTest::newRow("3 error") << 3 << QByteArray("\x1b[0;31m Error");
    QTest::newRow("6 ok") << 6 << QByteArray("\x1b[0;32m    Ok");
    QTest::newRow("7 passed") << 7 << QByteArray("\x1b[0;32mPassed");
}

void TestLogging::status()
{
    QFETCH(int, valuation);
    QFETCH(QByteArray, status);
    const QByteArray out = captured(1, [&] {
        CLog("a.cpp", 1, "void f()") << "x" << static_cast<CLog::ELogValuation>(valuation) << "y";
    });
    QCOMPARE(out, line(padded("a.cpp", 20), padded("f", 26), dotted("xy"), status));
}

// Valuation 5 throws the line's text right after the status word: no line feed.
void TestLogging::throwingValuation()
{
    QByteArray thrown;
    const QByteArray out = captured(1, [&] {
        try {
            CLog("a.cpp", 1, "void f()") << "bad " << true << CLog::LOG_VAL_THROW;
        } catch (const char* text) {
            thrown = text;
        }
    });
    QCOMPARE(thrown, QByteArray("bad  true "));
    QCOMPARE(out, line(padded("a.cpp", 20), padded("f", 26), dotted("bad  true "), "\x1b[0;31mTError", ""));
}

// Valuation 4 ends the process with 22 right after the status word.
void TestLogging::exitingValuation()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {CHILD_CLOG_EXIT});
    QVERIFY(child.waitForFinished(10000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 22);
    QCOMPARE(child.readAllStandardOutput(),
             line(padded("a.cpp", 20), padded("f", 26), dotted("bye"), "\x1b[0;31mEError", ""));
}

// ---- CEventLogger -------------------------------------------------------------

void TestLogging::levelFilter_data()
{
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("written");
    QTest::newRow("0 passes 0") << 0 << 0 << true;
    QTest::newRow("0 drops 3") << 0 << 3 << false;
    QTest::newRow("3 passes 3") << 3 << 3 << true;
    QTest::newRow("3 passes 1") << 3 << 1 << true;
    QTest::newRow("3 drops 4") << 3 << 4 << false;
    QTest::newRow("6 drops 7") << 6 << 7 << false;
    QTest::newRow("7 passes 7") << 7 << 7 << true;
}

void TestLogging::levelFilter()
{
    QFETCH(int, maximum);
    QFETCH(int, level);
    QFETCH(bool, written);
    const CEventLogger::ELogLevel before = CEventLogger::getMaximumLogLevel();
    CEventLogger::setMaximumLogLevel(static_cast<CEventLogger::ELogLevel>(maximum));
    QCOMPARE(int(CEventLogger::getMaximumLogLevel()), maximum);
    const QByteArray err = captured(2, [&] { CEventLogger::logMessage(level, "level test 100%s"); });
    CEventLogger::setMaximumLogLevel(before);
    // The text is passed through as data, never as a format.
    QCOMPARE(err, written ? syslogLine("level test 100%s") : QByteArray());
}

void TestLogging::disabledWritesNothing()
{
    CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_DEBUG);
    CEventLogger::setLoggingEnabled(false);
    QVERIFY(!CEventLogger::isLoggingEnabled());
    const QByteArray err = captured(2, [] {
        for (int level = 0; level <= 7; ++level)
            CEventLogger::logMessage(level, "muted");
    });
    CEventLogger::setLoggingEnabled(true);
    QVERIFY(CEventLogger::isLoggingEnabled());
    const QByteArray again = captured(2, [] { CEventLogger::logMessage(0, "back"); });
    CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_ERROR);
    QCOMPARE(err, QByteArray());
    QCOMPARE(again, syslogLine("back"));
}

void TestLogging::secondInitializeChangesNothing()
{
    CEventLogger::initialize("other", CEventLogger::LOG_LEVEL_DEBUG);
    QCOMPARE(CEventLogger::getMaximumLogLevel(), CEventLogger::LOG_LEVEL_ERROR);
    const QByteArray err = captured(2, [] {
        CEventLogger::logMessage(7, "dropped");
        CEventLogger::logMessage(3, "kept");
    });
    QCOMPARE(err, syslogLine("kept")); // the first identity stays too
}

// Qt's messages are logged bare (no "[E] " tag) at debug level.
void TestLogging::qtMessagesAtDebugLevel()
{
    const QtMessageHandler previous = qInstallMessageHandler(msgHandler);
    CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_DEBUG);
    const QByteArray shown = captured(2, [] {
        qWarning("x");
        qCritical("y %d", 2);
        qDebug("z");
    });
    CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_INFO);
    const QByteArray hidden = captured(2, [] { qWarning("x"); });
    CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_ERROR);
    qInstallMessageHandler(previous);
    QCOMPARE(shown, syslogLine("x") + syslogLine("y 2") + syslogLine("z"));
    QCOMPARE(hidden, QByteArray());
}

void TestLogging::qtFatalAborts()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {CHILD_QT_FATAL});
    QVERIFY(child.waitForFinished(10000));
    QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    const QByteArray err = child.readAllStandardError();
    QVERIFY2(err.contains("]: boom\n"), err.constData());
    QVERIFY2(!err.contains("[X]"), err.constData());
}

int main(int argc, char** argv)
{
    // The exiting and aborting cases run in a child: this binary again.
    if (argc == 2 && std::strcmp(argv[1], CHILD_CLOG_EXIT) == 0) {
        CLog("a.cpp", 1, "void f()") << "bye" << CLog::LOG_VAL_EXIT;
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], CHILD_QT_FATAL) == 0) {
        CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_DEBUG);
        qInstallMessageHandler(msgHandler);
        qFatal("boom");
    }
    QCoreApplication app(argc, argv);
    TestLogging test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_logging.moc"
