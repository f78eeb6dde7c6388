// Cost of the receive path per byte: frames of typical sizes, loose typed
// text and line noise pushed through the frame receiver, and the reply path
// (message to frame bytes).
#include "CEventLogger.h"
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

// Pushes a whole stream as the serial link does, resetting after each frame.
int pushAll(RS232Receiver& receiver, const QByteArray& stream)
{
    int frames = 0;
    const char* bytes = stream.constData();
    for (int i = 0; i < stream.size(); ++i) {
        switch (receiver.push(static_cast<unsigned char>(bytes[i]))) {
        case RS232Receiver::FRAME_VALID:
            ++frames;
            receiver.reset();
            break;
        case RS232Receiver::FRAME_INVALID:
        case RS232Receiver::REFUSED:
            receiver.reset();
            break;
        default:
            break;
        }
    }
    return frames;
}
}

class BenchReceiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // The receiver logs "stop" at level 0 for every frame; that is a
        // syslog call, measured elsewhere. Here only the receiver counts.
        CEventLogger::initialize("bench", CEventLogger::LOG_LEVEL_EMERGENCY);
        CEventLogger::setLoggingEnabled(false);
    }

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
        int frames = 0;
        QBENCHMARK { frames += pushAll(receiver, stream); }
        QVERIFY(frames >= 0);
    }

    void encodeReply()
    {
        RS232Message reply;
        reply.set_command_id(0xD4);
        reply.set_group_id(1);
        QBENCHMARK {
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
