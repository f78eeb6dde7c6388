// SPDX-License-Identifier: BSD-2-Clause
#include "RS232.h"

#include "CEventLogger.h"
#include "Protocol.h"
#include "RS232Handler.h"
#include "SerialTty.h"
#include "talvox.h"

#include <QFile>
#include <QMutex>
#include <QSocketNotifier>

#include <cerrno>
#include <sys/ioctl.h>
#include <unistd.h>

RS232* RS232::_instance = nullptr;

namespace {
// write(2), resumed when a signal interrupts it.
ssize_t write_uninterrupted(int fd, const char* bytes, int size)
{
    ssize_t result;
    do
        result = ::write(fd, bytes, size_t(size));
    while (result < 0 && errno == EINTR);
    return result;
}

// Bytes the tty has received and not yet handed out.
int waiting_bytes(int fd)
{
    int waiting = 0;
    return ::ioctl(fd, FIONREAD, &waiting) == 0 ? waiting : 0;
}
} // namespace

RS232* RS232::instance()
{
    if (!_instance)
        _instance = new RS232();
    return _instance;
}

RS232::RS232()
{
    qInstallMessageHandler(msgHandler);
    m_frameSilence.setSingleShot(true);
    m_frameSilence.setInterval(FRAME_SILENCE_MS);
    connect(&m_frameSilence, &QTimer::timeout, this, &RS232::on_frame_silence);
}

int RS232::init(QString device)
{
    close();

    if (!device.startsWith('/'))
        device.prepend("/dev/");
    if (!QFile::exists(device)) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "interface " + device + " doesn't exists!");
        app_exit(8);
    }

    QString error;
    m_fd = SerialTty::openLine(device, error);
    if (m_fd < 0) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "cannot open " + device + ": " + error);
        return 0;
    }

    // A hang-up or a vanished adapter wakes the read notifier too; the read
    // then fails or returns nothing, which ends the service.
    m_pReadNotifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_pReadNotifier, &QSocketNotifier::activated, this, &RS232::receive_rs232_message);
    m_pWriteNotifier = new QSocketNotifier(m_fd, QSocketNotifier::Write, this);
    m_pWriteNotifier->setEnabled(false);
    connect(m_pWriteNotifier, &QSocketNotifier::activated, this, &RS232::on_writable);
    return 1;
}

void RS232::close()
{
    delete m_pReadNotifier;
    m_pReadNotifier = nullptr;
    delete m_pWriteNotifier;
    m_pWriteNotifier = nullptr;
    m_baPending.clear();
    m_frameSilence.stop();
    receiver.reset();
    SerialTty::closeLine(m_fd);
    m_fd = -1;
}

void RS232::receive_rs232_message()
{
    static QMutex receiveLock;
    if (!receiveLock.tryLock()) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "Rubo-mutex");
        return;
    }

    // Everything the line holds, into one buffer kept for every read; it only
    // grows, to the largest read so far.
    static QByteArray chunk = [] {
        QByteArray buffer;
        buffer.reserve(512);
        return buffer;
    }();
    chunk.resize(qMax(waiting_bytes(m_fd), 1));
    ssize_t got;
    do
        got = ::read(m_fd, chunk.data(), size_t(chunk.size()));
    while (got < 0 && errno == EINTR);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        // Woken for nothing: the bytes went to an earlier read.
        receiveLock.unlock();
        return;
    }
    // End of file, EIO after a hang-up, or the device gone.
    if (got <= 0)
        line_lost();
    chunk.resize(int(got));

    receiver.receive(chunk, *this);
    // An open frame must go on arriving; one left half sent must not hold
    // back every frame after it.
    if (receiver.in_frame())
        m_frameSilence.start();
    else
        m_frameSilence.stop();
    receiveLock.unlock();
}

void RS232::refuse(const QByteArray& chunk, int)
{
    // The log shows the whole read, the refused byte somewhere in it.
    TVX_LOG(CEventLogger::LOG_LEVEL_EMERGENCY,
            "RS232::receive_rs232_message: message invalid: " + QString::fromLatin1(chunk.toHex()));
    nack();
}

