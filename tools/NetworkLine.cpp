// SPDX-License-Identifier: BSD-2-Clause
#include "NetworkLine.h"

#include <QDeadlineTimer>

NetworkLine::NetworkLine(Protocol protocol, const QString& address, int timeoutMs)
    : m_protocol(protocol)
    , m_address(address)
    , m_timeoutMs(timeoutMs)
{
}

bool NetworkLine::open(bool, QString* error)
{
    // A tap only listens, but an RFC 2217 port is set to 9600 8N1 either way:
    // the server's serial port must run at the line's speed to hear it.
    const int colon = m_address.lastIndexOf(QLatin1Char(':'));
    bool numeric = false;
    const int port = m_address.mid(colon + 1).toInt(&numeric);
    QString host = m_address.left(colon);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2); // [::1]:4000
    if (colon <= 0 || !numeric || port <= 0 || port > 65535) {
        *error = QStringLiteral("\"%1\" is no host:port, e.g. 192.168.1.20:4000").arg(m_address);
        return false;
    }
    m_socket.connectToHost(host, quint16(port));
    if (!m_socket.waitForConnected(m_timeoutMs)) {
        *error = QStringLiteral("cannot connect to %1: %2").arg(m_address, m_socket.errorString());
        return false;
    }
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    return m_protocol == RawTcp || negotiate(error);
}

bool NetworkLine::negotiate(QString* error)
{
    const QString rawHint = QStringLiteral(" (if it is a raw TCP bridge, use tcp://%1)").arg(m_address);
    m_socket.write(TelnetCodec::greeting());
    if (!awaitServer([this] { return m_telnet.comPortOption() != TelnetCodec::Pending; })) {
        *error = QStringLiteral("%1 does not answer the RFC 2217 negotiation within %2 ms%3")
                     .arg(m_address)
                     .arg(m_timeoutMs)
                     .arg(rawHint);
        return false;
    }
    if (m_telnet.comPortOption() == TelnetCodec::Refused) {
        *error = QStringLiteral("%1 refuses RFC 2217 COM port control%2").arg(m_address, rawHint);
        return false;
    }
    m_socket.write(TelnetCodec::lineSettings());
    if (!awaitServer([this] { return m_telnet.baudRateConfirmed(); })) {
        *error = QStringLiteral("%1 did not confirm 9600 baud within %2 ms").arg(m_address).arg(m_timeoutMs);
        return false;
    }
    return true;
}

template <typename Condition> bool NetworkLine::awaitServer(Condition done)
{
    const QDeadlineTimer deadline(m_timeoutMs);
    while (!done()) {
        if (deadline.hasExpired() || receive(int(deadline.remainingTime())) == Failed)
            return false;
    }
    return true;
}

ByteLine::Result NetworkLine::receive(int timeoutMs)
{
    if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(timeoutMs)) {
        const bool connected = m_socket.state() == QAbstractSocket::ConnectedState;
        return connected && m_socket.error() == QAbstractSocket::SocketTimeoutError ? TimedOut : Failed;
    }
    const QByteArray bytes = m_socket.readAll();
    if (m_protocol == RawTcp) {
        m_data.append(bytes);
        return Ok;
    }
    QByteArray replies;
    m_telnet.receive(bytes, &m_data, &replies);
    if (!replies.isEmpty())
        m_socket.write(replies);
    return Ok;
}

ByteLine::Result NetworkLine::write(const QByteArray& bytes, int timeoutMs)
{
    m_socket.write(m_protocol == Rfc2217 ? TelnetCodec::escape(bytes) : bytes);
    while (m_socket.bytesToWrite() > 0) {
        if (!m_socket.waitForBytesWritten(timeoutMs))
            return m_socket.error() == QAbstractSocket::SocketTimeoutError ? TimedOut : Failed;
    }
    return Ok;
}

ByteLine::Result NetworkLine::read(int timeoutMs, QByteArray* bytes)
{
    // Telnet commands carry no data: wait on until data come or time is up.
    const QDeadlineTimer deadline(timeoutMs);
    while (m_data.isEmpty()) {
        const Result result = receive(int(deadline.remainingTime()));
        if (result != Ok)
            return result;
        if (m_data.isEmpty() && deadline.hasExpired())
            return TimedOut;
    }
    bytes->append(m_data);
    m_data.clear();
    return Ok;
}

void NetworkLine::discardInput()
{
    receive(0);
    m_data.clear();
}

QString NetworkLine::errorString() const
{
    if (m_socket.state() != QAbstractSocket::ConnectedState)
        return QStringLiteral("the connection to %1 ended: %2").arg(m_address, m_socket.errorString());
    return m_socket.errorString();
}
