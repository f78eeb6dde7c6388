// SPDX-License-Identifier: BSD-2-Clause
#include "RS232.h"

#include "CEventLogger.h"
#include "Protocol.h"
#include "RS232Handler.h"
#include "SerialTty.h"

#include <QSocketNotifier>

#include <cerrno>
#include <mutex>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {
// write(2), resumed when a signal interrupts it.
ssize_t writeUninterrupted(int fd, const char* bytes, int size)
{
    ssize_t result;
    do
        result = ::write(fd, bytes, size_t(size));
    while (result < 0 && errno == EINTR);
    return result;
}

// Bytes the tty has received and not yet handed out.
int waitingBytes(int fd)
{
    int waiting = 0;
    return ::ioctl(fd, FIONREAD, &waiting) == 0 ? waiting : 0;
}
} // namespace

RS232::RS232(int fd, RS232Handler& registry)
    : m_registry(registry)
    , m_fd(fd)
    // A hang-up or a vanished adapter wakes the read notifier too; the read
    // then fails or returns nothing, and the line is lost.
    , m_pReadNotifier(new QSocketNotifier(fd, QSocketNotifier::Read, this))
    , m_pWriteNotifier(new QSocketNotifier(fd, QSocketNotifier::Write, this))
{
    m_chunk.reserve(512);
    connect(m_pReadNotifier, &QSocketNotifier::activated, this, &RS232::receive_rs232_message);
    m_pWriteNotifier->setEnabled(false);
    connect(m_pWriteNotifier, &QSocketNotifier::activated, this, &RS232::on_writable);
    m_frameSilence.setSingleShot(true);
    m_frameSilence.setInterval(FRAME_SILENCE_MS);
    connect(&m_frameSilence, &QTimer::timeout, this, &RS232::on_frame_silence);
    m_typedGather.setSingleShot(true);
    m_typedGather.setTimerType(Qt::PreciseTimer);
    m_typedGather.setInterval(TYPED_GATHER_MS);
    connect(&m_typedGather, &QTimer::timeout, this, &RS232::on_typed_gathered);
}

RS232::~RS232()
{
    close();
}

void RS232::close()
{
    m_pReadNotifier->setEnabled(false);
    m_pWriteNotifier->setEnabled(false);
    m_baPending.clear();
    m_frameSilence.stop();
    m_typedGather.stop();
    m_receiver.reset();
    SerialTty::closeLine(m_fd);
    m_fd = -1;
}

void RS232::receive_rs232_message()
{
    const std::unique_lock<QMutex> guard(m_receiveLock, std::try_to_lock);
    if (!guard.owns_lock()) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "Rubo-mutex");
        // The line is read once the read under way is done.
        if (!m_pReadNotifier->isEnabled())
            m_typedGather.start();
        return;
    }

    m_chunk.resize(qMax(waitingBytes(m_fd), 1));
    ssize_t got;
    do
        got = ::read(m_fd, m_chunk.data(), size_t(m_chunk.size()));
    while (got < 0 && errno == EINTR);
    // Woken for nothing (the bytes went to an earlier read), or no more text
    // came: the notifier waits for the next byte.
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        m_pReadNotifier->setEnabled(true);
        return;
    }
    // End of file, EIO after a hang-up, or the device gone.
    if (got <= 0) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "data or not data - this is the question");
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY,
                                 "something has break the talvox in RS232::receive_rs232_message");
        // A hung-up tty stays readable: it is not read again.
        m_pReadNotifier->setEnabled(false);
        emit line_lost();
        return;
    }
    m_chunk.resize(int(got));

    m_bRefused = false;
    m_receiver.receive(m_chunk, *this);
    // An open frame must go on arriving; one left half sent must not hold
    // back every frame after it.
    if (m_receiver.in_frame())
        m_frameSilence.start();
    else
        m_frameSilence.stop();
    // Outside a frame and not refused, a printable last byte was typed: more
    // text is likely on its way and is left to gather. While text goes on
    // coming the notifier stays off: switching it costs the event loop a
    // wake-up each way.
    const bool typedLast = !m_receiver.in_frame() && !m_bRefused
        && static_cast<unsigned char>(m_chunk.back()) >= Protocol::FIRST_PRINTABLE;
    m_pReadNotifier->setEnabled(!typedLast);
    if (typedLast)
        m_typedGather.start();
}

void RS232::on_typed_gathered()
{
    // Whatever came meanwhile, a hang-up included, is read now.
    receive_rs232_message();
}

void RS232::refuse(const QByteArray& chunk, int)
{
    m_bRefused = true;
    // The log shows the whole read, the refused byte somewhere in it.
    TVX_LOG(CEventLogger::LOG_LEVEL_EMERGENCY,
            "RS232::receive_rs232_message: message invalid: " + QString::fromLatin1(chunk.toHex()));
    nack();
}

void RS232::type_char(char byte)
{
    m_registry.add_char_to_line(byte);
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
    if (waitingBytes(m_fd) > 0) {
        m_frameSilence.start();
        return;
    }
    TVX_LOG(
        CEventLogger::LOG_LEVEL_EMERGENCY,
        QString("RS232::receive_rs232_message: incomplete frame dropped after %1 ms of silence: ").arg(FRAME_SILENCE_MS)
            + m_receiver.message().toStr());
    m_receiver.reset();
}

void RS232::ack()
{
    send_raw_data(QByteArray(1, char(Protocol::ACK)));
}

void RS232::nack()
{
    send_raw_data(QByteArray(1, char(Protocol::NAK)));
}

void RS232::send_message(RS232Message& message)
{
    // Longer data spreads its length over both bytes, up to what they can announce.
    if (message.get_data_length() > RS232Message::MAX_SHORT_DATA_LENGTH) {
        const int size = message.get_data_length();
        if (!message.set_long_length())
            TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                    QString("RS232::send_message: reply of %1 bytes cut to %2")
                        .arg(size)
                        .arg(RS232Message::MAX_DATA_LENGTH));
    }
    if (!message.is_valid()) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                "RS232::send_message: RS232Message(" + message.toStr() + ") is not valid");
        return;
    }
    send_raw_data(message.to_frame());
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
        const ssize_t result = writeUninterrupted(m_fd, bytes, size);
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
    const ssize_t result = writeUninterrupted(m_fd, m_baPending.constData(), m_baPending.size());
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

void RS232::handle_frame(RS232Message& message)
{
    RS232Handler::ReplyFrame reply = m_registry.exec_func(message);
    if (!reply.exists)
        return;
    send_message(*reply.frame);
    if (!reply.logged_after.isEmpty())
        TVX_LOG(reply.logged_after_level, reply.logged_after);
}
