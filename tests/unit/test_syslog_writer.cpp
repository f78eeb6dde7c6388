// The log line as the syslog daemon receives it and as standard error shows
// it, against a stand-in daemon on a socket of the test's own.
#include "SyslogWriter.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {
using B = QByteArray;

// A daemon's socket at `path`: datagram or stream (listening).
int listenAt(const QString& path, int type)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    ::unlink(address.sun_path);
    const int fd = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || (type == SOCK_STREAM && ::listen(fd, 1) != 0))
        qFatal("cannot listen at %s", qPrintable(path));
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

// What `write` puts on standard error.
template <typename Write> B onStandardError(Write write)
{
    QTemporaryFile file;
    file.open();
    std::fflush(stderr);
    const int saved = ::dup(2);
    ::dup2(file.handle(), 2);
    write();
    ::dup2(saved, 2);
    ::close(saved);
    file.seek(0);
    return file.readAll();
}

const B PID = B::number(::getpid());
// "<PRI>Mmm dd hh:mm:ss talvox[pid]: "
QRegularExpression daemonHead(int pri)
{
    return QRegularExpression(QString("^<%1>(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\\d "
                                      "\\d\\d:\\d\\d:\\d\\d talvox\\[%2\\]: ")
                                  .arg(pri)
                                  .arg(QString::fromLatin1(PID)));
}
} // namespace

class TestSyslogWriter : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString socketPath() const { return m_dir.filePath("log"); }

private slots:
    void line_data()
    {
        QTest::addColumn<int>("priority");
        QTest::addColumn<B>("text");
        QTest::addColumn<int>("pri");
        QTest::addColumn<B>("copy");
        QTest::newRow("emergency") << 0 << B("stop") << 144 << "talvox[" + PID + "]: stop\n";
        QTest::newRow("error, text as data") << 3 << B("at 100%s") << 147 << "talvox[" + PID + "]: at 100%s\n";
        QTest::newRow("own facility kept") << (LOG_USER | 4) << B("u") << 12 << "talvox[" + PID + "]: u\n";
        QTest::newRow("a line feed is not doubled") << 6 << B("two\n") << 150 << "talvox[" + PID + "]: two\n";
        QTest::newRow("empty") << 6 << B() << 150 << "talvox[" + PID + "]: \n";
        QTest::newRow("longer than the stack buffer")
            << 7 << B(3000, 'h') << 151 << "talvox[" + PID + "]: " + B(3000, 'h') + "\n";
    }

    void line()
    {
        QFETCH(int, priority);
        QFETCH(B, text);
        QFETCH(int, pri);
        const int daemon = listenAt(socketPath(), SOCK_DGRAM);
        SyslogWriter writer("talvox", LOG_LOCAL2, QFile::encodeName(socketPath()).constData());
        const B copy = onStandardError([&] { writer.write(priority, text.constData()); });
        QTEST(copy, "copy");
        const B got = received(daemon);
        const QRegularExpressionMatch head = daemonHead(pri).match(QString::fromLatin1(got));
        QVERIFY2(head.hasMatch(), got.left(80).constData());
        QCOMPARE(got.mid(head.capturedLength()), text);
        ::close(daemon);
    }

    // A restarted daemon gets the next line; while there is none, standard error still does.
    void daemonGoneAndBack()
    {
        int daemon = listenAt(socketPath(), SOCK_DGRAM);
        SyslogWriter writer("talvox", LOG_LOCAL2, QFile::encodeName(socketPath()).constData());
        writer.write(0, "first");
        QVERIFY(received(daemon).endsWith(": first"));
        ::close(daemon);
        ::unlink(QFile::encodeName(socketPath()).constData());
        QCOMPARE(onStandardError([&] { writer.write(0, "nobody"); }), "talvox[" + PID + "]: nobody\n");

        daemon = listenAt(socketPath(), SOCK_DGRAM);
        // Within the second after the failure no new connection is tried.
        QTRY_VERIFY_WITH_TIMEOUT((writer.write(0, "again"), received(daemon).endsWith(": again")), 3000);
        ::close(daemon);
    }

    // A daemon on a stream socket reads lines ended by a NUL.
    void streamDaemon()
    {
        const int listening = listenAt(socketPath(), SOCK_STREAM);
        SyslogWriter writer("talvox", LOG_LOCAL2, QFile::encodeName(socketPath()).constData());
        const int daemon = ::accept(listening, nullptr, nullptr);
        QVERIFY(daemon >= 0);
        writer.write(5, "start");
        const B got = received(daemon);
        QVERIFY2(got.startsWith("<149>") && got.endsWith(B("]: start", 8) + '\0'), got.constData());
        ::close(daemon);
        ::close(listening);
    }
};

QTEST_GUILESS_MAIN(TestSyslogWriter)
#include "test_syslog_writer.moc"
