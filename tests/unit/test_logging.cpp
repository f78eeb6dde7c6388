// The console line builder byte for byte, and the event logger's filter as
// seen on standard error (syslog copies every line there).
#include "CEventLogger.h"
#include "CLog.h"

#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// The forked child of the exit test ends through exit() with the parent's threads and test logger still
// around: LeakSanitizer (sanitizer build) would count those as leaks and change the exit code. Only that child
// turns it off.
static bool s_bExitingChild = false;
extern "C" int __lsan_is_turned_off()
{
    return s_bExitingChild;
}

using Streamer = std::function<void(CLog&)>;
using Action = std::function<void()>;
Q_DECLARE_METATYPE(Action)

namespace {
using B = QByteArray;

// What `action` writes to the descriptor `fd` (1 or 2), its forked children included.
QByteArray captured(int fd, const Action& action)
{
    QTemporaryFile file;
    file.open();
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

// One console line: the file name in 20 columns, the function in 26, the text dotted to 74, the status word.
B line(const B& file, const B& function, const B& text, const B& status = "\x1b[0;34m------", const B& end = "\n")
{
    const B dark = "\x1b[1;30m", white = "\x1b[0;37m";
    return dark + white + "<" + dark + file.leftJustified(20) + white + "> [" + dark + "?" + white + "] (" + dark
        + function.leftJustified(26) + white + "): " + white + "\x1b[1;37m" + text.leftJustified(74, '.') + white
        + status + white + end;
}

B syslogLine(const char* text)
{
    return "talvox[" + B::number(getpid()) + "]: " + text + "\n";
}
} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_ERROR); }

    void consoleLine_data()
    {
        QTest::addColumn<Action>("log");
        QTest::addColumn<B>("expected");
        const auto made = [](const char* path, const char* function, Streamer stream) {
            return Action([=] {
                CLog log(path, 12, function);
                stream(log);
            });
        };
        const auto inF = [&](Streamer stream) { return made("a.cpp", "f", stream); };
        const auto valued = [&](int v) { return inF([=](CLog& l) { l << "x" << CLog::ELogValuation(v) << "y"; }); };
        const Streamer t = [](CLog& l) { l << "t"; };

        QTest::newRow("path, return type and std::string") << made(
            "/work/source/talvox.cpp", "void lock_start()", [](CLog& l) { l << "Filename: " << std::string("/tmp/x"); })
                                                           << line("talvox.cpp", "lock_start", "Filename: /tmp/x");
        QTest::newRow("file of 21 keeps the last 20")
            << made("x/abcdefghijklmnopqrstu", "main", t) << line("bcdefghijklmnopqrstu", "main", "t");
        QTest::newRow("only the first word goes")
            << made("a.cpp", "static int R::init(bool)", t) << line("a.cpp", "int R::init", "t");
        QTest::newRow("numbers are not formatted")
            << inF([](CLog& l) { l << "n=" << 5 << 2.5; }) << line("a.cpp", "f", "n=??????");
        QTest::newRow("bools with spaces")
            << inF([](CLog& l) { l << "x" << true << false << "y"; }) << line("a.cpp", "f", "x true  false y");
        QTest::newRow("cut to 74") << inF([](CLog& l) { l << std::string(74, 'a') << "bcd"; })
                                   << line("a.cpp", "f", B(74, 'a'));
        QTest::newRow("2 warn") << valued(2) << line("a.cpp", "f", "xy", "\x1b[0;31m  Warn");
        QTest::newRow("7 passed") << valued(7) << line("a.cpp", "f", "xy", "\x1b[0;32mPassed");
        // A forked copy logs, then the parent prints how it ended.
        QTest::newRow("4 ends the process with 22 right after the status word") << Action([] {
            const pid_t child = fork();
            if (child == 0) {
                s_bExitingChild = true;
                CLog("a.cpp", 1, "void f()") << "bye" << CLog::LOG_VAL_EXIT;
                _exit(0);
            }
            int status = -1;
            waitpid(child, &status, 0);
            std::printf("\nexit %d", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
        }) << line("a.cpp", "f", "bye", "\x1b[0;31mEError", "") + "\nexit 22";
        QTest::newRow("5 throws the text after the status word")
            << valued(5) << line("a.cpp", "f", "xy", "\x1b[0;31mTError", "") + "\nthrown: xy";
    }

    void consoleLine()
    {
        QFETCH(Action, log);
        B thrown;
        const B out = captured(1, [&] {
            try {
                log();
            } catch (const char* text) {
                thrown = "\nthrown: " + B(text);
            }
        });
        QTEST(out + thrown, "expected");
    }

    // Standard error under a maximum level: the text passed as data, never as a format; Qt's messages at debug.
    void levelFilter_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<Action>("log");
        QTest::addColumn<B>("written");
        const auto at = [](int level) { return Action([=] { CEventLogger::logMessage(level, "at 100%s"); }); };
        QTest::newRow("3 passes 3") << 3 << at(3) << syslogLine("at 100%s");
        QTest::newRow("3 drops 4") << 3 << at(4) << B();
        QTest::newRow("Qt messages at 7") << 7 << Action([] {
            qWarning("x");
            qCritical("y %d", 2);
        }) << syslogLine("x") + syslogLine("y 2");
        QTest::newRow("Qt messages dropped at 6") << 6 << Action([] { qCritical("x"); }) << B();
    }

    void levelFilter()
    {
        QFETCH(int, maximum);
        QFETCH(Action, log);
        CEventLogger::setMaximumLogLevel(static_cast<CEventLogger::ELogLevel>(maximum));
        const QtMessageHandler previous = qInstallMessageHandler(msgHandler);
        const B err = captured(2, log);
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
