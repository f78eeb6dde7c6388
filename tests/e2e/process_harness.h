#ifndef PROCESS_HARNESS_H
#define PROCESS_HARNESS_H

// A minimal launcher for process-level tests: the real talvox in a private
// mount namespace whose /tmp is a directory of the build tree (so the test
// sees the lock files), with a fresh /run/lock for the serial port's LCK..
// files, /bin/true standing in for date and hwclock, and a system bus address
// that leads nowhere (bus calls fail at once; the serial link still runs).
// With no syslog daemon, LOG_CONS copies every log line to /dev/console: in
// the namespace that is /dev/null, so tests neither flood the host's console
// nor wait for it.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>

class TalvoxProcess
{
public:
    // Why the service cannot be run in a namespace here; empty if it can.
    static QString unavailable()
    {
        if (geteuid() != 0)
            return "needs root for a private mount namespace (lock files must not go to the host's /tmp)";
        if (QStandardPaths::findExecutable("unshare").isEmpty())
            return "needs unshare (util-linux) for a private mount namespace";
        return {};
    }

    // A fresh run directory named after the test; its tmp/ becomes /tmp.
    explicit TalvoxProcess(const QString& name)
        : m_dir(QString(TALVOX_TEST_RUNS_DIR) + "/" + QCoreApplication::applicationName() + "-" + name)
    {
        QDir(m_dir).removeRecursively();
        QDir().mkpath(tmpDir());
    }

    ~TalvoxProcess()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    QString tmpDir() const { return m_dir + "/tmp"; }
    bool tmpHas(const QString& name) const { return QFile::exists(tmpDir() + "/" + name); }
    void makeTmpDir(const QString& name) const { QDir().mkpath(tmpDir() + "/" + name); }

    void start(const QStringList& args)
    {
        const char* script =
            "set -e; mount --bind \"$1\" /tmp; mount -t tmpfs tmpfs /run/lock;"
            " for f in /usr/bin/date /usr/sbin/hwclock; do"
            "   if [ -e \"$f\" ]; then mount --bind /bin/true \"$f\"; fi; done;"
            " if [ -e /dev/console ]; then mount --bind /dev/null /dev/console; fi;"
            " shift; exec \"$@\"";
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + m_dir + "/no-bus");
        m_process.setProcessEnvironment(env);
        // Files, not pipes: a chatty service never blocks on a full pipe.
        m_process.setStandardOutputFile(m_dir + "/stdout.log");
        m_process.setStandardErrorFile(m_dir + "/stderr.log");
        m_process.start("unshare", QStringList{"-m", "--propagation", "private", "--", "sh", "-c", script, "sh",
                                               tmpDir(), TALVOX_BINARY} + args);
        m_process.waitForStarted(5000);
    }

    // Waits for the end of the process; -1 if it is still running or crashed.
    int exitCode(int timeoutMs = 10000)
    {
        if (!m_process.waitForFinished(timeoutMs) || m_process.exitStatus() != QProcess::NormalExit)
            return -1;
        return m_process.exitCode();
    }
    bool running() const { return m_process.state() == QProcess::Running; }
    // Bytes the service has read so far with read(2) (its serial input and
    // little else): tells when it has taken a byte off the line.
    qint64 bytesRead() const
    {
        QFile io(QString("/proc/%1/io").arg(m_process.processId()));
        if (!io.open(QIODevice::ReadOnly))
            return -1;
        const QByteArray text = io.readAll();
        const int at = text.indexOf("rchar: ");
        return at < 0 ? -1 : text.mid(at + 7, text.indexOf('\n', at) - at - 7).toLongLong();
    }

    // How each of the service's log lines begins on standard error.
    QByteArray logPrefix() const { return "talvox[" + QByteArray::number(m_process.processId()) + "]: "; }

    QByteArray standardOutput() const { return contents("stdout.log"); }
    QByteArray standardError() const { return contents("stderr.log"); }

    // Waits until the service's standard error (its log copy) holds `text`.
    bool waitForLog(const QByteArray& text, int timeoutMs = 5000) const
    {
        return QTest::qWaitFor([&] { return standardError().contains(text); }, timeoutMs);
    }

private:
    QByteArray contents(const QString& name) const
    {
        QFile file(m_dir + "/" + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QString m_dir;
    QProcess m_process;
};

// A pty pair: the service opens the slave as "pts/N", the test is the PC on
// the master side.
class PtyPair
{
public:
    PtyPair()
    {
        char name[64] = {};
        if (openpty(&m_master, &m_slave, name, nullptr, nullptr) != 0)
            return;
        // Raw from the start, so that nothing is echoed or translated even
        // before the service has configured its side.
        termios raw;
        tcgetattr(m_slave, &raw);
        cfmakeraw(&raw);
        tcsetattr(m_slave, TCSANOW, &raw);
        fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
        // The service must not inherit the PC side, or hanging up would not
        // close the line.
        fcntl(m_master, F_SETFD, FD_CLOEXEC);
        fcntl(m_slave, F_SETFD, FD_CLOEXEC);
        m_device = QString::fromLatin1(name).mid(int(strlen("/dev/")));
    }
    ~PtyPair()
    {
        hangUp();
        if (m_slave >= 0)
            close(m_slave);
    }
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    bool isOpen() const { return m_master >= 0; }
    // The device name as given on the service's command line, e.g. "pts/3".
    QString device() const { return m_device; }

    // Writes everything, reading the answers meanwhile so that neither side
    // stalls on a full buffer; returns what was read.
    QByteArray write(const QByteArray& bytes, int timeoutMs = 10000)
    {
        QByteArray answers;
        int done = 0;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (done < bytes.size() && std::chrono::steady_clock::now() < deadline) {
            pollfd pfd{m_master, POLLOUT | POLLIN, 0};
            if (poll(&pfd, 1, 100) <= 0)
                continue;
            if (pfd.revents & POLLIN)
                answers += readAvailable();
            if (pfd.revents & POLLOUT) {
                const ssize_t n = ::write(m_master, bytes.constData() + done, size_t(bytes.size() - done));
                if (n > 0)
                    done += int(n);
            }
        }
        return answers;
    }

    // Reads until `count` bytes have come or the time is up.
    QByteArray read(int count, int timeoutMs = 5000)
    {
        QByteArray bytes;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (bytes.size() < count) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now()).count();
            pollfd pfd{m_master, POLLIN, 0};
            if (left <= 0 || poll(&pfd, 1, int(left)) <= 0)
                break;
            const QByteArray more = readAvailable(count - bytes.size());
            if (more.isEmpty())
                break;
            bytes += more;
        }
        return bytes;
    }

    // The PC side hangs up.
    void hangUp()
    {
        if (m_master >= 0)
            close(m_master);
        m_master = -1;
    }

private:
    QByteArray readAvailable(int limit = 4096)
    {
        char buffer[4096];
        const ssize_t n = ::read(m_master, buffer, size_t(qMin(limit, int(sizeof buffer))));
        return QByteArray(buffer, n > 0 ? int(n) : 0);
    }

    int m_master = -1;
    int m_slave = -1;
    QString m_device;
};

#define TALVOX_SKIP_UNLESS_AVAILABLE()                                  \
    do {                                                                \
        const QString why = TalvoxProcess::unavailable();               \
        if (!why.isEmpty())                                             \
            QSKIP(qPrintable("process-level test skipped: " + why));    \
    } while (false)

#endif
