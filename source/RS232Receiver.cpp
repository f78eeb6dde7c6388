#include "RS232Receiver.h"

#include "CEventLogger.h"

namespace {
const unsigned char STX = 0x02;
const unsigned char ETX = 0x03;
const unsigned char FIRST_PRINTABLE = 0x20;
const unsigned char HIGHEST_GROUP = 2;
}

RS232Receiver::Event RS232Receiver::push(unsigned char byte)
{
    switch (m_iState) {
    case 0:
        if (byte == STX) {
            m_iState = 1;
            return NOTHING;
        }
        return byte >= FIRST_PRINTABLE ? TYPED_CHAR : NOTHING;
    case 1:
        m_message.set_command_id(byte);
        m_iState = 2;
        return NOTHING;
    case 2:
        if (byte > HIGHEST_GROUP)
            return REFUSED;
        m_message.set_group_id(byte);
        m_iState = 3;
        return NOTHING;
    case 3:
        m_message.set_length_lo(byte);
        m_iState = 4;
        return NOTHING;
    case 4:
        m_message.set_length_hi(byte);
        if (m_message.get_setted_length() > 0)
            m_message.reserve_data(m_message.get_setted_length());
        m_iState = m_message.is_data_complete() ? 6 : 5;
        return NOTHING;
    case 5:
        m_message.append_data_byte(byte);
        if (m_message.is_data_complete())
            m_iState = 6;
        return NOTHING;
    case 6:
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "stop");
        if (byte != ETX)
            return REFUSED;
        return m_message.is_valid() ? FRAME_VALID : FRAME_INVALID;
    }
    return REFUSED;
}

void RS232Receiver::reset()
{
    m_message.clear();
    m_iState = 0;
}
