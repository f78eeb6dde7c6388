#include "SerialLink.h"

#include <QDeadlineTimer>


namespace {
const unsigned char ACK = 0x06;
const unsigned char NAK = 0x15;
}

bool SerialLink::open(const QString& device, int timeoutMs, QString* error)
{
    m_line = makeByteLine(device, timeoutMs);
    return m_line->open(false, error);
}

SerialLink::Outcome SerialLink::exchange(const RS232Message& request, bool awaitReply, int timeoutMs,
                                         RS232Message* reply, QByteArray* received)
{
    // Bytes left over from an earlier exchange (a reply that came after its
    // time-out) do not belong to this one.
    m_line->discardInput();
    m_receiver.reset();
    const ByteLine::Result written = m_line->write(request.to_frame(), timeoutMs);
    if (written != ByteLine::Ok)
        return written == ByteLine::TimedOut ? TimedOut : LineFailed;

    const QDeadlineTimer deadline(timeoutMs);
    bool acknowledged = false;
    for (;;) {
        QByteArray chunk;
        const ByteLine::Result result = m_line->read(int(deadline.remainingTime()), &chunk);
        if (result != ByteLine::Ok)
            return result == ByteLine::TimedOut || deadline.hasExpired() ? TimedOut : LineFailed;
        received->append(chunk);
        for (const char c : chunk) {
            const unsigned char byte = static_cast<unsigned char>(c);
            // ACK and NAK stand alone, outside any frame.
            if (!acknowledged && m_receiver.state() == 0 && (byte == ACK || byte == NAK)) {
                if (byte == NAK)
                    return Refused;
                acknowledged = true;
                if (!awaitReply)
                    return Acknowledged;
                continue;
            }
            const RS232Receiver::Event event = m_receiver.push(byte);
            if (event == RS232Receiver::FRAME_VALID && acknowledged) {
                reply->set_command_id(m_receiver.message().get_command_id());
                reply->set_group_id(m_receiver.message().get_group_id());
                reply->set_data(m_receiver.message().data());
                m_receiver.reset();
                return Acknowledged;
            }
            if (event == RS232Receiver::FRAME_VALID || event == RS232Receiver::FRAME_INVALID
                || event == RS232Receiver::REFUSED)
                m_receiver.reset();
        }
    }
}
