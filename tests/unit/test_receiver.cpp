// The frame receiver fed byte streams, chunk by chunk, as the serial link
// feeds it: a refused byte ends its chunk, the state survives between chunks.
#include "CEventLogger.h"
#include "RS232Receiver.h"

#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// Feeds the chunks as the link does and returns what happened, one entry
// per event: "frame <text form>", "invalid", "char <c>", "refused at <i>".
QStringList feed(RS232Receiver& receiver, const QList<QByteArray>& chunks)
{
    QStringList trace;
    for (const QByteArray& chunk : chunks) {
        for (int i = 0; i < chunk.size(); ++i) {
            const unsigned char byte = static_cast<unsigned char>(chunk.constData()[i]);
            const RS232Receiver::Event event = receiver.push(byte);
            if (event == RS232Receiver::TYPED_CHAR) {
                trace << "char 0x" + QString::number(byte, 16);
            } else if (event == RS232Receiver::FRAME_VALID) {
                trace << "frame " + receiver.message().toStr();
                receiver.reset();
            } else if (event == RS232Receiver::FRAME_INVALID) {
                trace << "invalid";
                receiver.reset();
            } else if (event == RS232Receiver::REFUSED) {
                trace << "refused at " + QString::number(i);
                receiver.reset();
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
}

class TestReceiver : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void oneChunk_data();
    void oneChunk();
    void byteByByteIsTheSame_data();
    void byteByByteIsTheSame();
    void stateSurvivesBetweenChunks_data();
    void stateSurvivesBetweenChunks();
    void refusalLosesRestOfChunkOnly();
    void largestFrame();
    void everyGroupAboveTwoRefused();
    void sentFrameReceivedBack();
};

void TestReceiver::initTestCase()
{
    // The receiver logs "stop" at level 0; keep the test output clean.
    CEventLogger::initialize("talvox-test", CEventLogger::LOG_LEVEL_EMERGENCY);
    CEventLogger::setLoggingEnabled(false);
}

namespace {
struct Case {
    const char* name;
    QByteArray bytes;
    QStringList trace;
};

// Byte streams and what the receiver makes of them in one read.
const QList<Case>& cases()
{
    static const QList<Case> all = {
        {"empty frame", hex("02 05 01 00 00 03"), {"frame 0x5|0x1|0x0|0x0|"}},
        {"sum length 1+1", hex("02 05 01 01 01 aa bb 03"), {"frame 0x5|0x1|0x1|0x1|0xaa|0xbb"}},
        {"length hi only", hex("02 05 01 00 01 cc 03"), {"frame 0x5|0x1|0x0|0x1|0xcc"}},
        {"group 0", hex("02 ff 00 00 00 03"), {"frame 0xff|0x0|0x0|0x0|"}},
        {"group 2", hex("02 01 02 00 00 03"), {"frame 0x1|0x2|0x0|0x0|"}},
        {"ETX as command id", hex("02 03 02 00 00 03"), {"frame 0x3|0x2|0x0|0x0|"}},
        {"STX and ETX in data", hex("02 05 01 02 00 02 03 03"), {"frame 0x5|0x1|0x2|0x0|0x2|0x3"}},
        {"group 3 refused", hex("02 05 03 00 00 03"), {"refused at 2"}},
        {"group ff refused", hex("02 05 ff 00 00 03"), {"refused at 2"}},
        {"no ETX after empty frame", hex("02 05 01 00 00 04"), {"refused at 5"}},
        {"STX where ETX is due", hex("02 05 01 00 00 02 05 01 00 00 03"), {"refused at 5"}},
        {"one data byte too many", hex("02 05 01 01 00 41 42"), {"refused at 6"}},
        {"command id 0 swallowed", hex("02 00 01 00 00 03"), {"invalid"}},
        {"command id 0 then a frame", hex("02 00 01 00 00 03 02 06 01 00 00 03"),
         {"invalid", "frame 0x6|0x1|0x0|0x0|"}},
        {"two frames", hex("02 05 01 00 00 03 02 06 02 01 00 77 03"),
         {"frame 0x5|0x1|0x0|0x0|", "frame 0x6|0x2|0x1|0x0|0x77"}},
        {"refused frame takes the next one", hex("02 05 03 00 00 03 02 06 01 00 00 03"), {"refused at 2"}},
        {"typed characters", QByteArray("Hi"), {"char 0x48", "char 0x69"}},
        {"space, tilde, DEL, high bytes", hex("20 7e 7f 80 ff"),
         {"char 0x20", "char 0x7e", "char 0x7f", "char 0x80", "char 0xff"}},
        {"control bytes ignored, ACK and NAK too", hex("0d 0a 00 01 03 04 05 06 15 1f"), {}},
        {"text around a frame", hex("41 02 05 01 00 00 03 42"),
         {"char 0x41", "frame 0x5|0x1|0x0|0x0|", "char 0x42"}},
        {"printable bytes inside a frame are data", hex("02 41 01 02 00 48 69 03"),
         {"frame 0x41|0x1|0x2|0x0|0x48|0x69"}},
        {"text after a refusal is lost", hex("02 05 03 00 41 42 43"), {"refused at 2"}},
    };
    return all;
}
}

void TestReceiver::oneChunk_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("trace");
    for (const Case& c : cases())
        QTest::newRow(c.name) << c.bytes << c.trace;
}

// Every case without a refusal, split into one-byte reads, gives the same
// events (a refusal discards only the rest of its own chunk: see below).
void TestReceiver::byteByByteIsTheSame_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("trace");
    for (const Case& c : cases())
        if (c.trace.filter("refused").isEmpty())
            QTest::newRow(c.name) << c.bytes << c.trace;
}

