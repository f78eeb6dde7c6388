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
#include <csignal>
#include <sys/prctl.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

const QString SIMULATOR = QStringLiteral("local.talvox.simulator");
const QStringList SIBLINGS = { "local.vemo.holvard", "local.vemo.quorend", "local.vemo.travend" };
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

// A child that dies with the test program, even when that one crashes or is
// killed by a time-out before the rig's destructor can run. The death signal
// survives exec, so it reaches talvox behind run-isolated too.
class ChildProcess : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGTERM); }
};

} // namespace

TestRig::TestRig() = default;

TestRig::~TestRig()
{
    // A hung-up line ends the service in an orderly way (exit 7), which
    // removes its lock file; a signal is only the fallback.
    m_line.hangUp();
    if (m_service)
        m_service->waitForFinished(STOP_TIMEOUT_MS);
    stop(m_service);
    stop(m_simulator);
    if (!m_connectionName.isEmpty())
        QDBusConnection::disconnectFromBus(m_connectionName);
    stop(m_bus);
}

void TestRig::stop(std::unique_ptr<QProcess>& process)
{
    if (!process)
        return;
    if (process->state() != QProcess::NotRunning) {
        ::kill(pid_t(process->processId()), SIGTERM);
        if (!process->waitForFinished(STOP_TIMEOUT_MS)) {
            ::kill(pid_t(process->processId()), SIGKILL);
            process->waitForFinished(STOP_TIMEOUT_MS);
        }
    }
    process.reset();
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
    return checkSupported() && createDir() && startBus() && startSimulator() && applyOptions(options)
        && m_line.open(&m_error) && startService(options.extraArgs)
        && (!options.waitReady || waitReady(START_TIMEOUT_MS));
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
        // The service's /tmp is replaced by the rig's own: a build tree there
        // would vanish from under it.
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

bool TestRig::createDir()
{
    // Under the build tree, never under /tmp: the service's /tmp is replaced
    // by the rig's own, which would hide a directory there. One directory per
    // rig of this test program, emptied at its start and kept afterwards for
    // a look at the logs of a failed test.
    static int rigs = 0;
    m_dir = QStringLiteral(TALVOX_RIG_RUNS_DIR "/%1-%2").arg(QCoreApplication::applicationName()).arg(++rigs);
    QDir(m_dir).removeRecursively();
    return QDir().mkpath(m_dir) || fail("cannot create " + m_dir);
}

bool TestRig::startBus()
{
    // An abstract socket has no file, so it is reachable from inside the
    // service's mount namespace whatever that hides.
    const QString listen = QStringLiteral("unix:abstract=talvox-rig-%1-%2").arg(getpid()).arg(m_dir.section('-', -1));
    QString config = readText(TALVOX_SIM_ENV_DIR "/bus.conf.in");
    if (config.isEmpty())
        return fail("cannot read " TALVOX_SIM_ENV_DIR "/bus.conf.in");
    config.replace("@LISTEN@", listen);
    QFile file(m_dir + "/bus.conf");
    if (!file.open(QIODevice::WriteOnly) || file.write(config.toUtf8()) < 0)
        return fail("cannot write " + file.fileName());
    file.close();

    m_bus = std::make_unique<ChildProcess>();
    m_bus->setStandardErrorFile(m_dir + "/bus.log");
    m_bus->start("dbus-daemon", { "--config-file=" + file.fileName(), "--nofork", "--nopidfile", "--nosyslog", "--print-address" });
    // The daemon prints its address once it listens.
    while (!m_bus->canReadLine()) {
        if (!m_bus->waitForReadyRead(START_TIMEOUT_MS))
            return fail("dbus-daemon did not start: " + tail(readText(m_dir + "/bus.log")));
    }
    m_busAddress = QString::fromUtf8(m_bus->readLine()).trimmed();
    m_connectionName = "talvox-rig-" + m_dir.section('/', -1);
    const QDBusConnection bus = QDBusConnection::connectToBus(m_busAddress, m_connectionName);
    return bus.isConnected() || fail("cannot connect to the rig's bus " + m_busAddress);
}

bool TestRig::startSimulator()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_busAddress);
    m_simulator = std::make_unique<ChildProcess>();
    m_simulator->setProcessEnvironment(environment);
    m_simulator->setProcessChannelMode(QProcess::MergedChannels);
    m_simulator->setStandardOutputFile(m_dir + "/simulator.log");
    m_simulator->start(TALVOX_SIM_BIN, QStringList());

    QDBusConnectionInterface* names = QDBusConnection(m_connectionName).interface();
    const bool up = QTest::qWaitFor(
        [&] { return names->isServiceRegistered(SIMULATOR) || m_simulator->state() == QProcess::NotRunning; },
        START_TIMEOUT_MS);
    if (!up || !names->isServiceRegistered(SIMULATOR))
        return fail("talvox-sim did not come up: " + tail(readText(m_dir + "/simulator.log")));
    return true;
}

bool TestRig::applyOptions(const RigOptions& options)
{
    if (!options.locale.isEmpty() && !simCall("set_locale", { options.locale }, nullptr))
        return false;
    if (options.screenWidth > 0 || options.screenCount > 0) {
        const QVariantList size = { options.screenWidth > 0 ? options.screenWidth : 40,
                                    options.screenCount > 0 ? options.screenCount : 16 };
        if (!simCall("set_screen_size", size, nullptr))
            return false;
    }
    if (options.siblingsAbsent) {
        for (const QString& sibling : SIBLINGS) {
            if (!simCall("set_service_present", { sibling, false }, nullptr))
                return false;
        }
    }
    return true;
}

