// SPDX-License-Identifier: BSD-2-Clause
#include "TestRig.h"

#include "QtCompat.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {

const QString SIMULATOR = QStringLiteral("local.talvox.simulator");
// The last line of talvox's start-up before it enters its event loop.
const QString READY_LINE = QStringLiteral("end initialize RS232Handler, result: OK");
const int START_TIMEOUT_MS = 10000;
const int STOP_TIMEOUT_MS = 3000;

QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString tail(const QString& text)
{
    return text.right(1500);
}

// Waits until `ready`, or until the process has ended without it.
bool cameUp(const QProcess& process, const std::function<bool()>& ready)
{
    return QTest::qWaitFor([&] { return ready() || process.state() == QProcess::NotRunning; }, START_TIMEOUT_MS)
        && ready();
}

bool signalled(const std::unique_ptr<QProcess>& process, int signal)
{
    return process && process->state() != QProcess::NotRunning && ::kill(pid_t(process->processId()), signal) == 0;
}

void stop(std::unique_ptr<QProcess>& process)
{
    for (int signal : { SIGTERM, SIGKILL }) {
        if (signalled(process, signal))
            process->waitForFinished(STOP_TIMEOUT_MS);
    }
    process.reset();
}

} // namespace

TestRig::~TestRig()
{
    // A hung-up line ends the service in order (exit 7, lock file removed); a signal is only the fallback.
    hangUp();
    if (m_service)
        m_service->waitForFinished(STOP_TIMEOUT_MS);
    stop(m_service);
    stop(m_simulator);
    QDBusConnection::disconnectFromBus(m_busName);
}

bool TestRig::fail(const QString& error)
{
    m_error = error;
    qWarning("TestRig: %s", qPrintable(error));
    return false;
}

bool TestRig::start(const RigOptions& options)
{
    if (!checkSupported() || !startBus())
        return false;

    if (!options.lateSimulator && !startSimulator())
        return false;
    if ((!options.locale.isEmpty() && !simCall("set_locale", { options.locale })) || !openLine())
        return false;

    // run-isolated execs into unshare, sh and then talvox: one process id.
    const QStringList command = QStringList { "sh", TALVOX_SIM_ENV_DIR "/run-isolated", m_dir } + serviceCommand()
        + QStringList { "-d", m_device, "-l", "7" };
    m_service = spawn("talvox.log", command + options.extraArgs, options.environment);
    return cameUp(*m_service, [&] { return serviceLog().contains(READY_LINE); })
        || fail(QString("talvox did not get ready (exit code %1): %2").arg(waitForExit(0)).arg(tail(serviceLog())));
}

void TestRig::signalService(int signal)
{
    signalled(m_service, signal);
}

bool TestRig::startSimulator()
{
    m_simulator = spawn("simulator.log", { TALVOX_SIM_BIN });
    QDBusConnectionInterface* names = QDBusConnection(m_busName).interface();
    return cameUp(*m_simulator, [&] { return names->isServiceRegistered(SIMULATOR).value(); })
        || fail("talvox-sim did not come up: " + tail(readText(m_dir + "/simulator.log")));
}

bool TestRig::killSimulator()
{
    // Its names leave the bus with its connection.
    QDBusConnectionInterface* names = QDBusConnection(m_busName).interface();
    return (signalSimulator(SIGKILL) && m_simulator->waitForFinished(STOP_TIMEOUT_MS)
            && QTest::qWaitFor([&] { return !names->isServiceRegistered(SIMULATOR).value(); }, STOP_TIMEOUT_MS))
        || fail("the simulator's names stayed on the bus");
}

bool TestRig::signalSimulator(int signal)
{
    return signalled(m_simulator, signal) || fail(QString("cannot send signal %1 to the simulator").arg(signal));
}

bool TestRig::killBus()
{
    return m_bus.kill() || fail("the bus daemon did not end");
}

bool TestRig::checkSupported()
{
    // Asked once per test program: the answer does not change while it runs.
    static const QString reason = [] {
        if (geteuid() != 0)
            return QStringLiteral("needs root: talvox runs in a private mount namespace (unshare -m)");
        const QString build = QFileInfo(QFileInfo(TALVOX_RIG_RUNS_DIR).absolutePath()).canonicalFilePath();
        if (build == "/tmp" || build.startsWith("/tmp/"))
            return QStringLiteral("the build tree lies under /tmp, which talvox's namespace replaces");
        if (QProcess::execute("unshare", { "--mount", "--propagation", "private", "true" }) != 0)
            return QStringLiteral("unshare --mount is not permitted on this machine");
        return QString();
    }();
    m_unsupported = !reason.isEmpty();
    m_error = reason;
    return !m_unsupported;
}

