// SPDX-License-Identifier: BSD-2-Clause
// Both faces of the log: the console line builder byte for byte, and the syslog line as a stand-in daemon on
// a socket of the test's own receives it and as standard error shows it, Qt's messages included.
#include "CEventLogger.h"
#include "CLog.h"
#include "SyslogWriter.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <functional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

using Action = std::function<void()>;
Q_DECLARE_METATYPE(Action)

namespace {
using B = QByteArray;
const B HEADER = "talvox[" + B::number(getpid()) + "]: ";

// What `action` writes to the descriptor `fd` (1 or 2).
B captured(int fd, const Action& action)
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

// One console line: the file name in 20 columns, the function in 26, the text dotted to 74, the blue dashes.
B line(const B& file, const B& function, const B& text)
{
    const B dark = "\x1b[1;30m", white = "\x1b[0;37m";
    return dark + white + "<" + dark + file.leftJustified(20) + white + "> [" + dark + "?" + white + "] (" + dark
        + function.leftJustified(26) + white + "): " + white + "\x1b[1;37m" + text.leftJustified(74, '.') + white
        + "\x1b[0;34m------" + white + "\n";
}

// A daemon's socket at `path`: datagram or stream (listening).
int listenAt(const B& path, int type)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
    ::unlink(address.sun_path);
    const int fd = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || (type == SOCK_STREAM && ::listen(fd, 1) != 0))
        qFatal("cannot listen at %s", path.constData());
    return fd;
}

// What the daemon got, waiting up to a second for it; empty if nothing came.
B received(int fd)
{
    pollfd in { fd, POLLIN, 0 };
    if (::poll(&in, 1, 1000) != 1)
        return B();
    char buffer[8192];
    const ssize_t size = ::recv(fd, buffer, sizeof buffer, 0);
    return size > 0 ? B(buffer, int(size)) : B();
}
} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    const B m_socket = QFile::encodeName(m_dir.filePath("log"));
    const B m_mainSocket = QFile::encodeName(m_dir.filePath("main-log"));
    int m_mainDaemon = -1;

