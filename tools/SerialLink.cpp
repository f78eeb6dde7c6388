// SPDX-License-Identifier: BSD-2-Clause
#include "SerialLink.h"

#include "Protocol.h"

#include <QDeadlineTimer>

namespace {
using Protocol::ACK;
using Protocol::NAK;

// The controller's answer, read by the service's own receiver: ACK or NAK
// stand alone outside any frame; the reply is the first frame after the ACK.
class AnswerSink : public RS232ReceiverSink
{
public:
    AnswerSink(bool awaitReply, RS232Message* reply)
        : m_awaitReply(awaitReply)
        , m_reply(reply)
    {
    }

    bool refused() const { return m_refused; }
    bool done() const { return m_refused || (m_acknowledged && (!m_awaitReply || m_replied)); }

    void control_byte(unsigned char byte) override
    {
        if (m_acknowledged || m_refused)
            return;
        m_refused = byte == NAK;
        m_acknowledged = byte == ACK;
    }

    void handle_frame(RS232Message& message) override
    {
        if (!m_acknowledged || m_replied)
            return;
        m_reply->set_command_id(message.get_command_id());
        m_reply->set_group_id(message.get_group_id());
        m_reply->set_data(message.data());
        if (message.get_data_length() > RS232Message::MAX_SHORT_DATA_LENGTH)
            m_reply->set_long_length();
        m_replied = true;
    }

    // The PC's side answers nothing and types nothing.
    void acknowledge() override { }
    void refuse(const QByteArray&, int) override { }
    void type_char(char) override { }

private:
    bool m_awaitReply;
    RS232Message* m_reply;
    bool m_acknowledged = false;
    bool m_refused = false;
    bool m_replied = false;
};
} // namespace

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
    AnswerSink answer(awaitReply, reply);
    while (!answer.done()) {
        QByteArray chunk;
        const ByteLine::Result result = m_line->read(int(deadline.remainingTime()), &chunk);
        if (result != ByteLine::Ok)
            return result == ByteLine::TimedOut || deadline.hasExpired() ? TimedOut : LineFailed;
        received->append(chunk);
        m_receiver.receive(chunk, answer);
    }
    return answer.refused() ? Refused : Acknowledged;
}