bool TestRig::startService(const QStringList& extraArgs)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_busAddress);
    environment.insert("TALVOX_STANDIN_LOG", m_dir + "/standin.log");
    m_service = std::make_unique<ChildProcess>();
    m_service->setProcessEnvironment(environment);
    m_service->setWorkingDirectory(m_dir);
    // Its log lines go to standard error (and to syslog, where there is one).
    m_service->setProcessChannelMode(QProcess::MergedChannels);
    m_service->setStandardOutputFile(m_dir + "/talvox.log");
    // run-isolated execs into unshare, sh and then talvox: one process id.
    const QStringList arguments = QStringList { TALVOX_SIM_ENV_DIR "/run-isolated", m_dir, TALVOX_BIN, "-d", m_line.device(), "-l", "7" } + extraArgs;
    m_service->start("sh", arguments);
    return m_service->waitForStarted(START_TIMEOUT_MS) || fail("cannot start talvox: " + m_service->errorString());
}

bool TestRig::waitReady(int timeoutMs)
{
    const bool ended = QTest::qWaitFor(
        [&] { return serviceLog().contains(READY_LINE) || m_service->state() == QProcess::NotRunning; }, timeoutMs);
    if (ended && serviceLog().contains(READY_LINE))
        return true;
    return fail(QStringLiteral("talvox did not get ready (exit code %1): %2").arg(waitForExit(0)).arg(tail(serviceLog())));
}

// ---- the serial line ------------------------------------------------------

QByteArray TestRig::frame(quint8 command, quint8 group, const QByteArray& data)
{
    // The header announces length lo + length hi: up to 510 data bytes.
    const int size = data.size();
    QByteArray bytes;
    bytes.reserve(size + 6);
    bytes.append(char(0x02)).append(char(command)).append(char(group));
    bytes.append(char(qMin(size, 255))).append(char(qMax(size - 255, 0)));
    bytes.append(data).append(char(0x03));
    return bytes;
}

void TestRig::write(const QByteArray& bytes)
{
    m_line.write(bytes);
}

QByteArray TestRig::read(int n, int timeoutMs)
{
    return m_line.read(n, timeoutMs);
}

QByteArray TestRig::readAll(int quietMs)
{
    return m_line.readAll(quietMs);
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
    const auto left = [&] { return qMax(0, timeoutMs - int(timer.elapsed())); };
    const QByteArray header = read(5, timeoutMs);
    if (header.size() < 5 || header.at(0) != 0x02) {
        fail("expected a frame, got \"" + (header + readAll(50)).toHex() + "\"");
        return std::nullopt;
    }
    RigReply reply;
    reply.command = quint8(header.at(1));
    reply.group = quint8(header.at(2));
    const int size = quint8(header.at(3)) + quint8(header.at(4));
    reply.data = read(size, left());
    const QByteArray end = read(1, left());
    if (reply.data.size() != size || end != QByteArray(1, char(0x03))) {
        fail("incomplete frame \"" + (header + reply.data + end + readAll(50)).toHex() + "\"");
        return std::nullopt;
    }
    return reply;
}

QByteArray TestRig::readReplyData(quint8 command, quint8 group, int timeoutMs)
{
    const std::optional<RigReply> reply = readReply(timeoutMs);
    if (!reply)
        return {};
    if (reply->command != command || reply->group != group) {
        fail(QStringLiteral("expected a reply %1/%2, got %3/%4 with data \"%5\"")
                 .arg(command, 2, 16, QChar('0')).arg(group).arg(reply->command, 2, 16, QChar('0'))
                 .arg(reply->group).arg(QString(reply->data.toHex())));
        return {};
    }
    return reply->data;
}

QByteArray TestRig::query(quint8 command, quint8 group, const QByteArray& data, int timeoutMs)
{
    write(frame(command, group, data));
    if (!expectAck(timeoutMs))
        return {};
    return readReplyData(command, group, timeoutMs);
}

void TestRig::hangUp()
{
    m_line.hangUp();
}

// ---- the simulator --------------------------------------------------------

bool TestRig::simCall(const QString& method, const QVariantList& args, QVariantList* results)
{
    QDBusMessage call = QDBusMessage::createMethodCall(SIMULATOR, "/control", "local.talvox.simulator.control", method);
    call.setArguments(args);
    const QDBusMessage reply = QDBusConnection(m_connectionName).call(call, QDBus::Block, 5000);
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

QStringList TestRig::calls()
{
    return sim("calls").value(0).toStringList();
}

void TestRig::clearCalls()
{
    sim("clear_calls");
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

QString TestRig::screen()
{
    return sim("screen").value(0).toString();
}

// ---- the service ----------------------------------------------------------

QString TestRig::serviceLog() const
{
    return readText(m_dir + "/talvox.log");
}

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
    if (!m_service)
        return -1;
    if (m_service->state() != QProcess::NotRunning && !m_service->waitForFinished(timeoutMs))
        return -1;
    return m_service->exitStatus() == QProcess::NormalExit ? m_service->exitCode() : 256;
}

qint64 TestRig::servicePid() const
{
    return m_service ? m_service->processId() : 0;
}

QString TestRig::lockFilePath() const
{
    // The service's /tmp is the rig's tmp/; the device "pts/N" makes the
    // lock file /tmp/tvx-pts/N.lock.
    return m_dir + "/tmp/tvx-" + device() + ".lock";
}
