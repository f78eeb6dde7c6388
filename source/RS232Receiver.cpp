// SPDX-License-Identifier: BSD-2-Clause
#include "RS232Receiver.h"

#include "Protocol.h"

namespace {
using Protocol::ETX;
using Protocol::FIRST_PRINTABLE;
using Protocol::STX;
const unsigned char HIGHEST_GROUP = Protocol::GROUP_COUNT - 1;
} // namespace

void RS232Receiver::receive(const QByteArray& chunk, RS232ReceiverSink& sink)
{
    const char* bytes = chunk.constData();
    for (int i = 0; i < chunk.size(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(bytes[i]);
        if (m_state == State::End)
            sink.end_due();
        switch (push(byte)) {
        case Event::Nothing:
            break;
        case Event::TypedChar:
            sink.type_char(static_cast<char>(byte));
            break;
        case Event::ControlByte:
            sink.control_byte(byte);
            break;
        case Event::FrameValid:
            // The PC always sees the ACK ahead of any reply.
            sink.acknowledge();
            sink.handle_frame(m_message);
            reset();
            break;
        case Event::FrameInvalid:
            sink.swallow_frame(m_message);
            reset();
            break;
        case Event::Refused:
            reset();
            sink.refuse(chunk, i);
            return;
        }
    }
}

RS232Receiver::Event RS232Receiver::push(unsigned char byte)
{
    switch (m_state) {
    case State::Idle:
        if (byte == STX) {
            m_state = State::CommandId;
            return Event::Nothing;
        }
        return byte >= FIRST_PRINTABLE ? Event::TypedChar : Event::ControlByte;
    case State::CommandId:
        m_message.set_command_id(byte);
        m_state = State::GroupId;
        return Event::Nothing;
    case State::GroupId:
        if (byte > HIGHEST_GROUP)
            return Event::Refused;
        m_message.set_group_id(byte);
        m_state = State::LengthLo;
        return Event::Nothing;
    case State::LengthLo:
        m_message.set_length_lo(byte);
        m_state = State::LengthHi;
        return Event::Nothing;
    case State::LengthHi:
        m_message.set_length_hi(byte);
        if (m_message.get_setted_length() > 0)
            m_message.reserve_data(m_message.get_setted_length());
        m_state = m_message.is_data_complete() ? State::End : State::Data;
        return Event::Nothing;
    case State::Data:
        m_message.append_data_byte(byte);
        if (m_message.is_data_complete())
            m_state = State::End;
        return Event::Nothing;
    case State::End:
        if (byte != ETX)
            return Event::Refused;
        return m_message.is_valid() ? Event::FrameValid : Event::FrameInvalid;
    }
    return Event::Refused;
}

void RS232Receiver::reset()
{
    m_message.clear();
    m_state = State::Idle;
}
