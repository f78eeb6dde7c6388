// SPDX-License-Identifier: BSD-2-Clause
// The serial link of the real service over a pty: ACK, NAK and silence as the
// PC sees them, frames in any split, bursts, long replies, and the end when the PC hangs up.
#include "TestRig.h"

#include <QtTest>

class TestSerialLink : public QObject
{
    Q_OBJECT

    TestRig rig;

    // The answer to `bytes` (`expected` bytes), then that to a probe: a frame refused at its
    // group id (NAK), then an unknown command (ACK). The "15 06" ends the answer under test.
    QByteArray answerTo(const QByteArray& bytes, int expected)
    {
        rig.write(bytes);
        QByteArray answer = rig.read(expected);
        rig.write(hex("02 05 09"));
        answer += rig.read(1);
        rig.write(hex("02 05 01 00 00 03"));
        return answer + rig.read(1);
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("oneByOne"); // each byte once the service has read the one before
        QTest::addColumn<QByteArray>("answer");
        QByteArray largest = hex("02 05 01 ff ff");
        for (int i = 0; i < 510; ++i)
            largest += char(i % 5); // STX and ETX among the data
        QTest::newRow("510 data bytes") << largest + hex("03") << false << hex("06");
        // (The receiver's rules case by case are test_receiver's; these prove the link applies them per read.)
        QTest::newRow("command id 0 silent, a refused frame costs the rest of its read")
            << hex("02 05 01 00 00 03 02 00 01 00 00 03 02 05 03 00 00 03 02 05 01 00 00 03") << false << hex("06 15");
        QTest::newRow("byte by byte, slowly: the refused byte alone is lost")
            << hex("02 05 01 00 00 04 02 05 01 00 00 03") << true << hex("15 06");
    }

    void answers()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, oneByOne);
        QFETCH(QByteArray, answer);
        // Bytes the service has read so far: its serial input, as the bus is quiet.
        const auto bytesRead = [&] { return rig.serviceProcValue("io", "rchar:"); };
        for (int i = 0; oneByOne && i < bytes.size(); ++i) {
            const qint64 before = bytesRead();
            rig.write(bytes.mid(i, 1));
            QVERIFY(QTest::qWaitFor([&] { return bytesRead() > before; }, 5000));
            QTest::qSleep(150); // a slow PC's pace: a frame over half a second counts while its bytes keep coming
        }
        const QByteArray got = answerTo(oneByOne ? QByteArray() : bytes, answer.size());
        QCOMPARE(got.toHex(' '), (answer + hex("15 06")).toHex(' '));
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

    // Thousands of frames at once arrive in pieces cut anywhere: each is acknowledged, none lost.
    void burstAcknowledgedFrameForFrame()
    {
        const int frames = 3000;
        QByteArray burst;
        for (int i = 0; i < frames; ++i)
            burst += TestRig::frame(0x05 + i % 3, i % 3, QByteArray(i % 7, char(i % 4)));
        rig.write(burst);
        QCOMPARE(rig.read(frames, 30000), QByteArray(frames, '\x06'));
        QCOMPARE(answerTo({}, 0).toHex(' '), QByteArray("15 06"));
    }

    // A frame left incomplete is dropped after half a second of silence; the next frame is served.
    void truncatedFrameIsDropped()
    {
        rig.write(hex("02 30 01 ff ff 01 02 03"));
        QVERIFY(rig.waitForLog("]: RS232::receive_rs232_message: incomplete frame dropped after 500 ms of silence: "
                               "0x30|0x1|0xff|0xff|0x1|0x2|0x3\n"));
        QCOMPARE(answerTo({}, 0).toHex(' '), QByteArray("15 06"));
    }

    // A PC that stops reading costs it replies, not the service: whole replies are dropped
    // (never part of a frame), that is logged once a stretch, and the line serves again once it is read.
    void unreadOutputIsDropped()
    {
        const int frames = 3000; // about 160 KB of replies: more than the line can hold
        QByteArray queries;
        for (int i = 0; i < frames; ++i)
            queries += TestRig::frame(0xFE, 1);
        rig.write(queries);
        QVERIFY(rig.waitForLog(
            "]: RS232::send_raw_data: the PC does not read the line, output is dropped until it does\n", 10000));
        QByteArray received;
        QVERIFY2(rig.sync(&received, 10000), qPrintable(rig.lastError()));
        const QByteArray answer = "\x06" + TestRig::frame(0xFE, 1, "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work");
        QCOMPARE(received, answer.repeated(received.size() / answer.size())); // whole answers only
        // Logged once per stretch of dropping, not per dropped reply; each stretch ends when the PC reads.
        QVERIFY(rig.waitForLog("]: RS232::send_raw_data: the PC reads the line again\n"));
        const QString log = rig.serviceLog();
        const int stretches = int(log.count("output is dropped until it does"));
        const int dropped = frames - int(received.size() / answer.size());
        QCOMPARE(int(log.count("the PC reads the line again")), stretches);
        QVERIFY2(stretches * 10 < dropped,
                 qPrintable(QString("%1 log lines for %2 replies").arg(stretches).arg(dropped)));
    }

    // Over 255 bytes both ways: length lo 255, length hi the rest, as the PC adds them up. Here status item 3
    // (overlay text 92) in UTF-16, 301 bytes.
    void replyOverLengthLo()
    {
        const QString text = QString(148, 'x') + "€";
        const QByteArray request = hex("03") + encoded("UTF-16", text);
        QVERIFY(rig.send(0x01, SETTING, hex("02")) && rig.send(0x90, SETTING, request));
        QVERIFY(rig.waitForCall(QString("set_text_string(1092, \"%1\")").arg(text)));
        const QByteArray answer = rig.query(0x90, QUERY, hex("03"));
        QCOMPARE(answer, hex("03") + encoded("UTF-16", text, markedOrder(answer.mid(1))));
    }

    // A reply the two length bytes cannot announce is cut at 510 data bytes, and the cut logged: here the item
    // byte, a byte-order mark and 255 characters in UTF-16, 513 bytes.
    void replyTooLongIsCut()
    {
        const QString text(255, 'x');
        QVERIFY(rig.send(0x01, SETTING, hex("01")) && rig.send(0x90, SETTING, hex("01") + text.toLatin1()));
        QVERIFY(rig.send(0x01, SETTING, hex("02")));
        const QByteArray answer = rig.query(0x90, QUERY, hex("01"));
        QCOMPARE(answer, (hex("01") + encoded("UTF-16", text, markedOrder(answer.mid(1)))).left(510));
        QVERIFY(rig.waitForLog("]: RS232::send_message: reply of 513 bytes cut to 510\n"));
    }

    // A hang-up ends the service in order with code 7, its lock file removed and its two lines logged once.
    void hangUpEndsWithSeven()
    {
        rig.hangUp();
        QCOMPARE(rig.waitForExit(5000), 7);
        QVERIFY(!QFile::exists(rig.lockFilePath()));
        const QString log = rig.serviceLog();
        QCOMPARE(log.count("]: data or not data - this is the question\n"), 1);
        QCOMPARE(log.count("]: something has break the talvox in RS232::receive_rs232_message\n"), 1);
    }
};

QTEST_GUILESS_MAIN(TestSerialLink)
#include "test_serial_link.moc"
