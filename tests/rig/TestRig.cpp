#include "TestRig.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
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

QString tail(const QString& text) { return text.right(1500); }

// A child that dies with the test program even when that crashes or is killed
// by a time-out. The death signal survives exec, so it reaches talvox behind
// run-isolated too.
class ChildProcess : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGTERM); }
};

void stop(std::unique_ptr<QProcess>& process)
{
    if (process && process->state() != QProcess::NotRunning) {
        ::kill(pid_t(process->processId()), SIGTERM);
        if (!process->waitForFinished(STOP_TIMEOUT_MS)) {
            ::kill(pid_t(process->processId()), SIGKILL);
            process->waitForFinished(STOP_TIMEOUT_MS);
        }
    }
    process.reset();
}

} // namespace

TestRig::~TestRig()
{
    // A hung-up line ends the service in an orderly way (exit 7), which
    // removes its lock file; a signal is only the fallback.
    hangUp();
    if (m_service)
        m_service->waitForFinished(STOP_TIMEOUT_MS);
    stop(m_service);
    stop(m_simulator);
    if (m_bus)
        QDBusConnection::disconnectFromBus(m_busName);
    stop(m_bus);
}

bool TestRig::fail(const QString& error)
{
    m_error = error;
    qWarning("TestRig: %s", qPrintable(error));
    return false;
}

bool TestRig::start(const RigOptions& options)
{
    if (m_bus)
        return fail("start() called twice");
    if (!checkSupported() || !startBus())
        return false;

    m_simulator = spawn("simulator.log", { TALVOX_SIM_BIN });
    QDBusConnectionInterface* names = QDBusConnection(m_busName).interface();
    const auto up = [&] { return names->isServiceRegistered(SIMULATOR); };
    if (!QTest::qWaitFor([&] { return up() || m_simulator->state() == QProcess::NotRunning; }, START_TIMEOUT_MS) || !up())
        return fail("talvox-sim did not come up: " + tail(readText(m_dir + "/simulator.log")));

    const QVariantList size = { options.screenWidth > 0 ? options.screenWidth : 40,
                                options.screenCount > 0 ? options.screenCount : 16 };
    if ((!options.locale.isEmpty() && !simCall("set_locale", { options.locale }))
        || ((options.screenWidth > 0 || options.screenCount > 0) && !simCall("set_screen_size", size)) || !openLine())
        return false;

    // run-isolated execs into unshare, sh and then talvox: one process id.
    m_service = spawn("talvox.log", QStringList { "sh", TALVOX_SIM_ENV_DIR "/run-isolated", m_dir, TALVOX_BIN, "-d", m_device,
                                                  "-l", "7" } + options.extraArgs);
    if (!m_service->waitForStarted(START_TIMEOUT_MS))
        return fail("cannot start talvox: " + m_service->errorString());
    const auto ready = [&] { return serviceLog().contains(READY_LINE); };
    return (QTest::qWaitFor([&] { return ready() || m_service->state() == QProcess::NotRunning; }, START_TIMEOUT_MS) && ready())
        || fail(QStringLiteral("talvox did not get ready (exit code %1): %2").arg(waitForExit(0)).arg(tail(serviceLog())));
}

