// The console line builder byte for byte, and the event logger's filter as
// seen on standard error (syslog copies every line there).
#include "CEventLogger.h"
#include "CLog.h"

#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// The forked child of the exit test ends through exit() with the parent's
// threads and test logger still around: LeakSanitizer (in the sanitizer
// build) would count those as leaks and change the exit code. It asks this
// hook at exit; only that child says no.
static bool s_bExitingChild = false;
extern "C" int __lsan_is_turned_off() { return s_bExitingChild; }

using Streamer = std::function<void(CLog&)>;
Q_DECLARE_METATYPE(Streamer)
using Action = std::function<void()>;
Q_DECLARE_METATYPE(Action)

namespace {
using B = QByteArray;

// What `action` writes to the descriptor `fd` (1 or 2).
QByteArray captured(int fd, const Action& action)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot open a temporary file";
    std::fflush(nullptr);
    const int saved = dup(fd);
    dup2(file.handle(), fd);
    action();
    std::fflush(nullptr);
    dup2(saved, fd);
    close(saved);
    file.seek(0);
    return file.readAll();
}

// One console line, colours included: the file name in 20 columns, the
// function in 26, the text dotted to 74, then the status word.
QByteArray line(const QByteArray& file, const QByteArray& function, const QByteArray& text,
                const QByteArray& status = "\x1b[0;34m------", const QByteArray& end = "\n")
{
    const QByteArray dark = "\x1b[1;30m", white = "\x1b[0;37m";
    return dark + white + "<" + dark + file.leftJustified(20) + white + "> [" + dark + "?" + white + "] (" + dark
         + function.leftJustified(26) + white + "): " + white + "\x1b[1;37m" + text.leftJustified(74, '.') + white
         + status + white + end;
}

QByteArray syslogLine(const char* text)
{
    return "talvox[" + QByteArray::number(getpid()) + "]: " + text + "\n";
}
}

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_ERROR); }

    // Where a line is made, what is streamed into it, the line on the console
    // (and what it threw).
    void consoleLine_data()
    {
        QTest::addColumn<B>("path");
        QTest::addColumn<B>("function");
        QTest::addColumn<Streamer>("stream");
        QTest::addColumn<B>("expected");
        const auto row = [](const char* name, const char* path, const char* function, Streamer stream, B expected) {
            QTest::newRow(name) << B(path) << B(function) << stream << expected;
        };
        const auto say = [](const char* text) { return Streamer([=](CLog& l) { l << text; }); };
        const auto valued = [](int v) { return Streamer([=](CLog& l) { l << "x" << CLog::ELogValuation(v) << "y"; }); };

        row("lock failure", "/work/source/talvox.cpp", "void lock_start()",
            [](CLog& l) { l << "Filename: " << std::string("/tmp/x"); },
            "\x1b[1;30m\x1b[0;37m<\x1b[1;30mtalvox.cpp          \x1b[0;37m> [\x1b[1;30m?\x1b[0;37m] (\x1b[1;30m"
            "lock_start                \x1b[0;37m): \x1b[0;37m\x1b[1;37mFilename: /tmp/x"
            "..........................................................\x1b[0;37m\x1b[0;34m------\x1b[0;37m\n");
        row("base name, first word dropped", "/a/CLog.cpp", "void f(int a, int b)", say("t"), line("CLog.cpp", "f", "t"));
        row("file of 21 keeps the last 20", "x/abcdefghijklmnopqrstu", "main", say("t"),
            line("bcdefghijklmnopqrstu", "main", "t"));
        row("only the first word goes", "a.cpp", "static int R::init(bool)", say("t"), line("a.cpp", "int R::init", "t"));
        row("qualifier after the arguments", "a.cpp", "int Foo::bar() const", say("t"), line("a.cpp", "Foo::bar", "t"));
        row("function of 27 keeps the last 26", "a.cpp", "void abcdefghijklmnopqrstuvwxyz1(int)", say("t"),
            line("a.cpp", "bcdefghijklmnopqrstuvwxyz1", "t"));
        row("numbers are not formatted", "a.cpp", "void f()", [](CLog& l) { l << "n=" << 5 << 2.5; },
            line("a.cpp", "f", "n=??????"));
        row("bools with spaces", "a.cpp", "void f()", [](CLog& l) { l << "x" << true << false << "y"; },
            line("a.cpp", "f", "x true  false y"));
        row("cut to 74", "a.cpp", "void f()", [](CLog& l) { l << std::string(74, 'a') << "bcd"; },
            line("a.cpp", "f", B(74, 'a')));
        row("1 default", "a.cpp", "void f()", valued(1), line("a.cpp", "f", "xy"));
        row("2 warn", "a.cpp", "void f()", valued(2), line("a.cpp", "f", "xy", "\x1b[0;31m  Warn"));
        row("7 passed", "a.cpp", "void f()", valued(7), line("a.cpp", "f", "xy", "\x1b[0;32mPassed"));
        row("5 throws the text after the status word", "a.cpp", "void f()", valued(5),
            line("a.cpp", "f", "xy", "\x1b[0;31mTError", "") + "\nthrown: xy");
    }

    void consoleLine()
    {
        QFETCH(B, path);
        QFETCH(B, function);
        QFETCH(Streamer, stream);
        QByteArray thrown;
        const QByteArray out = captured(1, [&] {
            try {
                CLog log(path.constData(), 12, function.constData());
                stream(log);
            } catch (const char* text) {
                thrown = "\nthrown: " + QByteArray(text);
            }
        });
        QTEST(out + thrown, "expected");
    }

    // Valuation 4 ends the process with 22 right after the status word. A
    // forked copy of this test prints the line into a pipe and exits.
    void exitingValuation()
    {
        int out[2];
        QVERIFY(pipe(out) == 0);
        std::fflush(stdout);
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            s_bExitingChild = true;
            dup2(out[1], STDOUT_FILENO);
            CLog("a.cpp", 1, "void f()") << "bye" << CLog::LOG_VAL_EXIT;
            _exit(0);
        }
        close(out[1]);
        QByteArray printed;
        char buffer[256];
        for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) > 0;)
            printed.append(buffer, int(n));
        close(out[0]);
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 22);
        QCOMPARE(printed, line("a.cpp", "f", "bye", "\x1b[0;31mEError", ""));
    }

    // What reaches standard error under a maximum level: the text passed as
    // data, never as a format; Qt's messages bare, at debug level.
    void levelFilter_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<Action>("log");
        QTest::addColumn<QByteArray>("written");
        const auto at = [](int level) { return Action([=] { CEventLogger::logMessage(level, "at 100%s"); }); };
        QTest::newRow("3 passes 3") << 3 << at(3) << syslogLine("at 100%s");
        QTest::newRow("3 drops 4") << 3 << at(4) << QByteArray();
        QTest::newRow("7 passes 7") << 7 << at(7) << syslogLine("at 100%s");
        QTest::newRow("Qt messages at 7") << 7 << Action([] { qWarning("x"); qCritical("y %d", 2); })
                                          << syslogLine("x") + syslogLine("y 2");
        QTest::newRow("Qt messages dropped at 6") << 6 << Action([] { qCritical("x"); }) << QByteArray();
    }

    void levelFilter()
    {
        QFETCH(int, maximum);
        QFETCH(Action, log);
        CEventLogger::setMaximumLogLevel(static_cast<CEventLogger::ELogLevel>(maximum));
        const QtMessageHandler previous = qInstallMessageHandler(msgHandler);
        const QByteArray err = captured(2, log);
        qInstallMessageHandler(previous);
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_ERROR);
        QTEST(err, "written");
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    TestLogging test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_logging.moc"
