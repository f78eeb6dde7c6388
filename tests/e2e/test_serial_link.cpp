// The serial link of the real service over a pty: ACK, NAK and silence as the
// PC sees them, frames in any split, bursts, and the end when the PC hangs up.
// No bus is reachable, so only the link's own answers are on the line.
#include "process_harness.h"

#include <memory>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// Written after the bytes under test: a frame refused at its group id (NAK),
// then, once that NAK is in, an unknown command (ACK). Whatever the service
// sends before this "15 06" is its whole answer to the bytes under test.
const QByteArray PROBE_REFUSED = hex("02 05 09");
const QByteArray PROBE_ACKED = hex("02 05 01 00 00 03");
const QByteArray PROBE_ANSWER = hex("15 06");

QByteArray frame(int command, int group, const QByteArray& data)
{
    QByteArray bytes;
    bytes += char(0x02);
    bytes += char(command);
    bytes += char(group);
    bytes += char(data.size() & 0xFF); // up to 255 in length lo alone
    bytes += char(0);
    bytes += data;
    bytes += char(0x03);
    return bytes;
}
}

class TestSerialLink : public QObject
{
    Q_OBJECT

    std::unique_ptr<PtyPair> line;
    std::unique_ptr<TalvoxProcess> talvox;
    int runs = 0;

    QByteArray answerTo(const QByteArray& bytes, int expected);
    QByteArray writeByteByByte(const QByteArray& bytes);

private slots:
    void init();
    void cleanup();

    void ackBeforeReply();
    void answers_data();
    void answers();
    void refusalLogsWholeChunk_data();
    void refusalLogsWholeChunk();
    void byteByByte_data();
    void byteByByte();
    void burstAcknowledgedFrameForFrame();
    void hangUpEndsWithSeven();
};

void TestSerialLink::init()
{
    TALVOX_SKIP_UNLESS_AVAILABLE();
    line = std::make_unique<PtyPair>();
    QVERIFY(line->isOpen());
    talvox = std::make_unique<TalvoxProcess>(QString(QTest::currentTestFunction()) + "-" + QString::number(++runs));
    talvox->makeTmpDir("tvx-pts"); // for the lock "/tmp/tvx-pts/N.lock"
    talvox->start({"-d", line->device(), "-l", "7"});
    QVERIFY2(talvox->waitForLog("]: start deamonizing\n"), talvox->standardError().constData());
    QVERIFY(talvox->tmpHas("tvx-" + line->device() + ".lock"));
}

void TestSerialLink::cleanup()
{
    talvox.reset();
    line.reset();
}

QByteArray TestSerialLink::answerTo(const QByteArray& bytes, int expected)
{
    QByteArray answer = line->write(bytes);
    answer += line->read(expected - answer.size());
    answer += line->write(PROBE_REFUSED);
    answer += line->read(expected + 1 - answer.size());
    answer += line->write(PROBE_ACKED);
    answer += line->read(expected + 2 - answer.size());
    return answer;
}

// One byte per read of the service: each byte is written only when the
// service has read the previous one. Returns the answers read meanwhile.
QByteArray TestSerialLink::writeByteByByte(const QByteArray& bytes)
{
    QByteArray answers;
    for (char byte : bytes) {
        const qint64 before = talvox->bytesRead();
        answers += line->write(QByteArray(1, byte));
        if (!QTest::qWaitFor([&] { return talvox->bytesRead() > before; }, 5000))
            return answers + "(byte not taken)";
    }
    return answers;
}

// A query that needs no bus: the service's version text. The PC sees the ACK
// first, then the reply frame with the request's ids.
void TestSerialLink::ackBeforeReply()
{
    line->write(hex("02 fe 01 00 00 03"));
    const QByteArray head = line->read(6);
    QCOMPARE(head.left(4).toHex(), QByteArray("0602fe01"));
    const int length = static_cast<unsigned char>(head.at(4)) + static_cast<unsigned char>(head.at(5));
    const QByteArray rest = line->read(length + 1);
    QCOMPARE(rest.size(), length + 1);
    QCOMPARE(int(rest.at(length)), 0x03);
}

