// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232_H
#define RS232_H

#include "RS232Message.h"
#include "RS232Receiver.h"

#include <QByteArray>
#include <QMutex>
#include <QObject>
#include <QTimer>

class QSocketNotifier;
class RS232Handler;

// The serial link to the PC: turns the bytes of the open tty into frames,
// answers each with ACK or NAK, writes the reply frame the registry makes of
// a valid frame, and hands it the printable bytes typed outside a frame.
// The tty is read and written directly, through two readiness notifiers.
class RS232 : public QObject, private RS232ReceiverSink
{
    Q_OBJECT

public:
    // A frame that stays incomplete this long is dropped. A sender pauses
    // only between frames: at 9600 baud a byte takes 1.04 ms, and even a USB
    // adapter's latency timer holds bytes back for 16 ms at most.
    static constexpr int FRAME_SILENCE_MS = 500;
    // Output the PC has not read yet, kept while the line is blocked; beyond
    // it whole writes are dropped (the line has no flow control). About four
    // seconds of the line at 9600 baud.
    static constexpr int MAX_PENDING_OUTPUT = 4096;
    // After a read that ended in typed text the line is left unread this
    // long and what has gathered is read in one go: a PC sends text a line
    // at a time, one byte every 1.04 ms, and each read costs a pass of the
    // event loop. A frame's start byte behind text waits at most this long;
    // one that follows anything else is read at once.
    static constexpr int TYPED_GATHER_MS = 3;

    // Serves the tty `fd` (as SerialTty opens it) and owns it from now on.
    RS232(int fd, RS232Handler& registry);
    ~RS232() override;
    // Gives the tty back (TIOCEXCL released) and stops serving it.
    void close();

signals:
    // The tty hung up or vanished: nothing more will come from the PC.
    void line_lost();

private slots:
    // Reads everything the line has and runs it through the receiver.
    void receive_rs232_message();
    void on_writable();
    void on_frame_silence();
    void on_typed_gathered();

private:
    // What the receiver's rules ask of the line.
    void acknowledge() override { ack(); }
    void handle_frame(RS232Message& message) override;
    void refuse(const QByteArray& chunk, int index) override;
    void type_char(char byte) override;
    void end_due() override;
    void swallow_frame(const RS232Message& message) override;

    void ack();
    void nack();
    void send_message(RS232Message& message);
    void send_raw_data(const QByteArray& data);
    void write_to_line(const char* bytes, int size);

    RS232Handler& m_registry;
    // The tty, -1 once closed.
    int m_fd;
    RS232Receiver m_receiver;
    // A handler that runs a nested event loop must not have the line read
    // under it: the receiver is in the middle of a read.
    QMutex m_receiveLock;
    // Every read lands here; it only grows, to the largest read so far, so
    // that a read costs no allocation.
    QByteArray m_chunk;
    // Output waiting for the line to take it, and whether a drop was logged.
    QByteArray m_baPending;
    bool m_bDropLogged = false;
    // Readiness of the tty: read always, write only while output is queued.
    QSocketNotifier* m_pReadNotifier;
    QSocketNotifier* m_pWriteNotifier;
    // Runs while a frame is open; restarted by every read.
    QTimer m_frameSilence;
    // Runs while the line is left unread behind typed text.
    QTimer m_typedGather;
    // The last read ended in a refusal (its rest was discarded, not typed).
    bool m_bRefused = false;
};

#endif