bool TestRig::checkSupported()
{
    // Asked once per test program: the answer does not change while it runs.
    static const QString reason = [] {
        if (geteuid() != 0)
            return QStringLiteral("needs root: talvox runs in a private mount namespace (unshare -m)");
        for (const char* tool : { "unshare", "dbus-daemon", "mount" }) {
            if (QStandardPaths::findExecutable(tool).isEmpty())
                return QStringLiteral("%1 is not installed (scripts/setup installs it)").arg(tool);
        }
        for (const char* path : { TALVOX_RIG_RUNS_DIR, TALVOX_BIN }) {
            const QString canonical = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
            if (canonical == "/tmp" || canonical.startsWith("/tmp/"))
                return QStringLiteral("the build tree lies under /tmp, which talvox's namespace replaces: build elsewhere");
        }
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
    // One directory per rig of this test program, emptied at its start and
    // kept afterwards for the logs of a failed test.
    static int rigs = 0;
    m_dir = QStringLiteral(TALVOX_RIG_RUNS_DIR "/%1-%2").arg(QCoreApplication::applicationName()).arg(++rigs);
    QDir(m_dir).removeRecursively();
    if (!QDir().mkpath(m_dir))
        return fail("cannot create " + m_dir);

    // An abstract socket has no file, so talvox reaches it whatever its namespace hides.
    m_busName = QStringLiteral("talvox-rig-%1-%2").arg(getpid()).arg(rigs);
    QFile config(m_dir + "/bus.conf");
    const QString text = readText(TALVOX_SIM_ENV_DIR "/bus.conf.in");
    if (text.isEmpty() || !config.open(QIODevice::WriteOnly)
        || config.write(QString(text).replace("@LISTEN@", "unix:abstract=" + m_busName).toUtf8()) < 0)
        return fail("cannot write " + config.fileName() + " from " TALVOX_SIM_ENV_DIR "/bus.conf.in");
    config.close();

    m_bus = std::make_unique<ChildProcess>();
    m_bus->setStandardErrorFile(m_dir + "/bus.log");
    m_bus->start("dbus-daemon", { "--config-file=" + config.fileName(), "--nofork", "--nopidfile", "--nosyslog", "--print-address" });
    // The daemon prints its address once it listens.
    while (!m_bus->canReadLine()) {
        if (!m_bus->waitForReadyRead(START_TIMEOUT_MS))
            return fail("dbus-daemon did not start: " + tail(readText(m_dir + "/bus.log")));
    }
    m_busAddress = QString::fromUtf8(m_bus->readLine()).trimmed();
    return QDBusConnection::connectToBus(m_busAddress, m_busName).isConnected()
        || fail("cannot connect to the rig's bus " + m_busAddress);
}

std::unique_ptr<QProcess> TestRig::spawn(const QString& log, const QStringList& command)
{
    auto process = std::make_unique<ChildProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_busAddress);
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(m_dir);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->setStandardOutputFile(m_dir + "/" + log);
    process->start(command.first(), command.mid(1));
    return process;
}

// ---- the serial line ------------------------------------------------------

bool TestRig::openLine()
{
    termios raw {};
    cfmakeraw(&raw);
    char name[128] = {};
    if (openpty(&m_master, &m_slave, name, &raw, nullptr) != 0)
        return fail(QStringLiteral("openpty failed: %1").arg(std::strerror(errno)));
    // Neither end leaks into the children. The slave stays open here so that
    // bytes written before the service opens it are kept.
    tcsetattr(m_master, TCSANOW, &raw);
    fcntl(m_master, F_SETFD, FD_CLOEXEC);
    fcntl(m_slave, F_SETFD, FD_CLOEXEC);
    fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
    m_device = QString::fromLocal8Bit(name).remove(QStringLiteral("/dev/")); // "pts/N", as after "-d"
    return true;
}

void TestRig::hangUp()
{
    for (int fd : { m_master, m_slave }) {
        if (fd >= 0)
            ::close(fd);
    }
    m_master = m_slave = -1;
}

QByteArray TestRig::frame(quint8 command, quint8 group, const QByteArray& data)
{
    // The header announces length lo + length hi: up to 510 data bytes.
    const int size = data.size();
    QByteArray bytes;
    bytes.append(char(0x02)).append(char(command)).append(char(group));
    bytes.append(char(qMin(size, 255))).append(char(qMax(size - 255, 0)));
    return bytes.append(data).append(char(0x03));
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

// Up to n bytes (n < 0: any number), waiting timeoutMs in all, or with
// untilQuiet until the line has been quiet that long.
QByteArray TestRig::receive(int n, int timeoutMs, bool untilQuiet)
{
    QByteArray bytes;
    QElapsedTimer timer;
    timer.start();
    while (m_master >= 0 && (n < 0 || bytes.size() < n)) {
        pollfd in { m_master, POLLIN, 0 };
        const int ready = poll(&in, 1, untilQuiet ? timeoutMs : qMax(0, timeoutMs - int(timer.elapsed())));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || !(in.revents & POLLIN))
            break;
        char buffer[512];
        const ssize_t got = ::read(m_master, buffer, n < 0 ? sizeof buffer : std::min(sizeof buffer, size_t(n - bytes.size())));
        if (got > 0)
            bytes.append(buffer, int(got));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            break;
    }
    return bytes;
}

