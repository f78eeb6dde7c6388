// The character screen and text commands as the overlay sees them; Russian locale (ISO-8859-5), log level 6.
#include "TestRig.h"

#include <QDBusArgument>
#include <QRegularExpression>
#include <QTest>

#include <functional>

namespace {
const QString PRIVET = QString::fromUtf8("Привет");
const QByteArray PRIVET_ISO5 = QByteArray::fromHex("bfe0d8d2d5e2");
enum Selector { LOCALE_CODEC = 0, UTF8 = 1, UTF16 = 2 };

// Expected calls with %1, %2, ... standing for the given handles.
QStringList withHandles(QStringList calls, const QList<int>& handles)
{
    for (QString& call : calls)
        for (int i = 0; i < handles.size(); ++i)
            call.replace(QString("%%1").arg(i + 1), QString::number(handles.at(i)));
    return calls;
}
} // namespace

class TestTextScreen : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Typed bytes have no ACK, commands are ACKed before they run: reading fixed line 1 waits for both.
    bool awaitOverlay() { return !rig.query(0x98, 1, hex("02")).isEmpty(); }
    bool command(int id, int group, QByteArray data = {}) { return rig.send(id, group, data) && awaitOverlay(); }
    bool type(const QByteArray& text)
    {
        rig.write(text);
        return awaitOverlay();
    }
    bool setSelector(int selector) { return command(0x01, 2, byte(selector)); }
    bool cursor(int column, int line) { return command(0x62, 2, byte(column) + byte(line)); }
    bool setLine(int line, const QByteArray& text = {}) { return command(0x98, 2, byte(line) + text); }
    QByteArray readLine(int line) { return rig.query(0x98, 1, byte(line)).mid(1); }

    // The overlay calls an action caused, without those of awaitOverlay().
    QStringList callsOf(const std::function<void()>& action)
    {
        rig.clearCalls();
        action();
        QString calls = awaitOverlay() ? rig.calls().join('\n') + '\n' : "no barrier: " + rig.lastError();
        // The fixed text's handle is asked for only on its first use.
        return calls.remove("get_text_handle_by_id(93)\n")
            .remove("get_text_string(1093)\n")
            .split('\n', Qt::SkipEmptyParts);
    }
    // Handles of the created texts on a 0-based line, in creation order.
    QList<int> textsOn(int line) { return qdbus_cast<QList<int>>(rig.sim("texts_on_line", { line }).value(0)); }
    // Those texts as "string at column, foreground on background".
    QString lineTexts(int line)
    {
        QStringList texts;
        for (int handle : textsOn(line)) {
            const QStringList a = QVariant(rig.sim("text", { handle })).toStringList();
            texts << QString("%1 at %2, %3 on %4").arg(a.value(0), a.value(1), a.value(3), a.value(4));
        }
        return texts.join("; ");
    }

