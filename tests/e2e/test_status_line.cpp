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
        const bool answered = !rig.query(0x90, QUERY, hex("01")).isEmpty();
        QStringList calls = rig.calls();
        // The query's own calls: the text, after its handle where that was not known yet.
        if (answered && calls.value(calls.size() - 1) == "get_text_string(1094)")
            calls.removeLast();
        if (answered && calls.value(calls.size() - 1) == "get_text_handle_by_id(94)")
            calls.removeLast();
        return answered ? calls : QStringList("no answer: " + rig.lastError());
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
        QTest::newRow("item 3, UTF-16") << 3 << 2 << "Öl ß €";
        QTest::newRow("item byte alone: empty") << 4 << 0 << "";
        // Over 255 bytes both ways: length lo 255, length hi the rest, as the PC adds them up.
        QTest::newRow("UTF-16, 301 bytes") << 1 << 2 << QString(149, 'x');
    }
    void statusTexts()
    {
        QFETCH(int, item);
        QFETCH(int, selector);
        QFETCH(QString, text);
        const char* const codecs[] = { "ISO-8859-15", "UTF-8", "UTF-16" };
        const QByteArray request = char(item) + TestRig::encoded(codecs[selector], text);
        QVERIFY(rig.send(0x01, SETTING, QByteArray(1, char(selector))) && rig.send(0x90, SETTING, request));
        QVERIFY(rig.waitForCall(QString("set_text_string(%1, \"%2\")").arg(1095 - item).arg(text)));
        QCOMPARE(rig.query(0x90, QUERY, request.left(1)), request);
    }

    // Any other item is the text id itself, replied without the item byte; writing ignores item 0.
    void otherStatusItems_data()
    {
        QTest::addColumn<QByteArray>("item");
        QTest::newRow("no item byte: 0") << QByteArray();
        QTest::newRow("item 5") << hex("05");
    }
    void otherStatusItems()
    {
        QFETCH(QByteArray, item);
        const QString byId = QString("get_text_handle_by_id(%1)").arg(item.isEmpty() ? 0 : item.at(0));
        QVERIFY(rig.send(0x90, QUERY, item));
        const std::optional<RigReply> reply = rig.readReply(); // no overlay text: handle 0, empty text
        QVERIFY2(reply && reply->command == 0x90 && reply->data.isEmpty(), qPrintable(rig.lastError()));
        QCOMPARE(rig.calls(), QStringList({ byId, "get_text_string(0)" }));
        rig.clearCalls();
        QVERIFY(rig.send(0x90, SETTING, item.isEmpty() ? item : item + "ab"));
        QCOMPARE(callsUpToNow(), item.isEmpty() ? QStringList() : QStringList({ byId, "set_text_string(0, \"ab\")" }));
    }

    // Colours: item, second, first (byte 1 unmasked); group 0 0x90 + 3 * (item - 1): show, then hide.
    void statusColorsAndVisibility_data()
    {
        QTest::addColumn<QByteArray>("colors");
        QTest::addColumn<int>("colorByte");
        QTest::newRow("item 1: 0x2F") << hex("010f02") << 0x2F;
        QTest::newRow("item 4: unmasked byte 1") << hex("042501") << 0x35;
        QTest::newRow("item 2 alone") << hex("02") << 0x10;
    }
    void statusColorsAndVisibility()
    {
        QFETCH(QByteArray, colors);
        QFETCH(int, colorByte);
        const QByteArray item = colors.left(1);
        const quint8 show = quint8(0x90 + 3 * (colors.at(0) - 1));
        QVERIFY(rig.send(0x99, SETTING, colors) && rig.send(quint8(show + 1), ACTION));
        QCOMPARE(rig.query(0x92, QUERY, item), item + char(colorByte) + hex("000000"));
        QVERIFY(rig.send(show, ACTION));
        QCOMPARE(rig.query(0x92, QUERY, item), item + char(colorByte) + hex("010000"));
    }

    // Only items 1 to 4 with a two-colour list are answered: for others the codec query answers next.
    void statusStateFromTheOverlay()
    {
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 7, 9 })) });
        QCOMPARE(rig.query(0x92, QUERY, hex("02")), hex("0279010000"));
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 1, 2, 3 })) });
        for (const QByteArray& request : { hex("01"), QByteArray(), hex("05") })
            QVERIFY(rig.send(0x92, QUERY, request) && rig.query(0x01, QUERY).size() == 1);
        QCOMPARE(rig.calls().filter("is_text_visible").size(), 1);
    }

    // The state reply: the overlay's format (low byte), visibility, column, line.
    void units_data()
    {
        QTest::addColumn<int>("textId");
        QTest::addColumn<int>("stateId");
        QTest::addColumn<int>("positionId");
        QTest::addColumn<QByteArray>("position"); // column, line; missing bytes are 0
        QTest::newRow("unit 95") << 95 << 0x31 << 0x32 << hex("20");
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
        const QByteArray columnLine = (position + hex("0000")).left(2);
        QVERIFY(rig.send(quint8(positionId), SETTING, position));
        const QString call = QString("set_text_position(%1, %2, %3)").arg(1000 + textId);
        QVERIFY(rig.waitForCall(call.arg(quint8(columnLine.at(0))).arg(quint8(columnLine.at(1)))));
        const int format = rig.sim("text_by_id", { textId }).value(6).toInt();
        QCOMPARE(rig.query(quint8(stateId), QUERY), char(format) + hex("01") + columnLine);
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
        QTest::addColumn<int>("command");
        QTest::addColumn<int>("group");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("call"); // empty: no overlay text is touched
        QTest::newRow("colour, unmasked byte 1") << 0xE5 << 2 << hex("0e2501") << "set_text_colors(1087, 3, 5)";
        QTest::newRow("colour, no data: index 0") << 0xE5 << 2 << QByteArray() << "set_text_colors(1095, 1, 0)";
        QTest::newRow("colour index 21: unit 101") << 0xE5 << 2 << hex("150f01") << "set_text_colors(1101, 1, 15)";
        QTest::newRow("colour index 4") << 0xE5 << 2 << hex("040f01") << QString();
        QTest::newRow("colour index 22") << 0xE5 << 2 << hex("160f01") << QString();
        QTest::newRow("status colours, item 5") << 0x99 << 2 << hex("050f02") << QString();
        QTest::newRow("status background: a stub") << 0xA0 << 0 << hex("010f02") << QString();
    }
    void otherSettings()
    {
        QFETCH(int, command);
        QFETCH(int, group);
        QFETCH(QByteArray, request);
        QFETCH(QString, call);
        QVERIFY(rig.send(quint8(command), quint8(group), request));
        QCOMPARE(callsUpToNow().filter(call.isEmpty() ? "text" : "set_text_").join("; "), call);
        QVERIFY(group != 0 || rig.serviceLog().contains("RS232Handler::fh_sta_bgcolor : not implemented"));
    }
};

QTEST_GUILESS_MAIN(TestStatusLine)
#include "test_status_line.moc"