bool TestRig::expectAck(int timeoutMs)
{
    const QByteArray answer = read(1, timeoutMs);
    return answer == QByteArray(1, char(0x06)) || fail("expected ACK 06, got \"" + answer.toHex() + "\"");
}

bool TestRig::send(quint8 command, quint8 group, const QByteArray& data)
{
    write(frame(command, group, data));
    return expectAck();
}

std::optional<RigReply> TestRig::readReply(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    const QByteArray header = read(5, timeoutMs);
    if (header.size() < 5 || header.at(0) != 0x02) {
        fail("expected a frame, got \"" + (header + readAll(50)).toHex() + "\"");
        return std::nullopt;
    }
    const int size = quint8(header.at(3)) + quint8(header.at(4));
    const QByteArray rest = read(size + 1, qMax(0, timeoutMs - int(timer.elapsed())));
    if (rest.size() != size + 1 || !rest.endsWith(char(0x03))) {
        fail("incomplete frame \"" + (header + rest + readAll(50)).toHex() + "\"");
        return std::nullopt;
    }
    return RigReply { quint8(header.at(1)), quint8(header.at(2)), rest.left(size) };
}

QByteArray TestRig::readReplyData(quint8 command, quint8 group, int timeoutMs)
{
    const std::optional<RigReply> reply = readReply(timeoutMs);
    if (reply && (reply->command != command || reply->group != group))
        fail(QStringLiteral("expected a reply %1/%2, got %3/%4 with data \"%5\"")
                 .arg(command, 2, 16, QChar('0')).arg(group).arg(reply->command, 2, 16, QChar('0'))
                 .arg(reply->group).arg(QString(reply->data.toHex())));
    return reply && reply->command == command && reply->group == group ? reply->data : QByteArray();
}

QByteArray TestRig::query(quint8 command, quint8 group, const QByteArray& data, int timeoutMs)
{
    write(frame(command, group, data));
    return expectAck(timeoutMs) ? readReplyData(command, group, timeoutMs) : QByteArray();
}

// ---- the simulator --------------------------------------------------------

bool TestRig::simCall(const QString& method, const QVariantList& args, QVariantList* results)
{
    QDBusMessage call = QDBusMessage::createMethodCall(SIMULATOR, "/control", "local.talvox.simulator.control", method);
    call.setArguments(args);
    const QDBusMessage reply = QDBusConnection(m_busName).call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return fail("simulator " + method + ": " + reply.errorMessage());
    if (results)
        *results = reply.arguments();
    return true;
}

QVariantList TestRig::sim(const QString& method, const QVariantList& args)
{
    QVariantList results;
    simCall(method, args, &results);
    return results;
}

bool TestRig::waitForCall(const QString& prefix, int timeoutMs)
{
    const auto arrived = [&] {
        const QStringList received = calls();
        return std::any_of(received.begin(), received.end(), [&](const QString& call) { return call.startsWith(prefix); });
    };
    return QTest::qWaitFor(arrived, timeoutMs) || fail("no call \"" + prefix + "\" in: " + calls().join("; "));
}

bool TestRig::emitSignal(const QString& name, const QVariantList& args)
{
    // A QVariantList goes out as "av", each argument a variant of its own type.
    return sim("emit_signal", { name, QVariant(args) }).value(0).toBool();
}

void TestRig::setValue(const QString& name, const QVariant& value)
{
    sim("set_value", { name, QVariant::fromValue(QDBusVariant(value)) });
}

// ---- the service ----------------------------------------------------------

QString TestRig::serviceLog() const { return readText(m_dir + "/talvox.log"); }

bool TestRig::waitForLog(const QString& text, int timeoutMs)
{
    return QTest::qWaitFor([&] { return serviceLog().contains(text); }, timeoutMs)
        || fail("\"" + text + "\" not in the log: " + tail(serviceLog()));
}

QStringList TestRig::standinCalls() const
{
    return readText(m_dir + "/standin.log").split('\n', Qt::SkipEmptyParts);
}

int TestRig::waitForExit(int timeoutMs)
{
    if (!m_service || (m_service->state() != QProcess::NotRunning && !m_service->waitForFinished(timeoutMs)))
        return -1;
    return m_service->exitStatus() == QProcess::NormalExit ? m_service->exitCode() : 256;
}