bool TestRig::startBus()
{
    // One directory per rig of this test program, emptied first and kept for the logs.
    static int rigs = 0;
    m_dir = QString(TALVOX_RIG_RUNS_DIR "/%1-%2").arg(QCoreApplication::applicationName()).arg(++rigs);
    QDir(m_dir).removeRecursively();
    m_busName = QString("talvox-rig-%1-%2").arg(getpid()).arg(rigs);
    const QString error = QDir().mkpath(m_dir) ? m_bus.start(m_dir, m_busName) : "cannot create " + m_dir;
    if (!error.isEmpty())
        return fail(error);
    m_busAddress = m_bus.address();
    return QDBusConnection::connectToBus(m_busAddress, m_busName).isConnected()
        || fail("cannot connect to the rig's bus " + m_busAddress);
}

std::unique_ptr<QProcess> TestRig::spawn(const QString& log, const QStringList& command, const QStringList& variables)
{
    auto process = std::make_unique<ChildProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_busAddress);
    for (const QString& variable : variables)
        environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(m_dir);
    process->setProcessChannelMode(QProcess::MergedChannels);
    // Appended: a restarted simulator logs after the one before.
    process->setStandardOutputFile(m_dir + "/" + log, QIODevice::Append);
    process->start(command.first(), command.mid(1));
    return process;
}

bool TestRig::openLine()
{
    termios raw {};
    cfmakeraw(&raw);
    char name[128] = {};
    if (openpty(&m_master, &m_slave, name, &raw, nullptr) != 0)
        return fail("openpty failed: " + qt_error_string(errno));
    // Neither end leaks into the children. The slave stays open here so that
    // bytes written before the service opens it are kept.
    fcntl(m_master, F_SETFD, FD_CLOEXEC);
    fcntl(m_slave, F_SETFD, FD_CLOEXEC);
    fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
    m_device = QString::fromLocal8Bit(name).remove("/dev/"); // "pts/N", as after "-d"
    return true;
}

void TestRig::hangUp()
{
    for (int fd : { m_master, m_slave })
        ::close(fd); // once closed, -1: EBADF, harmless
    m_master = m_slave = -1;
}

QByteArray TestRig::frame(quint8 command, quint8 group, const QByteArray& data)
{
    // The header announces length lo + length hi: up to 510 data bytes.
    const int size = data.size();
    const char header[] = { 0x02, char(command), char(group), char(qMin(size, 255)), char(qMax(size - 255, 0)) };
    return QByteArray(header, 5).append(data).append(char(0x03));
}

QStringList TestRig::serviceCommand()
{
    const QString command = qEnvironmentVariable("TALVOX_TEST_SERVICE");
    return command.isEmpty() ? QStringList { TALVOX_BIN } : command.split(' ', Qt::SkipEmptyParts);
}

void TestRig::write(const QByteArray& bytes)
{
    for (qsizetype done = 0; done < bytes.size() && m_master >= 0;) {
        const ssize_t written = ::write(m_master, bytes.constData() + done, size_t(bytes.size() - done));
        pollfd out { m_master, POLLOUT, 0 };
        if (written > 0)
            done += written;
        else if (errno != EINTR && (errno != EAGAIN || poll(&out, 1, 1000) <= 0))
            return;
    }
}

QByteArray TestRig::read(int n, int timeoutMs)
{
    QByteArray bytes;
    QElapsedTimer timer;
    timer.start();
    while (m_master >= 0 && (n < 0 || bytes.size() < n)) {
        pollfd in { m_master, POLLIN, 0 };
        const int ready = poll(&in, 1, n < 0 ? 0 : qMax(0, timeoutMs - int(timer.elapsed())));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || !(in.revents & POLLIN))
            break;
        char buffer[512];
        const size_t wanted = n < 0 ? sizeof buffer : qMin(sizeof buffer, size_t(n - bytes.size()));
        const ssize_t got = ::read(m_master, buffer, wanted);
        if (got > 0)
            bytes.append(buffer, int(got));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            break;
    }
    return bytes;
}

namespace {
// Where the ACK and reply to a probe query `command` start, if they end `bytes`; -1 otherwise.
int probeAnswerAt(const QByteArray& bytes, quint8 command)
{
    const char marker[] = { 0x06, 0x02, char(command), 0x01 };
    // A reply carries at most 510 data bytes: look no further back than that.
    for (int at = bytes.size() - 7; at >= 0 && at >= bytes.size() - 517; --at) {
        if (memcmp(bytes.constData() + at, marker, sizeof marker) == 0
            && at + 7 + quint8(bytes.at(at + 4)) + quint8(bytes.at(at + 5)) == bytes.size() && bytes.endsWith(0x03))
            return at;
    }
    return -1;
}
} // namespace

