#include "SerialLink.h"

#include <QDeadlineTimer>

namespace {
const unsigned char ACK = 0x06;
const unsigned char NAK = 0x15;
}

bool SerialLink::open(const QString& device, QString* error)
{
    m_port.setPortName(device);
    if (!m_port.open(QIODevice::ReadWrite)) {
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

SerialLink::Outcome SerialLink::exchange(const RS232Message& request, bool awaitReply, int timeoutMs,
                                         RS232Message* reply, QByteArray* received)
{
    // Bytes left over from an earlier exchange (a reply that came after its
    // time-out) do not belong to this one.
    m_port.clear(QSerialPort::Input);
    m_receiver.reset();
    m_port.write(request.to_frame());
    if (!m_port.waitForBytesWritten(timeoutMs))
        return m_port.error() == QSerialPort::TimeoutError ? TimedOut : LineFailed;

    const QDeadlineTimer deadline(timeoutMs);
    bool acknowledged = false;
    for (;;) {
        if (m_port.bytesAvailable() == 0 && !m_port.waitForReadyRead(int(deadline.remainingTime())))
            return m_port.error() == QSerialPort::TimeoutError || deadline.hasExpired() ? TimedOut : LineFailed;
        const QByteArray chunk = m_port.readAll();
        received->append(chunk);
        for (const char c : chunk) {
            const unsigned char byte = static_cast<unsigned char>(c);
            // ACK and NAK stand alone, outside any frame.
            if (!acknowledged && m_receiver.state() == 0 && (byte == ACK || byte == NAK)) {
                if (byte == NAK)
                    return Refused;
                acknowledged = true;
                if (!awaitReply)
                    return Acknowledged;
                continue;
            }
            const RS232Receiver::Event event = m_receiver.push(byte);
            if (event == RS232Receiver::FRAME_VALID && acknowledged) {
                reply->set_command_id(m_receiver.message().get_command_id());
                reply->set_group_id(m_receiver.message().get_group_id());
                reply->set_data(m_receiver.message().data());
                m_receiver.reset();
                return Acknowledged;
            }
            if (event == RS232Receiver::FRAME_VALID || event == RS232Receiver::FRAME_INVALID
                || event == RS232Receiver::REFUSED)
                m_receiver.reset();
        }
    }
}
