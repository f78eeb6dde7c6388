// SPDX-License-Identifier: BSD-2-Clause
// Status line fields (items 1 to 4: overlay texts 94 to 91) and unit texts under their irregular ids.
#include "HandlerFixture.h"

#include <QtTest>

class TestStatusLine : public QObject
{
    Q_OBJECT

    HandlerFixture fixture;

private slots:
    void initTestCase() { TALVOX_HANDLERS_START(fixture); } // de_DE: the locale codec is ISO-8859-15

    void init()
    {
        QVERIFY(fixture.send(0x01, SETTING, hex("00"))); // the locale codec
        fixture.sim("clear_replies");
        fixture.clearCalls();
        fixture.takeLog();
    }

    void statusTexts_data()
    {
        QTest::addColumn<int>("item"); // overlay text 95 - item
        QTest::addColumn<int>("selector");
        QTest::addColumn<QString>("text"); // the euro sign: where ISO-8859-15 differs from Latin-1
        QTest::newRow("item 1, locale codec") << 1 << 0 << "Zähler €";
        QTest::newRow("item 2, UTF-8") << 2 << 1 << "Öl ß €";
        QTest::newRow("item byte alone: empty") << 4 << 0 << "";
        // UTF-16 over 255 bytes: tests/e2e/test_serial_link.
    }
    void statusTexts()
    {
        QFETCH(int, item);
        QFETCH(int, selector);
        QFETCH(QString, text);
        const char* const codecs[] = { "ISO-8859-15", "UTF-8" };
        const QByteArray request = char(item) + encoded(codecs[selector], text);
        QVERIFY(fixture.send(0x01, SETTING, QByteArray(1, char(selector))) && fixture.send(0x90, SETTING, request));
        QVERIFY(fixture.calls().contains(QString("set_text_string(%1, \"%2\")").arg(1095 - item).arg(text)));
        QCOMPARE(fixture.query(0x90, QUERY, request.left(1)), request);
    }

    // Any other item is the text id itself (here none: handle 0, an empty text), replied without the item byte;
    // no item byte reads as item 0, which writing ignores.
    void otherStatusItems()
    {
        for (const QByteArray& item : { QByteArray(), hex("05") }) {
            const RS232Handler::ReplyFrame reply = fixture.exec(0x90, QUERY, item);
            QVERIFY(reply.exists && reply.frame->get_data().isEmpty());
        }
        QVERIFY(fixture.send(0x90, SETTING) && fixture.send(0x90, SETTING, hex("05") + "ab"));
        QCOMPARE(fixture.calls(),
                 QStringList({ "get_text_handle_by_id(0)", "get_text_string(0)", "get_text_handle_by_id(5)",
                               "get_text_string(0)", "get_text_handle_by_id(5)", "set_text_string(0, \"ab\")" }));
    }

    // Colours: item, second, first (byte 1 unmasked). Group 0, 0x90 + 3 * (item - 1): show, one more: hide.
    // The state: item, colour byte, visibility, 0, 0; no reply for other items or other than two colours.
    void statusColorsAndState()
    {
        QVERIFY(fixture.send(0x99, SETTING, hex("010f02")) && fixture.send(0x99, SETTING, hex("042501")));
        // 1, 4 hidden; 4 shown
        QVERIFY(fixture.send(0x91, ACTION) && fixture.send(0x9A, ACTION) && fixture.send(0x99, ACTION));
        QCOMPARE(fixture.query(0x92, QUERY, hex("01")) + fixture.query(0x92, QUERY, hex("04")),
                 hex("012f000000 0435010000"));
        fixture.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 7, 9 })) });
        QCOMPARE(fixture.query(0x92, QUERY, hex("02")), hex("0279010000"));
        fixture.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 1, 2, 3 })) });
        fixture.clearCalls();
        for (const QByteArray& request : { hex("01"), QByteArray(), hex("05") })
            QVERIFY2(fixture.send(0x92, QUERY, request), qPrintable(fixture.lastError()));
        QCOMPARE(fixture.calls().filter("is_text_visible"), QStringList());
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
        QVERIFY(fixture.send(quint8(positionId), SETTING, position));
        const QString call = QString("set_text_position(%1, %2, %3)").arg(1000 + textId);
        QVERIFY(fixture.calls().contains(call.arg(quint8(position.at(0))).arg(quint8(position.at(1)))));
        const int format = fixture.sim("text_by_id", { textId }).value(6).toInt();
        QCOMPARE(fixture.query(quint8(stateId), QUERY), char(format) + hex("01") + position);
    }

    // A hidden unit reads 0; a short position list counts as 0; numbers go out as low bytes.
    void unitStateFromTheOverlay()
    {
        QVERIFY(fixture.send(0xFD, ACTION)); // hides unit 87
        QCOMPARE(fixture.query(0xFC, QUERY).mid(1, 1), hex("00"));
        fixture.sim("set_reply", { "get_text_position", QVariant(QVariantList({ 7 })) });
        QCOMPARE(fixture.query(0xFC, QUERY).mid(2), hex("0700"));
        fixture.sim("set_reply", { "get_text_position", QVariant(QVariantList({ 300, 258 })) });
        QCOMPARE(fixture.query(0xFC, QUERY).mid(2), hex("2c02"));
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
        QVERIFY(fixture.send(quint8(request.at(0)), quint8(request.at(1)), request.mid(2)));
        QCOMPARE(fixture.calls().filter(call.isEmpty() ? "text" : "set_text_").join("; "), call);
        QVERIFY(request.at(1) != 0 || fixture.takeLog().contains("RS232Handler::fh_sta_bgcolor : not implemented"));
    }
};

QTEST_GUILESS_MAIN(TestStatusLine)
#include "test_status_line.moc"
