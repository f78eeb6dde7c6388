// SPDX-License-Identifier: BSD-2-Clause
// Replies longer than length lo alone can announce, as the PC reads them.
#include "TestRig.h"

#include <QtTest>

class TestLongReplies : public QObject
{
    Q_OBJECT

    TestRig rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    // Over 255 bytes both ways: length lo 255, length hi the rest, as the PC adds them up. Here status item 3
    // (overlay text 92) in UTF-16, 301 bytes.
    void overLengthLo()
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
};

QTEST_GUILESS_MAIN(TestLongReplies)
#include "test_long_replies.moc"
