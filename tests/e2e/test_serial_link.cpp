// The serial link of the real service over a pty: ACK, NAK and silence as the
// PC sees them, frames in any split, bursts, and the end when the PC hangs up.
#include "TestRig.h"

#include <QFile>
#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// Written after the bytes under test: a frame refused at its group id (NAK),
// then an unknown command (ACK only). Whatever the service sends before this
// "15 06" is its whole answer to the bytes under test.
const QByteArray PROBE_REFUSED = hex("02 05 09");
const QByteArray PROBE_ACKED = hex("02 05 01 00 00 03");
const QByteArray PROBE_ANSWER = hex("15 06");
}

class TestSerialLink : public QObject
{
    Q_OBJECT

    TestRig rig;

    // The service's answer to `bytes` of `expected` size, then the probe's.
    QByteArray answerTo(const QByteArray& bytes, int expected)
    {
        rig.write(bytes);
        QByteArray answer = rig.read(expected);
        rig.write(PROBE_REFUSED);
        answer += rig.read(1);
        rig.write(PROBE_ACKED);
        return answer + rig.read(1);
    }

    // Bytes the service has read so far (its serial input, the bus is quiet).
    qint64 bytesRead()
    {
        QFile io(QString("/proc/%1/io").arg(rig.servicePid()));
        const QByteArray text = io.open(QIODevice::ReadOnly) ? io.readAll() : QByteArray();
        const int at = text.indexOf("rchar: ");
        return at < 0 ? -1 : text.mid(at + 7, text.indexOf('\n', at) - at - 7).toLongLong();
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    // A query that needs no bus, the version text: ACK first, then the reply.
    void ackBeforeReply()
    {
        rig.write(TestRig::frame(0xfe, 1));
        QVERIFY(rig.expectAck());
        QVERIFY2(!rig.readReplyData(0xfe, 1).isEmpty(), qPrintable(rig.lastError()));
    }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("oneByOne"); // each byte once the service has read the one before
        QTest::addColumn<QByteArray>("answer");
        QByteArray largest = hex("02 05 01 ff ff");
        for (int i = 0; i < 510; ++i)
            largest += char(i % 5); // STX and ETX among the data
        QTest::newRow("510 data bytes") << largest + hex("03") << false << hex("06");
        QTest::newRow("command id 0 between frames: silence")
            << hex("02 05 01 00 00 03 02 00 01 00 00 03 02 06 01 00 00 03") << false << hex("06 06");
        QTest::newRow("group 3: NAK, rest of the chunk lost") << hex("02 05 03 00 00 03 02 05 01 00 00 03") << false
                                                              << hex("15");
        QTest::newRow("good frame, then a refused one") << hex("02 05 01 00 00 03 02 05 01 01 00 aa bb") << false
                                                        << hex("06 15");
        QTest::newRow("byte by byte: frames with data, command id 0")
            << hex("02 05 01 01 01 aa bb 03 02 00 01 00 00 03 02 06 02 02 00 02 03 03") << true << hex("06 06");
        QTest::newRow("byte by byte: the refused byte alone is lost")
            << hex("02 05 01 00 00 04 02 05 01 00 00 03") << true << hex("15 06");
    }

    void answers()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, oneByOne);
        QFETCH(QByteArray, answer);
        for (int i = 0; oneByOne && i < bytes.size(); ++i) {
            const qint64 before = bytesRead();
            rig.write(bytes.mid(i, 1));
            QVERIFY(QTest::qWaitFor([&] { return bytesRead() > before; }, 5000));
        }
        QCOMPARE(answerTo(oneByOne ? QByteArray() : bytes, answer.size()).toHex(' '), (answer + PROBE_ANSWER).toHex(' '));
    }

    // The log line carries the whole chunk as it was read, then the NAK.
    void refusalLogsWholeChunk()
    {
        const QByteArray chunk = hex("41 02 05 01 01 00 aa 02 05 01 00 00 03");
        rig.write(chunk);
        QCOMPARE(rig.read(1).toHex(), QByteArray("15"));
        const QString prefix = QString("talvox[%1]: ").arg(rig.servicePid());
        QVERIFY(rig.waitForLog(prefix + "RS232::receive_rs232_message: message invalid: " + chunk.toHex() + "\n"
                               + prefix + "RS232::send_raw_data: data:15\n"));
    }

    // Thousands of frames in one go: the kernel hands them over in pieces of
    // its buffer size, cut anywhere; every frame is acknowledged, none lost.
    void burstAcknowledgedFrameForFrame()
    {
        const int frames = 3000;
        QByteArray burst;
        for (int i = 0; i < frames; ++i)
            burst += TestRig::frame(0x05 + i % 3, i % 3, QByteArray(i % 7, char(i % 4)));
        rig.write(burst);
        QCOMPARE(rig.read(frames, 30000), QByteArray(frames, '\x06'));
        QCOMPARE(answerTo({}, 0).toHex(' '), PROBE_ANSWER.toHex(' '));
    }

    // When the PC hangs up, the service ends through its orderly exit:
    // code 7, the two lines once, the lock file removed.
    void hangUpEndsWithSeven()
    {
        QVERIFY(QFile::exists(rig.lockFilePath()));
        rig.hangUp();
        QCOMPARE(rig.waitForExit(5000), 7);
        const QString log = rig.serviceLog();
        QCOMPARE(log.count("]: data or not data - this is the question\n"), 1);
        QCOMPARE(log.count("]: something has break the talvox in RS232::receive_rs232_message\n"), 1);
        QVERIFY(!QFile::exists(rig.lockFilePath()));
    }
};

QTEST_GUILESS_MAIN(TestSerialLink)
#include "test_serial_link.moc"
