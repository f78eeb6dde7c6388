// SPDX-License-Identifier: BSD-2-Clause
#ifndef SERIALPORTLINE_H
#define SERIALPORTLINE_H

#include "ByteLine.h"

#include <QSerialPort>

// A serial device, at the line's 9600 baud, 8N1, no flow control.
class SerialPortLine : public ByteLine
{
public:
    explicit SerialPortLine(const QString& device);

    bool open(bool readOnly, QString* error) override;
    Result write(const QByteArray& bytes, int timeoutMs) override;
    Result read(int timeoutMs, QByteArray* bytes) override;
    void discardInput() override { m_port.clear(QSerialPort::Input); }
    QString errorString() const override
    {
        return m_hungUp ? QStringLiteral("the line hung up (or its adapter was pulled)") : m_port.errorString();
    }

private:
    QString m_device;
    QSerialPort m_port;
    bool m_hungUp = false;
};

#endif
