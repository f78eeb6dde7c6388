// The frame receiver fed byte streams read by read, as the serial link feeds it: the ACK before the frame,
// a refused byte ends its read, the state survives between reads.
#include "RS232Receiver.h"

#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// One entry per event: "ack", "frame <text>", "invalid", "char 0x<c>", "NAK at i".
class TraceSink : public RS232ReceiverSink
{
public:
    QStringList trace;
    void acknowledge() override { trace << "ack"; }
    void handle_frame(RS232Message& message) override { trace << "frame " + message.toStr(); }
    void refuse(const QByteArray&, int index) override { trace << "NAK at " + QString::number(index); }
    void type_char(char byte) override { trace << "char 0x" + QString::number(quint8(byte), 16); }
    void swallow_frame(const RS232Message&) override { trace << "invalid"; }
};

QStringList feed(RS232Receiver& receiver, const QList<QByteArray>& chunks)
{
    TraceSink sink;
    for (const QByteArray& chunk : chunks)
        receiver.receive(chunk, sink);
    return sink.trace;
}

QList<QByteArray> oneBytePerChunk(const QByteArray& bytes)
{
    QList<QByteArray> chunks;
    for (char byte : bytes)
        chunks << QByteArray(1, byte);
    return chunks;
}
} // namespace

class TestReceiver : public QObject
{
    Q_OBJECT

private slots:
    // Each case in one read and, without a refusal, in one-byte reads with the same events.
    void cases_data()
    {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<QStringList>("trace");
        const auto row = [](const char* name, const char* bytes, const QStringList& trace) {
            QTest::newRow(name) << QList<QByteArray> { hex(bytes) } << trace;
            if (trace.filter("NAK").isEmpty())
                QTest::addRow("%s, byte by byte", name) << oneBytePerChunk(hex(bytes)) << trace;
        };
        row("sum length 1+1", "02 05 01 01 01 aa bb 03", { "ack", "frame 0x5|0x1|0x1|0x1|0xaa|0xbb" });
        row("group 0, ETX as command id", "02 03 00 00 00 03", { "ack", "frame 0x3|0x0|0x0|0x0|" });
        row("group 3 refused, the rest of the chunk lost", "02 05 03 00 00 03 02 06 01 00 00 03 41", { "NAK at 2" });
        row("command id 0 swallowed", "02 00 01 00 00 03 02 06 01 00 00 03",
            { "invalid", "ack", "frame 0x6|0x1|0x0|0x0|" });
        row("typed text around a frame, high bytes too", "41 02 05 01 00 00 03 7f ff",
            { "char 0x41", "ack", "frame 0x5|0x1|0x0|0x0|", "char 0x7f", "char 0xff" });
        row("control bytes ignored, ACK and NAK too", "0d 0a 00 01 03 04 06 15 1f", {});
        row("printable bytes inside a frame are data", "02 41 01 02 00 48 69 03",
            { "ack", "frame 0x41|0x1|0x2|0x0|0x48|0x69" });
    }

    void cases()
    {
        QFETCH(QList<QByteArray>, chunks);
        RS232Receiver receiver;
        QTEST(feed(receiver, chunks), "trace");
        QVERIFY(!receiver.in_frame());
    }

    // A refusal starts clean: nothing of the broken frame leaks into the next one. In one-byte reads it costs
    // only the refused byte; a frame waiting for its ETX is refused at the next chunk's first byte.
    void refusalCostsItsChunk()
    {
        const QByteArray bytes = hex("02 05 01 03 00 aa bb cc 04 02 06 01 00 00 03");
        RS232Receiver receiver;
        QCOMPARE(feed(receiver, { bytes }), QStringList { "NAK at 8" });
        QCOMPARE(feed(receiver, { hex("0206010100dd03") }), (QStringList { "ack", "frame 0x6|0x1|0x1|0x0|0xdd" }));
        QCOMPARE(feed(receiver, oneBytePerChunk(bytes)), (QStringList { "NAK at 0", "ack", "frame 0x6|0x1|0x0|0x0|" }));
        QCOMPARE(feed(receiver, { hex("0205010000"), hex("41020501000003") }), QStringList { "NAK at 0" });
    }
};

QTEST_APPLESS_MAIN(TestReceiver)
#include "test_receiver.moc"