void TestReceiver::oneChunk()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, trace);
    RS232Receiver receiver;
    QCOMPARE(feed(receiver, {bytes}), trace);
    QCOMPARE(receiver.state(), 0);
}

void TestReceiver::byteByByteIsTheSame()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, trace);
    RS232Receiver receiver;
    QCOMPARE(feed(receiver, oneBytePerChunk(bytes)), trace);
}

void TestReceiver::stateSurvivesBetweenChunks_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<int>("stateAfterFirst");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QStringList>("trace");
    QTest::newRow("after STX") << hex("02") << 1 << hex("0501000003") << QStringList{"frame 0x5|0x1|0x0|0x0|"};
    QTest::newRow("after command") << hex("0205") << 2 << hex("01000003") << QStringList{"frame 0x5|0x1|0x0|0x0|"};
    QTest::newRow("after group") << hex("020501") << 3 << hex("000003") << QStringList{"frame 0x5|0x1|0x0|0x0|"};
    QTest::newRow("after length lo") << hex("02050101") << 4 << hex("01aabb03")
                                     << QStringList{"frame 0x5|0x1|0x1|0x1|0xaa|0xbb"};
    QTest::newRow("inside data") << hex("0205010101aa") << 5 << hex("bb03")
                                 << QStringList{"frame 0x5|0x1|0x1|0x1|0xaa|0xbb"};
    QTest::newRow("before ETX") << hex("02 05 01 00 01 01") << 6 << hex("03") << QStringList{"frame 0x5|0x1|0x0|0x1|0x1"};
    QTest::newRow("ETX missing in next chunk") << hex("0205010000") << 6 << hex("41020501000003")
                                               << QStringList{"refused at 0"};
    QTest::newRow("text while idle") << QByteArray("x") << 0 << hex("020501000003")
                                     << QStringList{"char 0x78", "frame 0x5|0x1|0x0|0x0|"};
}

void TestReceiver::stateSurvivesBetweenChunks()
{
    QFETCH(QByteArray, first);
    QFETCH(int, stateAfterFirst);
    QFETCH(QByteArray, second);
    QFETCH(QStringList, trace);
    RS232Receiver receiver;
    QStringList seen = feed(receiver, {first});
    QCOMPARE(receiver.state(), stateAfterFirst);
    seen << feed(receiver, {second});
    QCOMPARE(seen, trace);
    QCOMPARE(receiver.state(), 0);
}

// After a refusal the receiver starts clean: nothing of the broken frame
// leaks into the next one, and the next chunk is read normally.
void TestReceiver::refusalLosesRestOfChunkOnly()
{
    RS232Receiver receiver;
    QCOMPARE(feed(receiver, {hex("02 05 01 03 00 aa bb cc 04 02 06 01 00 00 03")}), QStringList{"refused at 8"});
    QCOMPARE(receiver.state(), 0);
    QCOMPARE(receiver.message().toStr(), QString("0x0|0xff|0x0|0x0|"));
    QCOMPARE(feed(receiver, {hex("0206010100dd03")}), QStringList{"frame 0x6|0x1|0x1|0x0|0xdd"});

    // The same bytes one per read: the refusal costs only the refused byte.
    QCOMPARE(feed(receiver, oneBytePerChunk(hex("02 05 01 03 00 aa bb cc 04 02 06 01 00 00 03"))),
             (QStringList{"refused at 0", "frame 0x6|0x1|0x0|0x0|"}));
}

void TestReceiver::largestFrame()
{
    QByteArray frame = hex("027701ffff");
    QByteArray data;
    for (int i = 0; i < 510; ++i)
        data.append(char(i * 7));
    frame += data;
    frame += hex("03");

    for (const QList<QByteArray>& chunks : {QList<QByteArray>{frame}, oneBytePerChunk(frame)}) {
        RS232Receiver receiver;
        int frames = 0;
        for (const QByteArray& chunk : chunks) {
            for (char byte : chunk) {
                if (receiver.push(static_cast<unsigned char>(byte)) == RS232Receiver::FRAME_VALID) {
                    ++frames;
                    QCOMPARE(receiver.message().get_data(), data);
                    QCOMPARE(receiver.message().get_setted_length(), 510);
                    receiver.reset();
                }
            }
        }
        QCOMPARE(frames, 1);
        QCOMPARE(receiver.state(), 0);
    }
}

void TestReceiver::everyGroupAboveTwoRefused()
{
    for (int group = 0; group < 256; ++group) {
        RS232Receiver receiver;
        QByteArray frame = hex("0205");
        frame += char(group);
        frame += hex("000003");
        const QStringList expected = group <= 2
            ? QStringList{QString("frame 0x5|0x%1|0x0|0x0|").arg(group)}
            : QStringList{"refused at 2"};
        QCOMPARE(feed(receiver, {frame}), expected);
    }
}

// What the link sends is what a receiver on the other end assembles.
void TestReceiver::sentFrameReceivedBack()
{
    for (int size : {0, 1, 2, 3, 254, 255}) {
        RS232Message sent;
        sent.set_command_id(0x98);
        sent.set_group_id(1);
        QByteArray data;
        for (int i = 0; i < size; ++i)
            data.append(char(i));
        sent.set_data(data);

        RS232Receiver receiver;
        QCOMPARE(feed(receiver, {sent.to_frame()}), QStringList{"frame " + sent.toStr()});
    }
}

QTEST_APPLESS_MAIN(TestReceiver)
#include "test_receiver.moc"
