#ifndef SERIALLINK_H
#define SERIALLINK_H

#include "RS232Receiver.h"

#include <QByteArray>
#include <QSerialPort>
#include <QString>

// The PC end of the serial line: 9600 baud, 8N1. One exchange writes a
// frame and waits for the controller's ACK (0x06) or NAK (0x15) and, for a
// query, for its reply frame. The reply is parsed by the service's own
// frame receiver.
class SerialLink
{
public:
    enum Outcome {
        Acknowledged, // ACK, and the reply if one was awaited
        Refused,      // NAK: the controller refused the frame
        TimedOut,     // no ACK or no reply within the time-out
        LineFailed    // the device failed while in use
    };

    bool open(const QString& device, QString* error);

    // `received` collects every byte read during the exchange (for --raw).
    Outcome exchange(const RS232Message& request, bool awaitReply, int timeoutMs, RS232Message* reply,
                     QByteArray* received);

private:
    QSerialPort m_port;
    RS232Receiver m_receiver;
};

#endif