void TestSerialLink::answers_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("answer");

    QByteArray largest = hex("02 05 01 ff ff");
    for (int i = 0; i < 510; ++i)
        largest += char(i % 5); // STX and ETX among the data
    largest += hex("03");

    QTest::newRow("unknown command: ACK only") << hex("02 05 01 00 00 03") << hex("06");
    QTest::newRow("sum length: two data bytes") << hex("02 05 01 01 01 aa bb 03") << hex("06");
    QTest::newRow("510 data bytes") << largest << hex("06");
    QTest::newRow("command id 0: silence") << hex("02 00 01 00 00 03") << QByteArray();
    QTest::newRow("several frames in one write")
        << hex("02 05 01 00 00 03 02 06 02 01 00 03 03 02 07 00 02 00 02 02 03") << hex("06 06 06");
    QTest::newRow("command id 0 between frames")
        << hex("02 05 01 00 00 03 02 00 01 00 00 03 02 06 01 00 00 03") << hex("06 06");
    QTest::newRow("typed text and control bytes") << QByteArray("Hi\r\n\x1b\x7f", 6) << QByteArray();
    QTest::newRow("ACK and NAK from the PC ignored") << hex("06 15") << QByteArray();
    QTest::newRow("text around a frame") << QByteArray("A\x02\x05\x01\x00\x00\x03" "B", 8) << hex("06");
    QTest::newRow("group 3: NAK, rest of the chunk lost")
        << hex("02 05 03 00 00 03 02 05 01 00 00 03") << hex("15");
    QTest::newRow("no ETX: NAK, rest of the chunk lost")
        << hex("02 05 01 00 00 04 02 05 01 00 00 03") << hex("15");
    QTest::newRow("good frame, then a refused one") << hex("02 05 01 00 00 03 02 05 01 01 00 aa bb") << hex("06 15");
}

void TestSerialLink::answers()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, answer);
    QCOMPARE(answerTo(bytes, answer.size()).toHex(' '), (answer + PROBE_ANSWER).toHex(' '));
    QVERIFY(talvox->running());
}

void TestSerialLink::refusalLogsWholeChunk_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::newRow("group 3") << hex("02 05 03 00 00 03 02 05 01 00 00 03");
    QTest::newRow("no ETX") << hex("41 02 05 01 01 00 aa 02 05 01 00 00 03");
}

// The log line carries the whole chunk as it was read, not just the frame.
void TestSerialLink::refusalLogsWholeChunk()
{
    QFETCH(QByteArray, chunk);
    line->write(chunk);
    QCOMPARE(line->read(1).toHex(), QByteArray("15"));
    // Logged, then the NAK goes out and its dump is logged.
    QVERIFY2(talvox->waitForLog("]: RS232::receive_rs232_message: message invalid: " + chunk.toHex()
                                + "\n" + talvox->logPrefix() + "RS232::send_raw_data: data:15\n"),
             talvox->standardError().right(2000).constData());
}

void TestSerialLink::byteByByte_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("two frames with data") << hex("02 05 01 01 01 aa bb 03 02 06 02 02 00 02 03 03") << hex("06 06");
    QTest::newRow("command id 0 then a frame") << hex("02 00 01 00 00 03 02 05 01 00 00 03") << hex("06");
    // In a one-byte read the refusal costs only the refused byte.
    QTest::newRow("refused byte alone is lost") << hex("02 05 01 00 00 04 02 05 01 00 00 03") << hex("15 06");
}

void TestSerialLink::byteByByte()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, answer);
    QByteArray answered = writeByteByByte(bytes);
    answered += answerTo({}, answer.size() - answered.size());
    QCOMPARE(answered.toHex(' '), (answer + PROBE_ANSWER).toHex(' '));
}

// A few thousand frames in one go: the kernel hands them over in pieces of
// its buffer size, cut anywhere; every frame is acknowledged, none is lost.
void TestSerialLink::burstAcknowledgedFrameForFrame()
{
    const int frames = 3000;
    QByteArray burst;
    for (int i = 0; i < frames; ++i)
        burst += frame(0x05 + i % 3, i % 3, QByteArray(i % 7, char(i % 4)));

    QByteArray answers = line->write(burst, 30000);
    answers += line->read(frames - answers.size(), 30000);
    QCOMPARE(answers.size(), frames);
    QCOMPARE(answers.count('\x06'), frames);
    QCOMPARE(answerTo({}, 0).toHex(' '), PROBE_ANSWER.toHex(' '));
}

// When the PC side hangs up, the service ends through its orderly exit:
// code 7, the two lines once, the lock file removed.
void TestSerialLink::hangUpEndsWithSeven()
{
    line->hangUp();
    QCOMPARE(talvox->exitCode(), 7);
    const QByteArray err = talvox->standardError();
    QCOMPARE(err.count("]: data or not data - this is the question\n"), 1);
    QCOMPARE(err.count("]: something has break the talvox in RS232::receive_rs232_message\n"), 1);
    QVERIFY(!talvox->tmpHas("tvx-" + line->device() + ".lock"));
}

QTEST_GUILESS_MAIN(TestSerialLink)
#include "test_serial_link.moc"
