// SPDX-License-Identifier: BSD-2-Clause
#include "HandlerFixture.h"

#include "CEventLogger.h"
#include "Simulator.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFile>
#include <QMutex>
#include <QSemaphore>
#include <QSocketNotifier>
#include <QThread>

#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
const QString SIMULATOR_CONNECTION = QStringLiteral("talvox-handlers-simulator");
const QString REGISTRY_CONNECTION = QStringLiteral("talvox-handlers-registry");

// The log's receiving end: a datagram socket where the logger's syslog daemon would be.
int boundLogSocket(const QString& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return fd;
    if (fd >= 0)
        ::close(fd);
    return -1;
}
} // namespace

// The simulator's objects, served by this thread's event loop, which also keeps the log socket drained:
// it holds only a few lines, and a full one would block the logging registry.
class SimulatorThread : public QThread
{
public:
    SimulatorThread(const QString& busAddress, const QString& locale, int logSocket)
        : m_address(busAddress)
        , m_locale(locale)
        , m_logSocket(logSocket)
    {
    }
    // Empty once the simulator's names are on the bus, otherwise what failed.
    QString waitUntilServing()
    {
        m_started.acquire();
        return m_error;
    }
    // Read by both threads, under a lock that keeps the lines in the order they came.
    QStringList takeLog()
    {
        readLog();
        const QMutexLocker locker(&m_logLock);
        return std::exchange(m_log, {});
    }

protected:
    void run() override
    {
        {
            Simulator simulator(QDBusConnection::connectToBus(m_address, SIMULATOR_CONNECTION));
            if (!m_locale.isEmpty())
                simulator.state().locale = m_locale;
            QSocketNotifier log(m_logSocket, QSocketNotifier::Read);
            connect(&log, &QSocketNotifier::activated, [this] { readLog(); });
            const bool serving = simulator.start(m_error);
            m_started.release();
            if (serving)
                exec();
        }
        QDBusConnection::disconnectFromBus(SIMULATOR_CONNECTION);
    }

private:
    void readLog()
    {
        const QMutexLocker locker(&m_logLock);
        char line[4096];
        for (ssize_t size; (size = ::recv(m_logSocket, line, sizeof line, MSG_DONTWAIT)) > 0;) {
            // "<PRI>Mmm dd hh:mm:ss talvox[PID]: text"
            const QString text = QString::fromUtf8(line, int(size));
            m_log << text.mid(text.indexOf("]: ") + 3);
        }
    }

    const QString m_address, m_locale;
    const int m_logSocket;
    QString m_error;
    QSemaphore m_started;
    QMutex m_logLock;
    QStringList m_log;
};

HandlerFixture::HandlerFixture()
    : m_connection(REGISTRY_CONNECTION)
{
}

HandlerFixture::~HandlerFixture()
{
    m_handler.reset();
    QDBusConnection::disconnectFromBus(REGISTRY_CONNECTION);
    if (m_simulator) {
        m_simulator->quit();
        m_simulator->wait();
    }
    if (m_logSocket >= 0)
        ::close(m_logSocket);
}

bool HandlerFixture::fail(const QString& error)
{
    m_error = error;
    return false;
}

bool HandlerFixture::start(const QString& locale)
{
    if (!m_dir.isValid())
        return fail("no temporary directory: " + m_dir.errorString());
    // An abstract socket: nothing to clean up after a crash.
    const QString error = m_bus.start(m_dir.path(), QString("talvox-handlers-%1").arg(getpid()));
    if (!error.isEmpty())
        return fail(error);
    const QString logPath = m_dir.filePath("log");
    if ((m_logSocket = boundLogSocket(logPath)) < 0)
        return fail("cannot bind " + logPath);
    CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_DEBUG, QFile::encodeName(logPath).constData());

    m_simulator = std::make_unique<SimulatorThread>(m_bus.address(), locale, m_logSocket);
    m_simulator->start();
    const QString simulatorError = m_simulator->waitUntilServing();
    if (!simulatorError.isEmpty())
        return fail("the simulator did not start: " + simulatorError);
    m_connection = QDBusConnection::connectToBus(m_bus.address(), REGISTRY_CONNECTION);
    if (!m_connection.isConnected())
        return fail("cannot connect to " + m_bus.address());
    m_handler = std::make_unique<RS232Handler>(m_connection, clock);
    m_handler->init();
    return true;
}

RS232Handler::ReplyFrame HandlerFixture::exec(quint8 command, quint8 group, const QByteArray& data)
{
    RS232Message request;
    request.set_command_id(command);
    request.set_group_id(group);
    request.set_data(data);
    request.set_long_length(); // the header as the PC sends it: length lo up to 255, length hi the rest
    return m_handler->exec_func(request);
}

bool HandlerFixture::send(quint8 command, quint8 group, const QByteArray& data)
{
    const RS232Handler::ReplyFrame reply = exec(command, group, data);
    return !reply.exists || fail("unexpected reply frame " + reply.frame->to_frame().toHex());
}

QByteArray HandlerFixture::query(quint8 command, quint8 group, const QByteArray& data)
{
    const RS232Handler::ReplyFrame reply = exec(command, group, data);
    if (!reply.exists)
        fail("no reply frame");
    else if (reply.frame->get_command_id() != command || reply.frame->get_group_id() != group)
        fail("a reply frame with other ids: " + reply.frame->to_frame().toHex());
    else
        return reply.frame->get_data();
    return {};
}

void HandlerFixture::type(const QByteArray& bytes)
{
    for (const char c : bytes)
        m_handler->add_char_to_line(c);
}

QVariantList HandlerFixture::sim(const QString& method, const QVariantList& args)
{
    QDBusMessage call = QDBusMessage::createMethodCall("local.talvox.simulator", "/control",
                                                       "local.talvox.simulator.control", method);
    call.setArguments(args);
    const QDBusMessage reply = m_connection.call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return reply.arguments();
    fail("simulator " + method + ": " + reply.errorMessage());
    return {};
}

void HandlerFixture::setValue(const QString& name, const QVariant& value)
{
    sim("set_value", { name, QVariant::fromValue(QDBusVariant(value)) });
}

bool HandlerFixture::emitSignal(const QString& name, const QVariantList& args)
{
    // The simulator sends the signal before its answer, and the bus keeps that order: once the answer is
    // here, the signal waits in this thread's event queue.
    const bool emitted = sim("emit_signal", { name, QVariant(args) }).value(0).toBool();
    QCoreApplication::processEvents();
    return emitted;
}

QList<int> HandlerFixture::textsOn(int line)
{
    return qdbus_cast<QList<int>>(sim("texts_on_line", { line }).value(0));
}

QStringList HandlerFixture::takeLog()
{
    return m_simulator ? m_simulator->takeLog() : QStringList();
}