private slots:
    void initTestCase()
    {
        RigOptions options;
        options.locale = "ru_RU";
        options.extraArgs = QStringList { "-l", "6" };
        TALVOX_RIG_START(rig, options);
    }
    void init()
    {
        rig.sim("clear_replies");
        QVERIFY(setSelector(LOCALE_CODEC) && command(0x88, 0) && command(0x92, 2, hex("1d")) && cursor(0, 3));
    }

    void runIsOneTextAndOverwritingStartsAnother()
    {
        const QStringList calls = callsOf([&] { QVERIFY(type("AB")); });
        QCOMPARE(calls,
                 withHandles({ "create_text()", "set_text_position(%1, 0, 3)", "set_text_colors(%1, 1, 13)",
                               "show_text(%1)", "get_text_string(%1)", "set_text_string(%1, \"A\")",
                               "get_text_position(%1)", "get_text_string(%1)", "set_text_string(%1, \"AB\")" },
                             textsOn(3)));
        QVERIFY(cursor(0, 3) && type("C"));
        QCOMPARE(lineTexts(3), QString("AB at 0, 1 on 13; C at 0, 1 on 13"));
        QCOMPARE(readLine(4), QByteArray("CAB")); // most recent first
    }

    void continuesAnyTextEndingAtTheCursor()
    {
        QVERIFY(cursor(0, 5) && type("ab") && cursor(5, 5) && type("cd"));
        QCOMPARE(readLine(6), QByteArray("cdab")); // gaps not filled, texts not sorted by column
        QVERIFY(cursor(2, 5)); // "ab" ends at column 2: "x" there continues it, past the more recent "cd"
        const QStringList calls = callsOf([&] { QVERIFY(type("x")); });
        QCOMPARE(calls,
                 withHandles({ "get_text_position(%2)", "get_text_position(%1)", "get_text_string(%1)",
                               "set_text_string(%1, \"abx\")" },
                             textsOn(5)));
    }

    // Advancing wraps after column 39 and past the last line to line 3; a written text runs past the edge.
    void cursorWrapsButWrittenTextStaysOneText()
    {
        QVERIFY(cursor(38, 14) && type("XYZW") && cursor(35, 6) && command(0x95, 2, "HelloWorld") && type("!"));
        const QString texts = QStringList({ lineTexts(14), lineTexts(3), lineTexts(6), lineTexts(7) }).join(" | ");
        QCOMPARE(texts, QString("XY at 38, 1 on 13 | ZW at 0, 1 on 13 | HelloWorld at 35, 1 on 13 | ! at 5, 1 on 13"));
    }

    void lineRoundTrip_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<int>("line"); // 1-based
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("answered");
        const QString marked = QChar(QChar::ByteOrderMark) + PRIVET;
        const QByteArray utf16(reinterpret_cast<const char*>(marked.utf16()), marked.size() * 2);
        QTest::newRow("locale codec") << int(LOCALE_CODEC) << 5 << PRIVET_ISO5 << PRIVET_ISO5;
        QTest::newRow("UTF-8, fixed line 2") << int(UTF8) << 3 << PRIVET.toUtf8() << PRIVET.toUtf8();
        QTest::newRow("UTF-16 big-endian in, with a byte-order mark in host order out")
            << int(UTF16) << 5 << QByteArray::fromHex("feff041f04400438043204350442") << utf16;
    }
    void lineRoundTrip()
    {
        QFETCH(int, selector);
        QFETCH(int, line);
        QFETCH(QByteArray, sent);
        QFETCH(QByteArray, answered);
        QVERIFY(setSelector(selector) && setLine(line, sent));
        QCOMPARE(rig.query(0x98, 1, byte(line)).toHex(), (byte(line) + answered).toHex());
        const QString row = rig.screen().split('\n').value(line); // below the frame's top border
        QVERIFY2(row.mid(1).startsWith(PRIVET + " "), qPrintable(rig.screen()));
    }

    // Missing request bytes read as 0: the cursor goes to (0, 0), so to line 3; line 0 reads as 255, empty.
    void requestsWithoutData()
    {
        QVERIFY(cursor(20, 9) && command(0x62, 2) && type("+"));
        QCOMPARE(lineTexts(3), QString("+ at 0, 1 on 13"));
        QCOMPARE(rig.query(0x98, 1).toHex(), QByteArray("00"));
    }

    void setLineCreatesThenReuses()
    {
        const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Hi")); });
        const QList<int> texts = textsOn(8);
        QCOMPARE(calls,
                 withHandles({ "create_text()", "set_text_position(%1, 0, 8)", "set_text_colors(%1, 1, 13)",
                               "set_text_string(%1, \"Hi\")", "show_text(%1)", "set_text_string(%1, \"Hi\")" },
                             texts));
        // A single text at column 0 only gets the new string.
        QCOMPARE(callsOf([&] { QVERIFY(setLine(9, "Yo")); }),
                 withHandles({ "get_text_colors(%1)", "get_text_position(%1)", "set_text_string(%1, \"Yo\")" }, texts));
        QVERIFY(type("c")); // the cursor did not move
        QCOMPARE(lineTexts(3), QString("c at 0, 1 on 13"));
    }

    void setLineReplacesOtherTextsKeepingColours()
    {
        // Line 9: a text at column 4, 2 on 15; line 3: "a" in 1 on 13, then "b" in 4 on 14 (chosen on line 11).
        QVERIFY(cursor(4, 9) && type("q") && command(0x92, 2, hex("0a2f")));
        QVERIFY(cursor(0, 3) && type("a") && cursor(5, 11) && command(0x92, 2, hex("4e")));
        QVERIFY(cursor(5, 3) && type("b") && setLine(10, "New") && setLine(4, "Z"));
        QCOMPARE(lineTexts(9) + "; " + lineTexts(3), QString("New at 0, 2 on 15; Z at 0, 4 on 14"));
    }

    // The last line is fixed text 91; clearing empties it, and it stays.
    void lastLineIsAFixedText()
    {
        const QString byId = "get_text_handle_by_id(91)";
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16, "Fix")); }),
                 QStringList({ byId, "set_text_string(1091, \"Fix\")" }));
        QCOMPARE(readLine(16), QByteArray("Fix"));
        // The fixed text's handle is known from then on.
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16)); }), QStringList({ "set_text_string(1091, \"\")" }));
    }

    void clearLineThenScreen()
    {
        QVERIFY(type("a") && cursor(5, 3) && type("b") && setLine(6, "x") && setLine(8, "y") && setLine(3, "kept"));
        QVERIFY(cursor(7, 6));
        const QStringList destroyed = withHandles({ "destroy_text(%2)", "destroy_text(%1)" }, textsOn(3));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(4)); }), destroyed);
        QCOMPARE(readLine(6), QByteArray("x"));
        QCOMPARE(callsOf([&] { QVERIFY(command(0x88, 0)); }).size(), 2); // all texts; fixed ones and the cursor stay
        QCOMPARE(lineTexts(5) + lineTexts(7), QString());
        QCOMPARE(readLine(3), QByteArray("kept"));
        QVERIFY(type("k") && setLine(3));
        QCOMPARE(lineTexts(6), QString("k at 7, 1 on 13"));
    }

    // Only a three-element position and a two-element colour list count.
    void malformedAnswersCountAsNoMatch()
    {
        rig.sim("set_reply", { "get_text_position", QVariant(QVariantList { 0, 3 }) });
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList { 4 }) });
        QVERIFY(type("AB"));
        QCOMPARE(readLine(4), QByteArray("BA"));
        QVERIFY(setLine(4, "C")); // not known to start at column 0: rebuilt, in the cursor colours
        QCOMPARE(lineTexts(3), QString("C at 0, 1 on 13"));
    }

    // One byte: cursor colours, also for its line. More: a 1-based line (0: 255), its colours, 3rd byte unread.
    void colours_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("onCursorLine"); // the colours of the texts on line 3 afterwards
        QTest::addColumn<QString>("later");        // a text created afterwards
        QTest::newRow("cursor") << hex("03") << "15 on 1"
                                << "c at 0, 15 on 1";
        QTest::newRow("line 4") << hex("040155") << "1 on 15"
                                << "c at 0, 1 on 13";
        QTest::newRow("no data") << QByteArray() << "1 on 13"
                                 << "c at 0, 1 on 13";
    }
    void colours()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, onCursorLine);
        QVERIFY(type("a") && cursor(5, 3) && type("b") && command(0x92, 2, data) && cursor(0, 8) && type("c"));
        QCOMPARE(lineTexts(3), QString("a at 0, %1; b at 5, %1").arg(onCursorLine));
        QTEST(lineTexts(8), "later");
    }

    // Set text is decoded in the selected set; typed bytes in the locale codec, and dropped under UTF-8.
    void setTextAndTypedCharacters()
    {
        QCOMPARE(callsOf([&] { QVERIFY(command(0x95, 2)); }), QStringList()); // empty: nothing
        QVERIFY(type(PRIVET_ISO5) && setSelector(UTF8) && command(0x95, 2, PRIVET.toUtf8()) && type(PRIVET_ISO5));
        QVERIFY(command(0x95, 2, "!"));
        QCOMPARE(lineTexts(3), PRIVET + PRIVET + "! at 0, 1 on 13");
    }

    void tempTexts_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("expected");
        const auto draw = [](const QStringList& t, int line, int time) { // five calls, one per line
            QStringList calls;
            for (int i = 0; i < 5; ++i)
                calls << QString("draw_temp_text(\"%1\", 1, 13, 0, %2, %3)").arg(t.value(i)).arg(line + i).arg(time);
            return calls;
        };
        QTest::newRow("first line 0 draws at -1, byte 2 unread") << hex("00037f") + "x" << draw({ "x" }, -1, 3);
        QTest::newRow("locale codec, beyond the fifth ignored")
            << hex("02ff00b6") + QByteArray("\0b\0c\0d\0e\0f", 10) << draw({ "Ж", "b", "c", "d", "e" }, 1, 255);
        QTest::newRow("no data") << QByteArray() << draw({}, -1, 0);
    }
    void tempTexts()
    {
        QFETCH(QByteArray, data);
        QFETCH(QStringList, expected);
        rig.clearCalls();
        QVERIFY(rig.send(0xD7, 2, data) && rig.waitForCall(expected.last()));
        QCOMPARE(rig.calls(), expected);
        QVERIFY(type("z")); // not part of the character screen: the cursor did not move
        QCOMPARE(lineTexts(3), QString("z at 0, 1 on 13"));
    }

    // A text written completely over an older one hides it: the older one goes, the screen stays as drawn.
    void rewritingAFieldInPlaceKeepsOneText()
    {
        const auto write = [&](const QByteArray& text) { return cursor(10, 5) && command(0x95, 2, text); };
        const auto row = [&] { return rig.screen().split('\n').value(6).mid(11, 8); }; // line 5, columns 10 to 17
        QVERIFY(write("111111") && write("22"));
        QCOMPARE(lineTexts(5), QString("111111 at 10, 1 on 13; 22 at 10, 1 on 13")); // partly covered: kept
        QCOMPARE(row(), QString("221111  "));
        QVERIFY(cursor(8, 5) && type("ab") && command(0x95, 2, "333333")); // "ab333333", continued, over both
        QCOMPARE(lineTexts(5), QString("ab333333 at 8, 1 on 13"));
        QCOMPARE(row(), QString("333333  "));

        // 2,000 refreshes of one field: one text, and the last refresh makes the same calls as the second.
        const auto refresh = [&] {
            return callsOf([&] { QVERIFY(write("NNNNNN")); }).replaceInStrings(QRegularExpression("\\d+"), "#");
        };
        refresh();
        const QStringList firstCalls = refresh();
        for (int i = 2; i < 1999; ++i)
            QVERIFY(write("NNNNNN"));
        QCOMPARE(refresh(), firstCalls);
        QCOMPARE(firstCalls.filter("destroy_text").size(), 1);
        QCOMPARE(rig.sim("created_text_count").value(0).toInt(), 2);
        QCOMPARE(lineTexts(5), QString("ab333333 at 8, 1 on 13; NNNNNN at 10, 1 on 13"));
        QCOMPARE(row(), QString("NNNNNN  "));
    }

    // Commands 252, 253, 254: show, hide, toggle text 87; the toggle asks whether it is visible.
    void textVisibilityById()
    {
        const auto step = [&](int id) { return callsOf([&] { QVERIFY(command(id, 0, "ignored")); }); };
        const QString byId = "get_text_handle_by_id(87)";
        QCOMPARE(step(253), QStringList({ byId, "hide_text(1087)" }));
        // Asked for once: the handle of a fixed text stays for the overlay's lifetime.
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "show_text(1087)" }));
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "hide_text(1087)" }));
        QCOMPARE(step(252), QStringList({ "show_text(1087)" }));
        QVERIFY(!rig.serviceLog().contains("RS232Handler::fh_sys_visibility")); // logged at level 7, not 6
    }
};

QTEST_GUILESS_MAIN(TestTextScreen)
#include "test_text_screen.moc"
