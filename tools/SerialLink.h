// SPDX-License-Identifier: BSD-2-Clause
#ifndef SERIALLINK_H
#define SERIALLINK_H

#include "ByteLine.h"
#include "RS232Receiver.h"

#include <QByteArray>
#include <QString>

#include <memory>

// The PC end of the serial line (a device, or a port served over the
// network; see ByteLine). One exchange writes a frame and waits for the
// controller's ACK (0x06) or NAK (0x15) and, for a query, for its reply
// frame. The reply is parsed by the service's own frame receiver.
class SerialLink
{
public:
    enum Outcome {
        Acknowledged, // ACK, and the reply if one was awaited
        Refused,      // NAK: the controller refused the frame
        TimedOut,     // no ACK or no reply within the time-out
        LineFailed    // the device failed while in use
    };

    // `timeoutMs` also bounds connecting to a network line.
    bool open(const QString& device, int timeoutMs, QString* error);

    // `received` collects every byte read during the exchange (for --raw).
    Outcome exchange(const RS232Message& request, bool awaitReply, int timeoutMs, RS232Message* reply,
                     QByteArray* received);

private:
    std::unique_ptr<ByteLine> m_line;
    RS232Receiver m_receiver;
};

#endif
