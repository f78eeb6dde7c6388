// SPDX-License-Identifier: BSD-2-Clause
#ifndef TESTRIG_H
#define TESTRIG_H

#include "LineBytes.h"
#include "PrivateBus.h"

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>
#include <QSysInfo>
#include <QVariant>

#include <csignal>
#include <memory>
#include <optional>

// The simulator's locale ("": de_DE; its screen is 40 x 16), talvox's arguments after "-d pts/N -l 7", variables
// ("NAME=value") added to talvox's environment; lateSimulator: talvox starts without the sibling services, the
// test calls startSimulator() (locale unset).
struct RigOptions {
    QString locale;
    QStringList extraArgs = {};
    QStringList environment = {};
    bool lateSimulator = false;
};
// One frame as the service sent it.
struct RigReply {
    quint8 command = 0;
    quint8 group = 0;
    QByteArray data;
};

// The end-to-end rig: a private system bus with the simulator of the sibling
// services, and the real talvox on a pty whose PC end is the rig's, in a
// private mount namespace (its own /tmp and lock directory; date and hwclock
// only record their arguments). The destructor stops everything; the run
// directory with the logs stays in the build tree.
class TestRig
{
public:
    TestRig() = default;
    ~TestRig();
    TestRig(const TestRig&) = delete;
    TestRig& operator=(const TestRig&) = delete;

    bool start(const RigOptions& options = {});
    // After a failed start: this machine cannot host the rig (not root, unshare refused, build tree under /tmp).
    bool unsupported() const { return m_unsupported; }
    QString lastError() const { return m_error; }

    // The serial line, seen from the PC.
    static QByteArray frame(quint8 command, quint8 group, const QByteArray& data = {});
    // The service as the tests start it: the built talvox, or the command in $TALVOX_TEST_SERVICE (words
    // separated by spaces), for example the board's build under an emulator.
    static QStringList serviceCommand();
    void write(const QByteArray& bytes);
    // Exactly n bytes, or fewer if the time-out passes first; n < 0: what has arrived so far, without waiting.
    QByteArray read(int n, int timeoutMs = 2000);
    QByteArray readAvailable() { return read(-1, 0); }
    // The barrier: sends a probe query (the software id) and waits for its ACK and reply. As the
    // service handles frames in order, the answer proves that everything written before it has
    // been handled. `before` gets the bytes that came ahead of the answer.
    bool sync(QByteArray* before = nullptr, int timeoutMs = 5000);
    // Writes a frame and expects its ACK.
    bool send(quint8 command, quint8 group, const QByteArray& data = {});
    std::optional<RigReply> readReply(int timeoutMs = 2000);
    // send(), then the data of the reply with the same ids; empty otherwise (lastError() tells why).
    QByteArray query(quint8 command, quint8 group, const QByteArray& data = {}, int timeoutMs = 2000);
    // Closes the PC's end: the service sees the line hang up.
    void hangUp();

    // The simulator's control interface.
    QVariantList sim(const QString& method, const QVariantList& args = {})
    {
        return simCall(method, args).value_or(QVariantList());
    }
    QStringList calls() { return sim("calls").value(0).toStringList(); }
    void clearCalls() { sim("clear_calls"); }
    // Settings go out without a reply: wait until the call has arrived.
    bool waitForCall(const QString& prefix, int timeoutMs = 2000);
    // A QVariantList goes out as "av", each argument a variant of its own type.
    bool emitSignal(const QString& name, const QVariantList& args = {})
    {
        return sim("emit_signal", { name, QVariant(args) }).value(0).toBool();
    }
    void setValue(const QString& name, const QVariant& value);
    QString screen() { return sim("screen").value(0).toString(); }
    // Handles of the created texts on a 0-based line, in creation order.
    QList<int> textsOn(int line);

    // Faults of the sibling services and of the bus. SIGSTOP and SIGCONT: the simulator hangs with
    // its names on the bus, then goes on. SIGKILL: its names leave the bus, as after a crash.
    bool stopSimulator() { return signalSimulator(SIGSTOP); }
    bool continueSimulator() { return signalSimulator(SIGCONT); }
    bool killSimulator();
    // A fresh simulator (no texts, default locale and screen); true once its names are on the bus.
    bool startSimulator();
    // The bus daemon dies; the rig's own calls fail from then on.
    bool killBus();

    // The service.
    void signalService(int signal);
    QString serviceLog() const;
    bool waitForLog(const QString& text, int timeoutMs = 2000);
    // The exit code; -1 while it still runs, 256 after a crash or a signal.
    int waitForExit(int timeoutMs = 2000);
    qint64 servicePid() const { return m_service ? m_service->processId() : 0; }
    // The number after `key` in the service's /proc/PID/`file`, e.g. ("io", "rchar:"); -1 if absent.
    qint64 serviceProcValue(const QString& file, const QString& key) const;
    // The service's lock file for this line, seen from the host.
    QString lockFilePath() const { return m_dir + "/tmp/tvx-" + m_device + ".lock"; }

private:
    bool fail(const QString& error);
    bool checkSupported();
    bool startBus();
    bool signalSimulator(int signal);
    bool openLine();
    std::unique_ptr<QProcess> spawn(const QString& log, const QStringList& command, const QStringList& variables = {});
    std::optional<QVariantList> simCall(const QString& method, const QVariantList& args);

    QString m_dir, m_error, m_busName, m_busAddress, m_device;
    bool m_unsupported = false;
    PrivateBus m_bus;
    std::unique_ptr<QProcess> m_simulator, m_service;
    int m_master = -1, m_slave = -1; // the PC's end of the line, and the service's kept open until it opens it
};

// Starts the rig in a QtTest function: skips where the machine cannot host it, fails otherwise.
#define TALVOX_RIG_START(rig, ...)                                                                                     \
    do {                                                                                                               \
        if (!(rig).start(__VA_ARGS__)) {                                                                               \
            if ((rig).unsupported())                                                                                   \
                QSKIP(qPrintable("end-to-end rig unavailable: " + (rig).lastError()));                                 \
            QFAIL(qPrintable("end-to-end rig did not start: " + (rig).lastError()));                                   \
        }                                                                                                              \
    } while (false)

#endif
