// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232_H
#define RS232_H

#include "RS232Message.h"
#include "RS232Receiver.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

class QSocketNotifier;
class RS232Handler;

// The serial link to the PC: one process-wide instance that owns the port,
// turns the incoming bytes into frames, answers each with ACK or NAK, hands
// valid frames to the command registry and writes the replies.
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

    static RS232* instance();
    // Where valid frames and typed characters go from now on.
    void serve(RS232Handler& registry) { m_pRegistry = &registry; }

    // Opens the device ("ttyS0" means /dev/ttyS0) at 9600 8N1; 1 if it is
    // open, 0 if not (the reason is logged). A missing device ends the
    // process with exit code 8.
    int init(QString device);
    void close();

    void ack();
    void nack();
    void send_message(RS232Message* message);
    void send_raw_data(const QByteArray& data);
    void handle_message(RS232Message& message);

public slots:
    // Reads everything the line has and runs it through the receiver.
    void receive_rs232_message();

private slots:
    void on_writable();
    void on_frame_silence();

private:
    RS232();
    // What the receiver's rules ask of the line.
    void acknowledge() override { ack(); }
    void handle_frame(RS232Message& message) override { handle_message(message); }
    void refuse(const QByteArray& chunk, int index) override;
    void type_char(char byte) override;
    void end_due() override;
    void swallow_frame(const RS232Message& message) override;
    void write_to_line(const char* bytes, int size);
    [[noreturn]] void line_lost();

    RS232Handler* m_pRegistry = nullptr;
    // The tty, -1 while closed.
    int m_fd = -1;
    RS232Receiver receiver;
    // Output waiting for the line to take it, and whether a drop was logged.
    QByteArray m_baPending;
    bool m_bDropLogged = false;
    // Readiness of the tty: read always, write only while output is queued.
    QSocketNotifier* m_pReadNotifier = nullptr;
    QSocketNotifier* m_pWriteNotifier = nullptr;
    // Runs while a frame is open; restarted by every read.
    QTimer m_frameSilence;

    static RS232* _instance;
};

#endif
