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
                trace << "char " + QString(QChar(byte));
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
    void byteByByteIsTheSame_data() { oneChunk_data(); }
    void byteByByteIsTheSame();
    void stateSurvivesBetweenChunks_data();
    void stateSurvivesBetweenChunks();
    void refusalLosesRestOfChunkOnly();
    void largestFrame();
    void everyGroupAboveTwoRefused();
};

void TestReceiver::initTestCase()
{
    // The receiver logs "stop" at level 0; keep the test output clean.
    CEventLogger::initialize("talvox-test", CEventLogger::LOG_LEVEL_EMERGENCY);
    CEventLogger::setLoggingEnabled(false);
}

void TestReceiver::oneChunk_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("trace");

    QTest::newRow("empty frame") << hex("020501000003") << QStringList{"frame 0x5|0x1|0x0|0x0|"};
    QTest::newRow("sum length 1+1") << hex("020501010 1aabb03".replace(" ", ""))
                                    << QStringList{"frame 0x5|0x1|0x1|0x1|0xaa|0xbb"};
    QTest::newRow("length hi only") << hex("0205010001cc03") << QStringList{"frame 0x5|0x1|0x0|0x1|0xcc"};
    QTest::newRow("group 0") << hex("02ff00000003") << QStringList{"frame 0xff|0x0|0x0|0x0|"};
    QTest::newRow("group 2") << hex("020102000003") << QStringList{"frame 0x1|0x2|0x0|0x0|"};
    QTest::newRow("STX and ETX as ids") << hex("020302000003") << QStringList{"frame 0x3|0x2|0x0|0x0|"};
    QTest::newRow("STX and ETX in data") << hex("02050102000203 03".replace(" ", ""))
                                         << QStringList{"frame 0x5|0x1|0x2|0x0|0x2|0x3"};
    QTest::newRow("group 3 refused") << hex("020503000003") << QStringList{"refused at 2"};
    QTest::newRow("group ff refused") << hex("0205ff000003") << QStringList{"refused at 2"};
    QTest::newRow("no ETX after empty frame") << hex("020501000004") << QStringList{"refused at 5"};
    QTest::newRow("STX where ETX is due") << hex("020501000002050100000 3".replace(" ", ""))
                                          << QStringList{"refused at 5"};
    QTest::newRow("one data byte too many") << hex("02050101004142") << QStringList{"refused at 6"};
    QTest::newRow("command id 0 swallowed") << hex("020001000003") << QStringList{"invalid"};
    QTest::newRow("command id 0 then a frame")
        << hex("020001000003020601000003") << QStringList{"invalid", "frame 0x6|0x1|0x0|0x0|"};
    QTest::newRow("two frames") << hex("020501000003020602010077 03".replace(" ", ""))
                                << QStringList{"frame 0x5|0x1|0x0|0x0|", "frame 0x6|0x2|0x1|0x0|0x77"};
    QTest::newRow("refused frame takes the next one")
        << hex("020503000003020601000003") << QStringList{"refused at 2"};
    QTest::newRow("typed characters") << QByteArray("Hi") << QStringList{"char H", "char i"};
    QTest::newRow("space, tilde, DEL, high bytes")
        << hex("207e7f80ff") << QStringList{"char  ", "char ~", "char \x7f", "char \x80", "char \xff"};
    QTest::newRow("control bytes ignored") << hex("0d0a000103040506151f") << QStringList{};
    QTest::newRow("text around a frame") << QByteArray("A\x02\x05\x01\x00\x00\x03" "B", 8)
                                         << QStringList{"char A", "frame 0x5|0x1|0x0|0x0|", "char B"};
    QTest::newRow("printable bytes inside a frame are data")
        << QByteArray("\x02\x41\x01\x02\x00" "Hi\x03", 8) << QStringList{"frame 0x41|0x1|0x2|0x0|0x48|0x69"};
    QTest::newRow("text after a refusal is lost") << hex("02050300414243") << QStringList{"refused at 2"};
}

void TestReceiver::oneChunk()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, trace);
    RS232Receiver receiver;
    QCOMPARE(feed(receiver, {bytes}), trace);
    QCOMPARE(receiver.state(), 0);
}

// Every case of the table split into one-byte reads gives the same frames;
// only a refusal differs, since a one-byte chunk loses nothing after it.
void TestReceiver::byteByByteIsTheSame()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, trace);
    if (trace.filter("refused").size())
        QSKIP("a refusal discards its chunk: covered by refusalLosesRestOfChunkOnly");
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
    QTest::newRow("before ETX") << hex("020501000001") << 6 << hex("03") << QStringList{"frame 0x5|0x1|0x0|0x1|0x1"};
    QTest::newRow("ETX missing in next chunk") << hex("0205010000") << 6 << hex("41020501000003")
                                               << QStringList{"refused at 0"};
    QTest::newRow("text while idle") << QByteArray("x") << 0 << hex("020501000003")
                                     << QStringList{"char x", "frame 0x5|0x1|0x0|0x0|"};
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
    QCOMPARE(feed(receiver, {hex("0205010300aabbcc04020601000003")}), QStringList{"refused at 8"});
    QCOMPARE(receiver.state(), 0);
    QCOMPARE(receiver.message().toStr(), QString("0x0|0xff|0x0|0x0|"));
    QCOMPARE(feed(receiver, {hex("0206010100dd03")}), QStringList{"frame 0x6|0x1|0x1|0x0|0xdd"});

    // The same bytes one per read: the refusal costs only the refused byte.
    QCOMPARE(feed(receiver, oneBytePerChunk(hex("0205010300aabbcc04020601000003"))),
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

QTEST_APPLESS_MAIN(TestReceiver)
#include "test_receiver.moc"
