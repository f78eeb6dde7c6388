// SPDX-License-Identifier: BSD-2-Clause
#ifndef TELNETCODEC_H
#define TELNETCODEC_H

#include <QByteArray>

// The Telnet layer of a remote serial port (RFC 854 and RFC 2217, the COM
// port control option): only as much as a client of a 9600 8N1 line needs.
// A pure state machine over bytes, like the frame receiver, so that it can
// be tested without a network.
//
// On the wire every data byte 0xFF (IAC) is doubled; IAC followed by
// anything else is a Telnet command. This protocol sends 0xFF often
// (command id 0xFF, length 0xFF, texts), so the escaping matters both ways.
class TelnetCodec
{
public:
    enum Answer { Pending, Accepted, Refused };

    // What the client says first, before anything else: it will send and
    // receive binary, and it wants to control the COM port.
    static QByteArray greeting();

    TelnetCodec();
    // 9600 baud, 8 data bits, no parity, 1 stop bit, no flow control; sent
    // once the server has accepted the COM port option.
    static QByteArray lineSettings();
    // Data bytes for the wire: IAC doubled.
    static QByteArray escape(const QByteArray& data);

    // Bytes from the wire: the line's data are appended to *data, answers
    // the server's requests need to *replies (to be sent back).
    void receive(const QByteArray& bytes, QByteArray* data, QByteArray* replies);

    // The server's answer to "WILL COM-PORT-OPTION".
    Answer comPortOption() const { return m_comPort; }
    // The server has confirmed the baud rate: the port is set up.
    bool baudRateConfirmed() const { return m_baudRateConfirmed; }

private:
    void command(unsigned char verb, unsigned char option, QByteArray* replies);
    void subnegotiation();

    enum State { Data, Command, Option, Sub, SubCommand };
    State m_state = Data;
    unsigned char m_verb = 0;
    QByteArray m_sub;
    Answer m_comPort = Pending;
    bool m_baudRateConfirmed = false;
    // Options this side asked for or agreed to, and refused, so that an
    // answer is never answered again (no negotiation loops).
    bool m_weDo[256] = {};
    bool m_weWill[256] = {};
    bool m_refused[256] = {};
};

#endif
