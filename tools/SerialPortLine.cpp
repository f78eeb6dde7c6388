// SPDX-License-Identifier: BSD-2-Clause
#include "SerialPortLine.h"

SerialPortLine::SerialPortLine(const QString& device)
    : m_device(device)
{
    m_port.setPortName(device);
}

bool SerialPortLine::open(bool readOnly, QString* error)
{
    // Messages name the device as it was given (QSerialPort drops "/dev/").
    const QString& device = m_device;
    if (!m_port.open(readOnly ? QIODevice::ReadOnly : QIODevice::ReadWrite)) {
        *error = QStringLiteral("cannot open %1: %2").arg(device, m_port.errorString());
        return false;
    }
    const bool configured = m_port.setBaudRate(QSerialPort::Baud9600) && m_port.setDataBits(QSerialPort::Data8)
        && m_port.setParity(QSerialPort::NoParity) && m_port.setStopBits(QSerialPort::OneStop)
        && m_port.setFlowControl(QSerialPort::NoFlowControl);
    if (!configured) {
        *error = QStringLiteral("cannot set %1 to 9600 8N1: %2").arg(device, m_port.errorString());
        return false;
    }
    return true;
}

ByteLine::Result SerialPortLine::write(const QByteArray& bytes, int timeoutMs)
{
    m_port.write(bytes);
    if (m_port.waitForBytesWritten(timeoutMs))
        return Ok;
    return m_port.error() == QSerialPort::TimeoutError ? TimedOut : Failed;
}

ByteLine::Result SerialPortLine::read(int timeoutMs, QByteArray* bytes)
{
    // A line whose other end went away (a pty's master closed, an adapter
    // pulled) reports a read error, with or without an empty read first.
    const auto failed = [this] {
        m_hungUp = m_port.error() == QSerialPort::ReadError || m_port.error() == QSerialPort::ResourceError;
        return Failed;
    };
    if (m_port.bytesAvailable() == 0 && !m_port.waitForReadyRead(timeoutMs))
        return m_port.error() == QSerialPort::TimeoutError ? TimedOut : failed();
    const QByteArray chunk = m_port.readAll();
    if (chunk.isEmpty() && m_port.error() != QSerialPort::NoError && m_port.error() != QSerialPort::TimeoutError)
        return failed();
    bytes->append(chunk);
    return Ok;
}
