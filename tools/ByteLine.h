// SPDX-License-Identifier: BSD-2-Clause
#ifndef BYTELINE_H
#define BYTELINE_H

#include <QByteArray>
#include <QString>

#include <memory>

// One end of a line that carries the protocol's bytes: a serial device, or
// a serial port served over the network. The protocol code above it
// (SerialLink, the trace decoder) neither knows nor cares which.
class ByteLine
{
public:
    enum Result { Ok, TimedOut, Failed };

    virtual ~ByteLine() = default;

    // A read-only line only listens (a tap on someone else's line).
    virtual bool open(bool readOnly, QString* error) = 0;
    virtual Result write(const QByteArray& bytes, int timeoutMs) = 0;
    // Appends what has arrived, waiting up to timeoutMs if nothing has yet.
    virtual Result read(int timeoutMs, QByteArray* bytes) = 0;
    // Drops what has arrived and not been read.
    virtual void discardInput() = 0;
    virtual QString errorString() const = 0;
};

// "rfc2217://host:port" and "tcp://host:port" name network lines; anything
// else is a serial device path. A network line gets `timeoutMs` to connect
// and to agree on the port's settings.
std::unique_ptr<ByteLine> makeByteLine(const QString& device, int timeoutMs);

#endif
