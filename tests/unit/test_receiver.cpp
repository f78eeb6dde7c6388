// The frame receiver fed byte streams chunk by chunk, as the serial link
// feeds it: a refused byte ends its chunk, the state survives between chunks.
#include "CEventLogger.h"
#include "RS232Receiver.h"

#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// Feeds the chunks as the link does and returns one entry per event:
// "frame <text form>", "invalid", "char 0x<c>", "refused at <index in chunk>".
QStringList feed(RS232Receiver& receiver, const QList<QByteArray>& chunks)
{
    QStringList trace;
    for (const QByteArray& chunk : chunks) {
        for (int i = 0; i < chunk.size(); ++i) {
            const unsigned char byte = static_cast<unsigned char>(chunk.constData()[i]);
            const RS232Receiver::Event event = receiver.push(byte);
            if (event == RS232Receiver::TYPED_CHAR)
                trace << "char 0x" + QString::number(byte, 16);
            else if (event == RS232Receiver::FRAME_VALID)
                trace << "frame " + receiver.message().toStr();
            else if (event == RS232Receiver::FRAME_INVALID)
                trace << "invalid";
            if (event == RS232Receiver::NOTHING || event == RS232Receiver::TYPED_CHAR)
                continue;
            receiver.reset();
            if (event == RS232Receiver::REFUSED) {
                trace << "refused at " + QString::number(i);
                break;
            }
        }
    }
    return trace;
}

QList<QByteArray> oneBytePerChunk(const QByteArray& bytes)
{
    QList<QByteArray> chunks;
    for (char byte : bytes)
        chunks << QByteArray(1, byte);
    return chunks;
}

struct Case {
    const char* name;
    QByteArray bytes;
    QStringList trace;
};

// The largest frame: 255 + 255 data bytes, STX and ETX among them.
Case largestFrame()
{
    QByteArray data;
    QStringList text{"frame 0x77", "0x1", "0xff", "0xff"};
    for (int i = 0; i < 510; ++i) {
        data += char(i * 7);
        text << "0x" + QString::number(quint8(i * 7), 16);
    }
    return {"510 data bytes", hex("027701ffff") + data + hex("03"), {text.join('|')}};
}

const QList<Case>& allCases()
{
    static const QList<Case> all = {
        {"empty frame", hex("02 05 01 00 00 03"), {"frame 0x5|0x1|0x0|0x0|"}},
        {"sum length 1+1", hex("02 05 01 01 01 aa bb 03"), {"frame 0x5|0x1|0x1|0x1|0xaa|0xbb"}},
        {"group 0, ETX as command id", hex("02 03 00 00 00 03"), {"frame 0x3|0x0|0x0|0x0|"}},
        {"STX and ETX in data", hex("02 05 02 02 00 02 03 03"), {"frame 0x5|0x2|0x2|0x0|0x2|0x3"}},
        largestFrame(),
        {"one data byte too many", hex("02 05 01 01 00 41 42"), {"refused at 6"}},
        {"group 3 refused, the rest of the chunk lost", hex("02 05 03 00 00 03 02 06 01 00 00 03 41"), {"refused at 2"}},
        {"command id 0 swallowed", hex("02 00 01 00 00 03 02 06 01 00 00 03"), {"invalid", "frame 0x6|0x1|0x0|0x0|"}},
        {"two frames", hex("02 05 01 00 00 03 02 06 02 01 00 77 03"),
         {"frame 0x5|0x1|0x0|0x0|", "frame 0x6|0x2|0x1|0x0|0x77"}},
        {"typed text around a frame, high bytes too", hex("41 02 05 01 00 00 03 7f ff"),
         {"char 0x41", "frame 0x5|0x1|0x0|0x0|", "char 0x7f", "char 0xff"}},
        {"control bytes ignored, ACK and NAK too", hex("0d 0a 00 01 03 04 06 15 1f"), {}},
        {"printable bytes inside a frame are data", hex("02 41 01 02 00 48 69 03"), {"frame 0x41|0x1|0x2|0x0|0x48|0x69"}},
    };
    return all;
}
}

class TestReceiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // The receiver logs "stop" at level 0; keep the test output clean.
        CEventLogger::initialize("talvox-test", CEventLogger::LOG_LEVEL_EMERGENCY);
        CEventLogger::setLoggingEnabled(false);
    }

    // Each case in one read and, without a refusal, in one-byte reads with
    // the same events: the state survives between reads.
    void cases_data()
    {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<QStringList>("trace");
        for (const Case& c : allCases()) {
            QTest::newRow(c.name) << QList<QByteArray>{c.bytes} << c.trace;
            if (c.trace.filter("refused").isEmpty())
                QTest::addRow("%s, byte by byte", c.name) << oneBytePerChunk(c.bytes) << c.trace;
        }
    }

    void cases()
    {
        QFETCH(QList<QByteArray>, chunks);
        RS232Receiver receiver;
        QTEST(feed(receiver, chunks), "trace");
        QCOMPARE(receiver.state(), 0);
    }

    // A refusal starts clean: nothing of the broken frame leaks into the
    // next one. In one-byte reads it costs only the refused byte.
    void refusalCostsItsChunk()
    {
        const QByteArray bytes = hex("02 05 01 03 00 aa bb cc 04 02 06 01 00 00 03");
        RS232Receiver receiver;
        QCOMPARE(feed(receiver, {bytes}), QStringList{"refused at 8"});
        QCOMPARE(receiver.message().toStr(), QString("0x0|0xff|0x0|0x0|"));
        QCOMPARE(feed(receiver, {hex("0206010100dd03")}), QStringList{"frame 0x6|0x1|0x1|0x0|0xdd"});
        QCOMPARE(feed(receiver, oneBytePerChunk(bytes)), (QStringList{"refused at 0", "frame 0x6|0x1|0x0|0x0|"}));

        // A frame waiting for its ETX is refused at the next chunk's first byte.
        QCOMPARE(feed(receiver, {hex("0205010000"), hex("41020501000003")}), QStringList{"refused at 0"});
    }
};

QTEST_APPLESS_MAIN(TestReceiver)
#include "test_receiver.moc"