private slots:
    void initTestCase()
    {
        m_mainDaemon = listenAt(m_mainSocket, SOCK_DGRAM);
        CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_ERROR, m_mainSocket.constData());
    }

    // The service's levels are what -l filters on; the daemon gets them as syslog priorities of facility
    // local2 (144), the serial diagnostics of level 0 at debug, so that no reader takes them for emergencies.
    void levelsAsPriorities()
    {
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_NOTICE);
        B got;
        const B copy = captured(2, [&] {
            for (const int level : { 0, 3, 5, 6, 7 }) {
                CEventLogger::logMessage(level, "line");
                if (level <= 5)
                    got += received(m_mainDaemon).left(5);
            }
        });
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_ERROR);
        QCOMPARE(got, B("<151><147><149>"));
        QCOMPARE(copy, (HEADER + "line\n").repeated(3));
        QCOMPARE(received(m_mainDaemon), B());
    }

    // Under systemd standard error is a stream into the journal, and the syslog socket is the journal's too:
    // there the line goes to standard error alone, its priority in front, and only there (JOURNAL_STREAM names
    // the stream's device and inode).
    void journalStream_data()
    {
        QTest::addColumn<bool>("isJournal");
        QTest::addColumn<B>("text");
        QTest::addColumn<B>("onStandardError");
        QTest::addColumn<B>("toDaemon");
        QTest::newRow("standard error is the journal stream") << true << B("once") << B("<3>once\n") << B();
        QTest::newRow("a line feed is not doubled") << true << B("x\n") << B("<3>x\n") << B();
        QTest::newRow("the journal stream is another file") << false << B("once") << HEADER + "once\n"
                                                            << HEADER + "once";
    }

    void journalStream()
    {
        QFETCH(bool, isJournal);
        QFETCH(B, text);
        QFETCH(B, toDaemon);
        const int daemon = listenAt(m_socket, SOCK_DGRAM);
        QTemporaryFile other;
        other.open();
        const B copy = captured(2, [&] {
            struct stat status {
            };
            ::fstat(isJournal ? 2 : other.handle(), &status);
            qputenv("JOURNAL_STREAM",
                    B::number(qulonglong(status.st_dev)) + ':' + B::number(qulonglong(status.st_ino)));
            SyslogWriter writer("talvox", LOG_LOCAL2, m_socket.constData());
            qunsetenv("JOURNAL_STREAM");
            writer.write(LOG_LOCAL2 | LOG_ERR, text.constData());
        });
        QTEST(copy, "onStandardError");
        const B got = received(daemon);
        QCOMPARE(got.mid(got.indexOf(HEADER)), toDaemon);
        ::close(daemon);
    }

    // The console line of a lock that cannot be created (the whole line: test_startup, without colours).
    void consoleLine_data()
    {
        QTest::addColumn<Action>("log");
        QTest::addColumn<B>("expected");
        QTest::newRow("file of 21 keeps the last 20, function loses only its first word")
            << Action([] { CLog("x/abcdefghijklmnopqrstu", 1, "static int R::init(bool)") << "t"; })
            << line("bcdefghijklmnopqrstu", "int R::init", "t");
        QTest::newRow("cut to 74") << Action([] { CLog("a.cpp", 1, "f") << std::string(74, 'a') << "bcd"; })
                                   << line("a.cpp", "f", B(74, 'a'));
    }

    void consoleLine()
    {
        QFETCH(Action, log);
        QTEST(captured(1, log), "expected");
    }

    // The daemon gets "<PRI>Mmm dd hh:mm:ss talvox[pid]: text", standard error the header and the text, ended
    // by exactly one line feed.
    void syslogLine_data()
    {
        QTest::addColumn<int>("priority");
        QTest::addColumn<B>("text");
        QTest::addColumn<int>("pri");
        QTest::newRow("emergency, longer than the stack buffer") << 0 << B(3000, 'h') << 144;
        QTest::newRow("error, text as data, a line feed is not doubled") << 3 << B("at 100%s\n") << 147;
        QTest::newRow("own facility kept") << (LOG_USER | 4) << B("u") << 12;
    }

    void syslogLine()
    {
        QFETCH(int, priority);
        QFETCH(B, text);
        QFETCH(int, pri);
        const int daemon = listenAt(m_socket, SOCK_DGRAM);
        SyslogWriter writer("talvox", LOG_LOCAL2, m_socket.constData());
        const B copy = captured(2, [&] { writer.write(priority, text.constData()); });
        QCOMPARE(copy, HEADER + text + (text.endsWith('\n') ? "" : "\n"));
        const QRegularExpression head(QString("^<%1>[A-Z][a-z][a-z] [ 123]\\d \\d\\d:\\d\\d:\\d\\d ").arg(pri)
                                      + QRegularExpression::escape(QString::fromLatin1(HEADER)));
        QCOMPARE(QString::fromLatin1(received(daemon)).remove(head), QString::fromLatin1(text));
        ::close(daemon);
    }

    // While the daemon is gone standard error still gets the line; a restarted daemon gets the next one, here
    // on a stream socket, which reads lines ended by a NUL. Within the second after a failure no new
    // connection is tried.
    void daemonGoneAndBack()
    {
        int daemon = listenAt(m_socket, SOCK_DGRAM);
        SyslogWriter writer("talvox", LOG_LOCAL2, m_socket.constData());
        writer.write(0, "first");
        QVERIFY(received(daemon).endsWith(": first"));
        ::close(daemon);
        ::unlink(m_socket.constData());
        QCOMPARE(captured(2, [&] { writer.write(0, "nobody"); }), HEADER + "nobody\n");

        const int listening = listenAt(m_socket, SOCK_STREAM);
        pollfd connecting { listening, POLLIN, 0 };
        QTRY_VERIFY_WITH_TIMEOUT((writer.write(5, "again"), ::poll(&connecting, 1, 0) == 1), 3000);
        daemon = ::accept(listening, nullptr, nullptr);
        const B got = received(daemon);
        QVERIFY2(got.startsWith("<149>") && got.endsWith(HEADER + "again" + '\0'), got.constData());
        ::close(daemon);
        ::close(listening);
    }

    // Qt's messages go to the log at debug level, the text as data (the filter by level: test_text_screen).
    void qtMessagesAtDebug()
    {
        const QtMessageHandler previous = qInstallMessageHandler(msgHandler);
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_INFO);
        const B dropped = captured(2, [] { qCritical("x"); });
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_DEBUG);
        const B logged = captured(2, [] { qWarning("%s %d", "at 100%s", 2); });
        qInstallMessageHandler(previous);
        QCOMPARE(dropped + logged, HEADER + "at 100%s 2\n");
    }
};

QTEST_GUILESS_MAIN(TestLogging)
#include "test_logging.moc"
