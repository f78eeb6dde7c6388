// SPDX-License-Identifier: BSD-2-Clause
#ifndef HANDLERFIXTURE_H
#define HANDLERFIXTURE_H

#include "LineBytes.h"
#include "PrivateBus.h"
#include "RS232Handler.h"
#include "SystemClock.h"

#include <QDBusConnection>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

#include <memory>

class SimulatorThread;

// The controller's clock as the clock commands see it in a test: a fixed time, and the commands that
// would set it recorded instead of run.
class RecordingClock : public SystemClock
{
public:
    QDateTime now() const override { return fixedNow; }
    void run(const QString& command) override { commands << command; }

    QDateTime fixedNow { QDate(2019, 12, 31), QTime(23, 59, 58) }; // a year about to end
    QStringList commands;
};

// The registry in the test's own process against the simulated siblings: a private bus daemon, the
// simulator's objects on a connection of their own in a worker thread (the registry waits for its
// queries' answers in the main thread, so the simulator must answer from another), and the registry
// on a second connection with a recording clock. No root, no pty, no mount namespace. One per test
// program: the log is the process's.
class HandlerFixture
{
public:
    HandlerFixture();
    ~HandlerFixture();
    HandlerFixture(const HandlerFixture&) = delete;
    HandlerFixture& operator=(const HandlerFixture&) = delete;

    // locale: the simulator's ("": de_DE; its screen is 40 x 16), read by the registry as it starts.
    bool start(const QString& locale = {});
    QString lastError() const { return m_error; }

    RS232Handler& handler() { return *m_handler; }
    RecordingClock clock;

    // A frame through the registry as the link hands it over: its reply frame, or none.
    RS232Handler::ReplyFrame exec(quint8 command, quint8 group, const QByteArray& data = {});
    // exec(), and no reply frame (actions and settings).
    bool send(quint8 command, quint8 group, const QByteArray& data = {});
    // exec(), then the data of the reply frame; empty (lastError() tells why) without one.
    QByteArray query(quint8 command, quint8 group, const QByteArray& data = {});
    // Printable bytes outside a frame, typed at the cursor; as from the line, they may wait for the next frame.
    void type(const QByteArray& bytes);

    // The simulator's control interface, asked on the registry's own connection: the bus keeps one
    // connection's messages in order, so every call the registry made before is in the simulator's log.
    QVariantList sim(const QString& method, const QVariantList& args = {});
    QStringList calls() { return sim("calls").value(0).toStringList(); }
    void clearCalls() { sim("clear_calls"); }
    void setValue(const QString& name, const QVariant& value);
    // A sibling signal, delivered to the registry by the time this returns.
    bool emitSignal(const QString& name, const QVariantList& args = {});
    // Handles of the created texts on a 0-based line, in creation order.
    QList<int> textsOn(int line);

    // The log lines (their text) written since the last call.
    QStringList takeLog();

private:
    bool fail(const QString& error);

    QTemporaryDir m_dir;
    QString m_error;
    PrivateBus m_bus;
    int m_logSocket = -1;
    std::unique_ptr<SimulatorThread> m_simulator;
    QDBusConnection m_connection;
    std::unique_ptr<RS232Handler> m_handler;
};

// Starts the fixture in a QtTest function, or fails it.
#define TALVOX_HANDLERS_START(fixture, ...)                                                                            \
    do {                                                                                                               \
        if (!(fixture).start(__VA_ARGS__))                                                                             \
            QFAIL(qPrintable("handler fixture did not start: " + (fixture).lastError()));                              \
    } while (false)

#endif
