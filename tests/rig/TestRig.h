#ifndef TESTRIG_H
#define TESTRIG_H

#include <QByteArray>
#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <optional>

// What the rig sets up before the service starts.
struct RigOptions {
    QString locale;        // the simulator's locale; empty: its default "de_DE"
    int screenWidth = 0;   // overlay columns; 0: the simulator's default (40)
    int screenCount = 0;   // overlay lines; 0: the simulator's default (16)
    QStringList extraArgs; // appended to talvox's "-d pts/N -l 7"
};

// One frame as the service sent it.
struct RigReply {
    quint8 command = 0;
    quint8 group = 0;
    QByteArray data;
};

// The end-to-end rig: a private system bus, the simulator of the sibling
// services on it, and the real talvox on a pty (the PC's end is the rig's), in
// a private mount namespace where /tmp and the lock directory are the rig's
// own and date and hwclock only record their arguments. The destructor stops
// everything, also when a test fails half way; the run directory with the
// logs stays in the build tree.
class TestRig
{
public:
    TestRig() = default;
    ~TestRig();
    TestRig(const TestRig&) = delete;
    TestRig& operator=(const TestRig&) = delete;

    bool start(const RigOptions& options = {});
    // After a failed start: this machine cannot host the rig (not root, tools missing).
    bool unsupported() const { return m_unsupported; }
    QString lastError() const { return m_error; }

    // The serial line, seen from the PC.
    static QByteArray frame(quint8 command, quint8 group, const QByteArray& data = {});
    void write(const QByteArray& bytes);
    // Exactly n bytes, or fewer if the time-out passes first.
    QByteArray read(int n, int timeoutMs = 2000) { return receive(n, timeoutMs, false); }
    // Everything that arrives until the line has been quiet for quietMs.
    QByteArray readAll(int quietMs = 100) { return receive(-1, quietMs, true); }
    bool expectAck(int timeoutMs = 2000);
    // Writes a frame and expects its ACK.
    bool send(quint8 command, quint8 group, const QByteArray& data = {});
    std::optional<RigReply> readReply(int timeoutMs = 2000);
    // The data of the next frame if it carries these ids; empty otherwise
    // (lastError() tells what came instead).
    QByteArray readReplyData(quint8 command, quint8 group, int timeoutMs = 2000);
    // send() and readReplyData() with the same ids.
    QByteArray query(quint8 command, quint8 group, const QByteArray& data = {}, int timeoutMs = 2000);
    // Closes the PC's end: the service sees the line hang up.
    void hangUp();

    // The simulator's control interface.
    QVariantList sim(const QString& method, const QVariantList& args = {});
    QStringList calls() { return sim("calls").value(0).toStringList(); }
    void clearCalls() { sim("clear_calls"); }
    // Settings go out without a reply: wait until the call has arrived.
    bool waitForCall(const QString& prefix, int timeoutMs = 2000);
    bool emitSignal(const QString& name, const QVariantList& args = {});
    void setValue(const QString& name, const QVariant& value);
    QString screen() { return sim("screen").value(0).toString(); }

    // The service.
    QString serviceLog() const;
    bool waitForLog(const QString& text, int timeoutMs = 2000);
    // "date 051214302020.05", "hwclock -w -u": what the stand-ins were run with.
    QStringList standinCalls() const;
    // The exit code; -1 while it still runs, 256 after a crash or a signal.
    int waitForExit(int timeoutMs = 2000);
    qint64 servicePid() const { return m_service ? m_service->processId() : 0; }
    // The service's lock file for this line, seen from the host.
    QString lockFilePath() const { return m_dir + "/tmp/tvx-" + m_device + ".lock"; }

private:
    bool fail(const QString& error);
    bool checkSupported();
    bool startBus();
    bool openLine();
    std::unique_ptr<QProcess> spawn(const QString& log, const QStringList& command);
    bool simCall(const QString& method, const QVariantList& args, QVariantList* results = nullptr);
    QByteArray receive(int n, int timeoutMs, bool untilQuiet);

    QString m_dir;
    QString m_error;
    bool m_unsupported = false;
    QString m_busName;
    QString m_busAddress;
    std::unique_ptr<QProcess> m_bus;
    std::unique_ptr<QProcess> m_simulator;
    std::unique_ptr<QProcess> m_service;
    int m_master = -1;
    int m_slave = -1;
    QString m_device;
};

// Starts the rig in a QtTest function: skips where the machine cannot host
// it, fails on any other start-up failure.
#define TALVOX_RIG_START(rig, ...)                                                                  \
    do {                                                                                           \
        if (!(rig).start(__VA_ARGS__)) {                                                           \
            if ((rig).unsupported())                                                               \
                QSKIP(qPrintable("end-to-end rig unavailable: " + (rig).lastError()));             \
            QFAIL(qPrintable("end-to-end rig did not start: " + (rig).lastError()));               \
        }                                                                                          \
    } while (false)

#endif