void RS232::type_char(char byte)
{
    m_pRegistry->add_char_to_line(byte);
}

void RS232::end_due()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "stop");
}

void RS232::swallow_frame(const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "is not valid");
}

void RS232::on_frame_silence()
{
    // Bytes already waiting were delayed by a slow handler, not by the PC:
    // they are read first and restart the wait.
    if (waiting_bytes(m_fd) > 0) {
        m_frameSilence.start();
        return;
    }
    TVX_LOG(
        CEventLogger::LOG_LEVEL_EMERGENCY,
        QString("RS232::receive_rs232_message: incomplete frame dropped after %1 ms of silence: ").arg(FRAME_SILENCE_MS)
            + receiver.message().toStr());
    receiver.reset();
}

void RS232::line_lost()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "data or not data - this is the question");
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY,
                             "something has break the talvox in RS232::receive_rs232_message");
    app_exit(7);
}

void RS232::ack()
{
    send_raw_data(QByteArray(1, char(Protocol::ACK)));
}

void RS232::nack()
{
    send_raw_data(QByteArray(1, char(Protocol::NAK)));
}

void RS232::send_message(RS232Message* message)
{
    // Longer data spreads its length over both bytes, up to what they can announce.
    if (message->get_data_length() > RS232Message::MAX_SHORT_DATA_LENGTH) {
        const int size = message->get_data_length();
        if (!message->set_long_length())
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    QString("RS232::send_message: reply of %1 bytes cut to %2")
                        .arg(size)
                        .arg(RS232Message::MAX_DATA_LENGTH));
    }
    if (!message->is_valid()) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                "RS232::send_message: RS232Message(" + message->toStr() + ") is not valid");
        return;
    }
    send_raw_data(message->to_frame());
}

void RS232::send_raw_data(const QByteArray& data)
{
    write_to_line(data.constData(), data.size());
    if (CEventLogger::wouldLog(CEventLogger::LOG_LEVEL_DEBUG))
        TVX_LOG(CEventLogger::LOG_LEVEL_DEBUG, "RS232::send_raw_data: data:" + QString::fromLatin1(data.toHex()));
}

// Straight to the tty when nothing is queued: one system call per ACK or
// reply. What the line does not take now is queued and written when it is
// writable; while the queue is full, whole writes are dropped, never part of
// a frame. A failing write (the line hung up) is left to the read side, which
// ends the service.
void RS232::write_to_line(const char* bytes, int size)
{
    if (m_fd < 0 || size <= 0)
        return;
    int written = 0;
    if (m_baPending.isEmpty()) {
        const ssize_t result = write_uninterrupted(m_fd, bytes, size);
        if (result < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            return;
        written = result > 0 ? int(result) : 0;
        if (written == size)
            return;
    }
    if (m_baPending.size() >= MAX_PENDING_OUTPUT) {
        if (!m_bDropLogged)
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    "RS232::send_raw_data: the PC does not read the line, output is dropped until it does");
        m_bDropLogged = true;
        return;
    }
    m_baPending.append(bytes + written, size - written);
    m_pWriteNotifier->setEnabled(true);
}

void RS232::on_writable()
{
    const ssize_t result = write_uninterrupted(m_fd, m_baPending.constData(), m_baPending.size());
    if (result > 0)
        m_baPending.remove(0, int(result));
    else if (result < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
        m_baPending.clear();
    if (m_baPending.isEmpty()) {
        m_pWriteNotifier->setEnabled(false);
        if (m_bDropLogged)
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "RS232::send_raw_data: the PC reads the line again");
        m_bDropLogged = false;
    }
}

void RS232::handle_message(RS232Message& message)
{
    const RS232Handler::ReplyFrame reply = m_pRegistry->exec_func(message);
    if (!reply.exists)
        return;
    RS232Message frame = reply.frame;
    send_message(&frame);
    if (!reply.logged_after.isEmpty())
        TVX_LOG(reply.logged_after_level, reply.logged_after);
}
