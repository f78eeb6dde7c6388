// SPDX-License-Identifier: BSD-2-Clause
// Cost of the receive path per byte: frames of typical sizes, loose typed
// text and line noise pushed through the frame receiver, and the reply path
// (message to frame bytes).
#include "RS232Message.h"
#include "RS232Receiver.h"

#include <QtTest>

namespace {
QByteArray frame(unsigned char command, unsigned char group, const QByteArray& data)
{
    QByteArray bytes;
    bytes.append(char(0x02)).append(char(command)).append(char(group));
    bytes.append(char(data.size() & 0xFF)).append(char(0));
    bytes.append(data).append(char(0x03));
    return bytes;
}

// Counts frames; the link's own actions (ACK, dispatch, log) are measured elsewhere.
class CountingSink : public RS232ReceiverSink
{
public:
    int frames = 0;
    void acknowledge() override { }
    void handle_frame(RS232Message&) override { ++frames; }
    void refuse(const QByteArray&, int) override { }
    void type_char(char) override { }
};
} // namespace

class BenchReceiver : public QObject
{
    Q_OBJECT

private slots:
    void receive_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QByteArray queries, lines, typed, noise;
        for (int i = 0; i < 1000; ++i)
            queries += frame(0x30, 1, QByteArray());
        for (int i = 0; i < 100; ++i)
            lines += frame(0x98, 2, QByteArray(1, 5) + QByteArray(39, 'x'));
        typed = QByteArray(10000, 'a');
        for (int i = 0; i < 10000; ++i)
            noise.append(char((i * 131 + 7) & 0xFF));
        QTest::newRow("1000 empty queries") << queries;
        QTest::newRow("100 line settings of 40 bytes") << lines;
        QTest::newRow("10000 typed characters") << typed;
        QTest::newRow("10000 bytes of noise") << noise;
    }

    void receive()
    {
        QFETCH(QByteArray, stream);
        RS232Receiver receiver;
        CountingSink sink;
        QBENCHMARK
        {
            receiver.receive(stream, sink);
        }
        QVERIFY(sink.frames >= 0);
    }

    void encodeReply()
    {
        RS232Message reply;
        reply.set_command_id(0xD4);
        reply.set_group_id(1);
        QBENCHMARK
        {
            QByteArray data = RS232Message::double_to_bytearray(1.0);
            data += RS232Message::double_to_bytearray(0.0);
            data += RS232Message::double_to_bytearray(-1.0);
            data += RS232Message::float_to_bytearray(2.5f);
            reply.set_data(data);
        }
        QCOMPARE(reply.get_data_length(), 28);
    }
};

QTEST_GUILESS_MAIN(BenchReceiver)
#include "bench_receiver.moc"
