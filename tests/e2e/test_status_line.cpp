// Status line commands end to end: the PC writes, reads, colours and switches
// the four status line fields; the overlay simulator shows what arrived.
#include "TestRig.h"

#include <QTextCodec>
#include <QtTest>

namespace {
const quint8 GROUP_ACTION = 0;
const quint8 GROUP_QUERY = 1;
const quint8 GROUP_SETTING = 2;
const quint8 CMD_CODEC = 0x01;
const quint8 CMD_STATUSLINE = 0x90;
const quint8 CMD_STATUSLINE_STATE = 0x92;
const quint8 CMD_STATUSLINE_COLOR = 0x99;
const int FIXED_HANDLE_BASE = 1000; // the simulator's handle of fixed text N is 1000 + N

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (int v : values)
        result.append(char(v));
    return result;
}

QString handleOf(int textId)
{
    return QString::number(FIXED_HANDLE_BASE + textId);
}
}

class TestStatusLine : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Frames are handled one at a time: once a later codec query is answered,
    // the frame before it is done, and a reply of its own would have come first.
    bool settled() { return rig.query(CMD_CODEC, GROUP_QUERY).size() == 1; }

    // Settings go out on the bus without waiting. A later query that asks the
    // overlay (status line item 1: two calls) has been answered only after
    // every call before it arrived: the calls before it.
    QStringList callsUpToNow()
    {
        if (rig.query(0x90, GROUP_QUERY, bytes({ 1 })).isEmpty())
            return { "status line query failed: " + rig.lastError() };
        const QStringList calls = rig.calls();
        return calls.mid(0, calls.size() - 2);
    }

    void setSelector(int selector)
    {
        QVERIFY(rig.send(CMD_CODEC, GROUP_SETTING, bytes({ selector })));
        QCOMPARE(rig.query(CMD_CODEC, GROUP_QUERY), bytes({ selector }));
    }

    QVariantList textById(int textId) { return rig.sim("text_by_id", { textId }); }

    bool hasCallStartingWith(const QString& prefix)
    {
        const QStringList calls = rig.calls();
        return std::any_of(calls.begin(), calls.end(), [&](const QString& c) { return c.startsWith(prefix); });
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); } // de_DE: the locale codec is ISO-8859-15

    void init() { rig.clearCalls(); }

    void itemsAddressTheirFixedTexts_data()
    {
        QTest::addColumn<int>("item");
        QTest::addColumn<int>("textId");
        QTest::newRow("item 1") << 1 << 94;
        QTest::newRow("item 2") << 2 << 93;
        QTest::newRow("item 3") << 3 << 92;
        QTest::newRow("item 4") << 4 << 91;
    }
    void itemsAddressTheirFixedTexts()
    {
        QFETCH(int, item);
        QFETCH(int, textId);
        const QString text = QString("Zähler %1 €").arg(item);
        const QByteArray latin9 = QTextCodec::codecForName("ISO-8859-15")->fromUnicode(text);
        QCOMPARE(latin9.count(char(0xA4)), 1); // the euro sign is where ISO-8859-15 differs from Latin-1

        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, char(item) + latin9));
        QVERIFY(rig.waitForCall("set_text_string(" + handleOf(textId)));
        QCOMPARE(textById(textId).value(0).toString(), text);

        QCOMPARE(rig.query(CMD_STATUSLINE, GROUP_QUERY, bytes({ item })), char(item) + latin9);
        QVERIFY(rig.calls().contains(QString("get_text_handle_by_id(%1)").arg(textId)));
    }

    void textsInEachCharacterSet_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<QByteArray>("codecName");
        QTest::newRow("locale codec") << 0 << QByteArray("ISO-8859-15");
        QTest::newRow("UTF-8") << 1 << QByteArray("UTF-8");
        QTest::newRow("UTF-16") << 2 << QByteArray("UTF-16");
    }
    void textsInEachCharacterSet()
    {
        QFETCH(int, selector);
        QFETCH(QByteArray, codecName);
        const QString text = QStringLiteral("Öl ß €");
        const QByteArray encoded = QTextCodec::codecForName(codecName)->fromUnicode(text);

        setSelector(selector);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, bytes({ 2 }) + encoded));
        QVERIFY(rig.waitForCall("set_text_string(" + handleOf(93)));
        QCOMPARE(textById(93).value(0).toString(), text);
        QCOMPARE(rig.query(CMD_STATUSLINE, GROUP_QUERY, bytes({ 2 })), bytes({ 2 }) + encoded);
        setSelector(0);
    }

    void itemByteAloneClearsTheText()
    {
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, bytes({ 3, 'x' })));
        QVERIFY(rig.waitForCall("set_text_string(" + handleOf(92) + ", \"x\")"));
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, bytes({ 3 })));
        QVERIFY(rig.waitForCall("set_text_string(" + handleOf(92) + ", \"\")"));
        QCOMPARE(rig.query(CMD_STATUSLINE, GROUP_QUERY, bytes({ 3 })), bytes({ 3 }));
    }

    // Reading passes any other item through as a text identifier, without an
    // item byte in the reply; writing ignores item 0 and passes 5 to 255.
    void otherItems_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("textId");
        QTest::newRow("item 0") << bytes({ 0 }) << 0;
        QTest::newRow("no item byte") << QByteArray() << 0;
        QTest::newRow("item 7") << bytes({ 7 }) << 7;
        QTest::newRow("item 9") << bytes({ 9 }) << 9;
        QTest::newRow("item 255") << bytes({ 255 }) << 255;
    }
    void otherItems()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, textId);

        // No overlay text has these identifiers: handle 0, empty text.
        const std::optional<RigReply> reply = [&] {
            rig.write(TestRig::frame(CMD_STATUSLINE, GROUP_QUERY, request));
            return rig.expectAck() ? rig.readReply() : std::nullopt;
        }();
        QVERIFY2(reply, qPrintable(rig.lastError()));
        QCOMPARE(reply->command, CMD_STATUSLINE);
        QCOMPARE(reply->data, QByteArray());
        QVERIFY(rig.calls().contains(QString("get_text_handle_by_id(%1)").arg(textId)));
        QVERIFY(rig.calls().contains("get_text_string(0)"));

        rig.clearCalls();
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, request.isEmpty() ? request : request + "ab"));
        if (textId == 0) {
            QCOMPARE(callsUpToNow(), QStringList());
        } else {
            QCOMPARE(callsUpToNow(),
                     QStringList({ QString("get_text_handle_by_id(%1)").arg(textId), "set_text_string(0, \"ab\")" }));
        }
    }

    void colors_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("textId"); // 0: nothing happens
        QTest::addColumn<int>("foreground");
        QTest::addColumn<int>("background");
        QTest::newRow("0x2F") << bytes({ 1, 0x0F, 0x02 }) << 94 << 2 << 15;
        QTest::newRow("0x1F") << bytes({ 1, 0x1F, 0x00 }) << 94 << 1 << 15;
        // Byte 1 is not masked: 0x25 adds a high-nibble bit to the 1 of byte 2.
        QTest::newRow("unmasked byte 1") << bytes({ 2, 0x25, 0x01 }) << 93 << 3 << 5;
        QTest::newRow("shorthand 0x02") << bytes({ 3, 0x02, 0x00 }) << 92 << 15 << 0;
        QTest::newRow("shorthand 0x01") << bytes({ 4, 0x01 }) << 91 << 1 << 15;
        QTest::newRow("item byte alone") << bytes({ 4 }) << 91 << 1 << 0;
        QTest::newRow("item 5") << bytes({ 5, 0x0F, 0x02 }) << 0 << 0 << 0;
        QTest::newRow("item 0") << bytes({ 0, 0x0F, 0x02 }) << 0 << 0 << 0;
    }
    void colors()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, textId);
        QFETCH(int, foreground);
        QFETCH(int, background);

        QVERIFY(rig.send(CMD_STATUSLINE_COLOR, GROUP_SETTING, request));
        if (textId == 0) {
            QCOMPARE(callsUpToNow(), QStringList());
            return;
        }
        QVERIFY(rig.waitForCall(QString("set_text_colors(%1, %2, %3)").arg(handleOf(textId)).arg(foreground).arg(background)));
        const QVariantList text = textById(textId);
        QCOMPARE(text.value(3).toInt(), foreground);
        QCOMPARE(text.value(4).toInt(), background);
    }

    // Group 0, 0x90 to 0x9B: show, hide, toggle for items 1 to 4 in turn.
    void stateAndVisibility_data()
    {
        QTest::addColumn<int>("item");
        QTest::addColumn<int>("textId");
        QTest::newRow("item 1") << 1 << 94;
        QTest::newRow("item 2") << 2 << 93;
        QTest::newRow("item 3") << 3 << 92;
        QTest::newRow("item 4") << 4 << 91;
    }
    void stateAndVisibility()
    {
        QFETCH(int, item);
        QFETCH(int, textId);
        const quint8 show = quint8(CMD_STATUSLINE + 3 * (item - 1));
        const quint8 hide = quint8(show + 1);
        const quint8 toggle = quint8(show + 2);

        QVERIFY(rig.send(CMD_STATUSLINE_COLOR, GROUP_SETTING, bytes({ item, 0x0F, 0x02 })));
        QVERIFY(rig.send(hide, GROUP_ACTION));
        QVERIFY(rig.waitForLog("RS232Handler::fh_sta_visibility"));
        QCOMPARE(rig.query(CMD_STATUSLINE_STATE, GROUP_QUERY, bytes({ item })), bytes({ item, 0x2F, 0, 0, 0 }));
        QCOMPARE(textById(textId).value(5).toBool(), false);

        QVERIFY(rig.send(toggle, GROUP_ACTION));
        QCOMPARE(rig.query(CMD_STATUSLINE_STATE, GROUP_QUERY, bytes({ item })), bytes({ item, 0x2F, 1, 0, 0 }));
        QVERIFY(rig.send(hide, GROUP_ACTION));
        QVERIFY(rig.send(show, GROUP_ACTION));
        QCOMPARE(rig.query(CMD_STATUSLINE_STATE, GROUP_QUERY, bytes({ item })), bytes({ item, 0x2F, 1, 0, 0 }));
        QCOMPARE(textById(textId).value(5).toBool(), true);

        QVERIFY(rig.send(CMD_STATUSLINE_COLOR, GROUP_SETTING, bytes({ item, 0x0D, 0x01 })));
        QCOMPARE(rig.query(CMD_STATUSLINE_STATE, GROUP_QUERY, bytes({ item })), bytes({ item, 0x1D, 1, 0, 0 }));
    }

    void stateNotAnswered_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QVariantList>("colors"); // the overlay's answer; empty: its own
        QTest::newRow("item 0") << bytes({ 0 }) << QVariantList();
        QTest::newRow("no item byte") << QByteArray() << QVariantList();
        QTest::newRow("item 5") << bytes({ 5 }) << QVariantList();
        QTest::newRow("three colours") << bytes({ 1 }) << QVariantList({ 1, 2, 3 });
        QTest::newRow("one colour") << bytes({ 1 }) << QVariantList({ 1 });
    }
    void stateNotAnswered()
    {
        QFETCH(QByteArray, request);
        QFETCH(QVariantList, colors);
        if (!colors.isEmpty())
            rig.sim("set_reply", { "get_text_colors", QVariant(colors) });

        QVERIFY(rig.send(CMD_STATUSLINE_STATE, GROUP_QUERY, request));
        QVERIFY(settled());
        rig.sim("clear_replies");
        QVERIFY(!hasCallStartingWith("is_text_visible"));
    }

    void stateFromOverriddenColors()
    {
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList({ 7, 9 })) });
        const QByteArray state = rig.query(CMD_STATUSLINE_STATE, GROUP_QUERY, bytes({ 2 }));
        rig.sim("clear_replies");
        QCOMPARE(state.left(2), bytes({ 2, 0x79 }));
    }

    void backgroundColorIsAStub()
    {
        for (int command = 0xA0; command <= 0xAB; ++command)
            QVERIFY(rig.send(quint8(command), GROUP_ACTION, bytes({ 1, 0x0F, 0x02 })));
        QCOMPARE(callsUpToNow(), QStringList());
        QCOMPARE(rig.serviceLog().count("RS232Handler::fh_sta_bgcolor : not implemented"), 12);
    }
};

QTEST_GUILESS_MAIN(TestStatusLine)
#include "test_status_line.moc"
