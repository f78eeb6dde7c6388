// SPDX-License-Identifier: BSD-2-Clause
// Status line fields (items 1 to 4: overlay texts 94 to 91) and unit texts under their irregular ids.
#include "TestRig.h"

#include <QtTest>

class TestStatusLine : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Settings are not waited for; a status line query (two waited calls) answers after them all.
    QStringList callsUpToNow()
    {
        if (rig.query(0x90, QUERY, hex("01")).isEmpty())
            return { "no answer: " + rig.lastError() };
        QStringList calls = rig.calls();
        calls.removeAll("get_text_handle_by_id(94)"); // the query's own calls: the handle asked for once, the text
        calls.removeAll("get_text_string(1094)");
        return calls;
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); } // de_DE: the locale codec is ISO-8859-15

    void init()
    {
        QVERIFY(rig.send(0x01, SETTING, hex("00"))); // the locale codec
        rig.sim("clear_replies");
        rig.clearCalls();
    }

    void statusTexts_data()
    {
        QTest::addColumn<int>("item"); // overlay text 95 - item
        QTest::addColumn<int>("selector");
        QTest::addColumn<QString>("text"); // the euro sign: where ISO-8859-15 differs from Latin-1
        QTest::newRow("item 1, locale codec") << 1 << 0 << "Zähler €";
        QTest::newRow("item 2, UTF-8") << 2 << 1 << "Öl ß €";
        QTest::newRow("item byte alone: empty") << 4 << 0 << "";
        // Over 255 bytes both ways: length lo 255, length hi the rest, as the PC adds them up.
        QTest::newRow("item 3, UTF-16, 301 bytes") << 3 << 2 << QString(148, 'x') + "€";
    }
    void statusTexts()
    {
        QFETCH(int, item);
        QFETCH(int, selector);
        QFETCH(QString, text);
        const char* const codecs[] = { "ISO-8859-15", "UTF-8", "UTF-16" };
        const QByteArray request = char(item) + encoded(codecs[selector], text);
        QVERIFY(rig.send(0x01, SETTING, QByteArray(1, char(selector))) && rig.send(0x90, SETTING, request));
        QVERIFY(rig.waitForCall(QString("set_text_string(%1, \"%2\")").arg(1095 - item).arg(text)));
        const QByteArray answer = rig.query(0x90, QUERY, request.left(1));
        QCOMPARE(answer, char(item) + encoded(codecs[selector], text, markedOrder(answer.mid(1))));
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

    // Any other item is the text id itself (here none: handle 0, an empty text), replied without the item byte;
    // no item byte reads as item 0, which writing ignores.
    void otherStatusItems()
    {
        QByteArray replies; // each ACKed, then answered
        rig.write(TestRig::frame(0x90, QUERY) + TestRig::frame(0x90, QUERY, hex("05")));
        QVERIFY(rig.sync(&replies));
        QCOMPARE(replies.toHex(), (hex("06") + TestRig::frame(0x90, QUERY)).repeated(2).toHex());
        QVERIFY(rig.send(0x90, SETTING) && rig.send(0x90, SETTING, hex("05") + "ab"));
        QCOMPARE(callsUpToNow(),
                 QStringList({ "get_text_handle_by_id(0)", "get_text_string(0)", "get_text_handle_by_id(5)",
                               "get_text_string(0)", "get_text_handle_by_id(5)", "set_text_string(0, \"ab\")" }));
    }

    // Colours: item, second, first (byte 1 unmasked). Group 0, 0x90 + 3 * (item - 1): show, one more: hide.
    // The state: item, colour byte, visibility, 0, 0; none for other items or other than two colours.
    void statusColorsAndState()
    {
        QVERIFY(rig.send(0x99, SETTING, hex("010f02")) && rig.send(0x99, SETTING, hex("042501")));
        QVERIFY(rig.send(0x91, ACTION) && rig.send(0x9A, ACTION) && rig.send(0x99, ACTION)); // 1, 4 hidden; 4 shown
        QCOMPARE(rig.query(0x92, QUERY, hex("01")) + rig.query(0x92, QUERY, hex("04")), hex("012f000000 0435010000"));
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 7, 9 })) });
        QCOMPARE(rig.query(0x92, QUERY, hex("02")), hex("0279010000"));
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 1, 2, 3 })) });
        rig.clearCalls();
        for (const QByteArray& request : { hex("01"), QByteArray(), hex("05") }) // the codec query answers next
            QVERIFY(rig.send(0x92, QUERY, request) && rig.query(0x01, QUERY).size() == 1);
        QCOMPARE(rig.calls().filter("is_text_visible"), QStringList());
    }

    // The state reply: the overlay's format (low byte), visibility, column, line.
    void units_data()
    {
        QTest::addColumn<int>("textId");
        QTest::addColumn<int>("stateId");
        QTest::addColumn<int>("positionId");
        QTest::addColumn<QByteArray>("position"); // column, line
        QTest::newRow("unit 95") << 95 << 0x31 << 0x32 << hex("2000");
        QTest::newRow("unit 87") << 87 << 0xFC << 0xFC << hex("2d0b");
        QTest::newRow("unit 101") << 101 << 0x3C << 0x3E << hex("3309");
        QTest::newRow("unit 103") << 103 << 0xF8 << 0xFB << hex("ff80");
    }
    void units()
    {
        QFETCH(int, textId);
        QFETCH(int, stateId);
        QFETCH(int, positionId);
        QFETCH(QByteArray, position);
        QVERIFY(rig.send(quint8(positionId), SETTING, position));
        const QString call = QString("set_text_position(%1, %2, %3)").arg(1000 + textId);
        QVERIFY(rig.waitForCall(call.arg(quint8(position.at(0))).arg(quint8(position.at(1)))));
        const int format = rig.sim("text_by_id", { textId }).value(6).toInt();
        QCOMPARE(rig.query(quint8(stateId), QUERY), char(format) + hex("01") + position);
    }

    // A hidden unit reads 0; a short position list counts as 0; numbers go out as low bytes.
    void unitStateFromTheOverlay()
    {
        QVERIFY(rig.send(0xFD, ACTION)); // hides unit 87
        QCOMPARE(rig.query(0xFC, QUERY).mid(1, 1), hex("00"));
        rig.sim("set_reply", { "get_text_position", QVariant(QVariantList({ 7 })) });
        QCOMPARE(rig.query(0xFC, QUERY).mid(2), hex("0700"));
        rig.sim("set_reply", { "get_text_position", QVariant(QVariantList({ 300, 258 })) });
        QCOMPARE(rig.query(0xFC, QUERY).mid(2), hex("2c02"));
    }

    // Unit colours by index (then colours as for the status line); requests that touch no text at all.
    void otherSettings_data()
    {
        QTest::addColumn<QByteArray>("request"); // command id, group id, data
        QTest::addColumn<QString>("call");       // empty: no overlay text is touched
        QTest::newRow("colour, unmasked byte 1") << hex("e502 0e2501") << "set_text_colors(1087, 3, 5)";
        QTest::newRow("colour, no data: index 0") << hex("e502") << "set_text_colors(1095, 1, 0)";
        QTest::newRow("colour index 21: unit 101") << hex("e502 150f01") << "set_text_colors(1101, 1, 15)";
        QTest::newRow("colour index 4") << hex("e502 040f01") << QString();
        QTest::newRow("colour index 22") << hex("e502 160f01") << QString();
        QTest::newRow("status colours, item 5") << hex("9902 050f02") << QString();
        QTest::newRow("status background: a stub") << hex("a000 010f02") << QString();
    }
    void otherSettings()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, call);
        QVERIFY(rig.send(quint8(request.at(0)), quint8(request.at(1)), request.mid(2)));
        QCOMPARE(callsUpToNow().filter(call.isEmpty() ? "text" : "set_text_").join("; "), call);
        QVERIFY(request.at(1) != 0 || rig.serviceLog().contains("RS232Handler::fh_sta_bgcolor : not implemented"));
    }
};

QTEST_GUILESS_MAIN(TestStatusLine)
#include "test_status_line.moc"
