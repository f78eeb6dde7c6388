// SPDX-License-Identifier: BSD-2-Clause
// The frame receiver fed byte streams read by read, as the serial link feeds it: the ACK before the frame,
// a refused byte ends its read, the state survives between reads.
#include "RS232Receiver.h"

#include <QtTest>

namespace {
// One entry per event: "ack", "frame <text>", "char 0x<c>", "NAK at i".
class TraceSink : public RS232ReceiverSink
{
public:
    QStringList trace;
    void acknowledge() override { trace << "ack"; }
    void handle_frame(RS232Message& message) override { trace << "frame " + message.toStr(); }
    void refuse(const QByteArray&, int index) override { trace << "NAK at " + QString::number(index); }
    void type_char(char byte) override { trace << "char 0x" + QString::number(quint8(byte), 16); }
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
    // Each case in one read and in one-byte reads, with the same events.
    void cases_data()
    {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<QStringList>("trace");
        const auto row = [](const char* name, const char* bytes, const QStringList& trace) {
            QTest::newRow(name) << QList<QByteArray> { QByteArray::fromHex(bytes) } << trace;
            QTest::addRow("%s, byte by byte", name) << oneBytePerChunk(QByteArray::fromHex(bytes)) << trace;
        };
        // (Refused, swallowed and length-summed frames on the line: test_serial_link.)
        row("ETX as command id, group 0", "02 03 00 00 00 03", { "ack", "frame 0x3|0x0|0x0|0x0|" });
        row("typed text and control bytes around a frame, printable data inside", "41 0d 06 02 41 01 02 00 48 69 03 ff",
            { "char 0x41", "ack", "frame 0x41|0x1|0x2|0x0|0x48|0x69", "char 0xff" });
    }

    void cases()
    {
        QFETCH(QList<QByteArray>, chunks);
        RS232Receiver receiver;
        QTEST(feed(receiver, chunks), "trace");
        QVERIFY(!receiver.in_frame());
    }

    // A refusal starts clean: nothing of the broken frame leaks into the next one, which in one-byte reads is
    // the next read. A frame waiting for its ETX is refused at the next chunk's first byte.
    void refusalCostsItsChunk()
    {
        const QByteArray bytes = QByteArray::fromHex("02 05 01 03 00 aa bb cc 04 02 06 01 00 00 03");
        RS232Receiver receiver;
        QCOMPARE(feed(receiver, { bytes }), QStringList { "NAK at 8" });
        QCOMPARE(feed(receiver, oneBytePerChunk(bytes)), (QStringList { "NAK at 0", "ack", "frame 0x6|0x1|0x0|0x0|" }));
        QCOMPARE(feed(receiver, { QByteArray::fromHex("0205010000"), QByteArray::fromHex("41020501000003") }),
                 QStringList { "NAK at 0" });
    }
};

QTEST_APPLESS_MAIN(TestReceiver)
#include "test_receiver.moc"
