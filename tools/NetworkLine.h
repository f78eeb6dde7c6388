// SPDX-License-Identifier: BSD-2-Clause
#ifndef NETWORKLINE_H
#define NETWORKLINE_H

#include "ByteLine.h"
#include "TelnetCodec.h"

#include <QTcpSocket>

// A serial line served over TCP: by an RFC 2217 server (ser2net in telnet
// mode, `scripts/run --listen`, a remote COM port), which this client sets
// to 9600 8N1, or by a raw TCP bridge that passes bytes as they are.
class NetworkLine : public ByteLine
{
public:
    enum Protocol { Rfc2217, RawTcp };

    // `address` is "host:port"; the connection and the negotiation each
    // get `timeoutMs`.
    NetworkLine(Protocol protocol, const QString& address, int timeoutMs);

    bool open(bool readOnly, QString* error) override;
    Result write(const QByteArray& bytes, int timeoutMs) override;
    Result read(int timeoutMs, QByteArray* bytes) override;
    void discardInput() override;
    QString errorString() const override;

private:
    // Waits for bytes from the socket; the line's data go to m_data.
    Result receive(int timeoutMs);
    bool negotiate(QString* error);
    // Waits until `done` holds, taking in what the server says meanwhile.
    template <typename Condition> bool awaitServer(Condition done);

    Protocol m_protocol;
    QString m_address;
    int m_timeoutMs;
    QTcpSocket m_socket;
    TelnetCodec m_telnet;
    QByteArray m_data; // arrived, not yet read
};

#endif