bool TestRig::sync(QByteArray* before, int timeoutMs)
{
    // The software id first. A refused byte costs the rest of the read it came in, so after noise
    // that probe may be lost: then the software version follows it. Whether the first was lost or
    // only slow, once the second is answered nothing of either is still on its way.
    const quint8 probes[] = { 0xFF, 0xFE };
    const int firstWaitMs = 1000;
    QByteArray bytes;
    QElapsedTimer timer;
    timer.start();
    for (int probe = 0; probe < 2; ++probe) {
        write(frame(probes[probe], 1));
        const int deadline = probe == 0 ? qMin(firstWaitMs, timeoutMs) : timeoutMs;
        for (int at = -1; at < 0;) {
            const QByteArray got = read(1, deadline - int(timer.elapsed()));
            if (got.isEmpty())
                break;
            bytes += got + readAvailable();
            if ((at = probeAnswerAt(bytes, probes[probe])) < 0)
                continue;
            bytes.truncate(at);
            // The first probe, answered late, just ahead of the second.
            if (probe == 1 && (at = probeAnswerAt(bytes, probes[0])) >= 0)
                bytes.truncate(at);
            if (before)
                *before = bytes;
            return true;
        }
    }
    return fail("no answer to the probe queries, got \"" + bytes.right(64).toHex() + "\"");
}

bool TestRig::send(quint8 command, quint8 group, const QByteArray& data)
{
    write(frame(command, group, data));
    const QByteArray answer = read(1);
    return answer == QByteArray(1, char(0x06)) || fail("expected ACK 06, got \"" + answer.toHex() + "\"");
}

std::optional<RigReply> TestRig::readReply(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    const QByteArray header = read(5, timeoutMs);
    const int size = header.size() < 5 ? -1 : quint8(header.at(3)) + quint8(header.at(4));
    const int left = qMax(0, timeoutMs - int(timer.elapsed()));
    const QByteArray rest = size < 0 || header.at(0) != 0x02 ? QByteArray() : read(size + 1, left);
    if (rest.size() != size + 1 || !rest.endsWith(char(0x03))) {
        fail("expected a frame, got \"" + (header + rest + readAvailable()).toHex() + "\"");
        return std::nullopt;
    }
    return RigReply { quint8(header.at(1)), quint8(header.at(2)), rest.left(size) };
}

QByteArray TestRig::query(quint8 command, quint8 group, const QByteArray& data, int timeoutMs)
{
    const std::optional<RigReply> reply = send(command, group, data) ? readReply(timeoutMs) : std::nullopt;
    if (reply && reply->command == command && reply->group == group)
        return reply->data;
    if (reply)
        fail(
            QString("expected a reply %1/%2, got %3/%4").arg(command).arg(group).arg(reply->command).arg(reply->group));
    return {};
}

std::optional<QVariantList> TestRig::simCall(const QString& method, const QVariantList& args)
{
    QDBusMessage call = QDBusMessage::createMethodCall(SIMULATOR, "/control", "local.talvox.simulator.control", method);
    call.setArguments(args);
    const QDBusMessage reply = QDBusConnection(m_busName).call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return reply.arguments();
    fail("simulator " + method + ": " + reply.errorMessage());
    return std::nullopt;
}

bool TestRig::waitForCall(const QString& prefix, int timeoutMs)
{
    const auto arrived = [&] { return ("\n" + calls().join('\n')).contains("\n" + prefix); };
    return QTest::qWaitFor(arrived, timeoutMs) || fail("no call \"" + prefix + "\" in: " + calls().join("; "));
}

QList<int> TestRig::textsOn(int line)
{
    return qdbus_cast<QList<int>>(sim("texts_on_line", { line }).value(0));
}

void TestRig::setValue(const QString& name, const QVariant& value)
{
    sim("set_value", { name, QVariant::fromValue(QDBusVariant(value)) });
}

QString TestRig::serviceLog() const
{
    return readText(m_dir + "/talvox.log");
}

bool TestRig::waitForLog(const QString& text, int timeoutMs)
{
    return QTest::qWaitFor([&] { return serviceLog().contains(text); }, timeoutMs)
        || fail("\"" + text + "\" not in the log: " + tail(serviceLog()));
}

qint64 TestRig::serviceProcValue(const QString& file, const QString& key) const
{
    for (const QString& line : readText(QString("/proc/%1/%2").arg(servicePid()).arg(file)).split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).simplified().section(' ', 0, 0).toLongLong();
    }
    return -1;
}

int TestRig::waitForExit(int timeoutMs)
{
    if (!m_service || (m_service->state() != QProcess::NotRunning && !m_service->waitForFinished(timeoutMs)))
        return -1;
    return m_service->exitStatus() == QProcess::NormalExit ? m_service->exitCode() : 256;
}
