// SPDX-License-Identifier: BSD-2-Clause
#include "TelnetCodec.h"

namespace {
const unsigned char IAC = 255;
const unsigned char DONT = 254;
const unsigned char DO = 253;
const unsigned char WONT = 252;
const unsigned char WILL = 251;
const unsigned char SB = 250;
const unsigned char SE = 240;

const unsigned char BINARY = 0;
const unsigned char SUPPRESS_GO_AHEAD = 3;
const unsigned char COM_PORT_OPTION = 44;

// COM port control subcommands; the server answers each with it + 100.
const unsigned char SET_BAUDRATE = 1;
const unsigned char SET_DATASIZE = 2;
const unsigned char SET_PARITY = 3;
const unsigned char SET_STOPSIZE = 4;
const unsigned char SET_CONTROL = 5;
const unsigned char SERVER_OFFSET = 100;
const unsigned char PARITY_NONE = 1;
const unsigned char ONE_STOP_BIT = 1;
const unsigned char NO_FLOW_CONTROL = 1;
const quint32 BAUD_RATE = 9600;

QByteArray verb(unsigned char verb, unsigned char option)
{
    const char bytes[] = { char(IAC), char(verb), char(option) };
    return QByteArray(bytes, sizeof bytes);
}

QByteArray comPortCommand(unsigned char subcommand, const QByteArray& value)
{
    return QByteArray(1, char(IAC)) + char(SB) + char(COM_PORT_OPTION) + char(subcommand) + TelnetCodec::escape(value)
        + char(IAC) + char(SE);
}
} // namespace

QByteArray TelnetCodec::greeting()
{
    return verb(WILL, BINARY) + verb(DO, BINARY) + verb(WILL, COM_PORT_OPTION);
}

QByteArray TelnetCodec::lineSettings()
{
    const char baud[] = { char(BAUD_RATE >> 24), char(BAUD_RATE >> 16), char(BAUD_RATE >> 8), char(BAUD_RATE) };
    return comPortCommand(SET_BAUDRATE, QByteArray(baud, sizeof baud)) + comPortCommand(SET_DATASIZE, QByteArray(1, 8))
        + comPortCommand(SET_PARITY, QByteArray(1, char(PARITY_NONE)))
        + comPortCommand(SET_STOPSIZE, QByteArray(1, char(ONE_STOP_BIT)))
        + comPortCommand(SET_CONTROL, QByteArray(1, char(NO_FLOW_CONTROL)));
}

QByteArray TelnetCodec::escape(const QByteArray& data)
{
    QByteArray escaped;
    escaped.reserve(data.size());
    for (const char c : data) {
        escaped.append(c);
        if (static_cast<unsigned char>(c) == IAC)
            escaped.append(c);
    }
    return escaped;
}

TelnetCodec::TelnetCodec()
{
    // What the greeting asked for.
    m_weWill[BINARY] = m_weDo[BINARY] = m_weWill[COM_PORT_OPTION] = true;
}

void TelnetCodec::receive(const QByteArray& bytes, QByteArray* data, QByteArray* replies)
{
    for (const char c : bytes) {
        const unsigned char byte = static_cast<unsigned char>(c);
        switch (m_state) {
        case Data:
            if (byte == IAC)
                m_state = Command;
            else
                data->append(c);
            break;
        case Command:
            m_state = Data;
            if (byte == IAC) {
                data->append(c);
            } else if (byte >= WILL) {
                m_verb = byte;
                m_state = Option;
            } else if (byte == SB) {
                m_sub.clear();
                m_state = Sub;
            } // other commands (NOP, go ahead, break...) mean nothing on a data line
            break;
        case Option:
            command(m_verb, byte, replies);
            m_state = Data;
            break;
        case Sub:
            if (byte == IAC)
                m_state = SubCommand;
            else
                m_sub.append(c);
            break;
        case SubCommand:
            if (byte == IAC) {
                m_sub.append(c);
                m_state = Sub;
            } else {
                // IAC SE, or a broken subnegotiation: either way it ends here.
                subnegotiation();
                m_state = Data;
            }
            break;
        }
    }
}

void TelnetCodec::command(unsigned char request, unsigned char option, QByteArray* replies)
{
    switch (request) {
    case DO: // the server asks this side to use an option
        if (option == COM_PORT_OPTION)
            m_comPort = Accepted;
        if (option == BINARY || option == COM_PORT_OPTION) {
            if (!m_weWill[option])
                replies->append(verb(WILL, option));
            m_weWill[option] = true;
        } else if (!m_refused[option]) {
            replies->append(verb(WONT, option));
            m_refused[option] = true;
        }
        break;
    case DONT:
        if (option == COM_PORT_OPTION)
            m_comPort = Refused;
        if (m_weWill[option])
            replies->append(verb(WONT, option));
        m_weWill[option] = false;
        break;
    case WILL: // the server offers to use an option
        if (option == BINARY || option == SUPPRESS_GO_AHEAD) {
            if (!m_weDo[option])
                replies->append(verb(DO, option));
            m_weDo[option] = true;
        } else if (!m_refused[option]) {
            replies->append(verb(DONT, option));
            m_refused[option] = true;
        }
        break;
    case WONT:
        if (m_weDo[option])
            replies->append(verb(DONT, option));
        m_weDo[option] = false;
        break;
    }
}

void TelnetCodec::subnegotiation()
{
    // Line and modem state notifications and the other confirmations are
    // of no use to a client that only needs its bytes across.
    if (m_sub.size() >= 2 && static_cast<unsigned char>(m_sub[0]) == COM_PORT_OPTION
        && static_cast<unsigned char>(m_sub[1]) == SERVER_OFFSET + SET_BAUDRATE)
        m_baudRateConfirmed = true;
}
