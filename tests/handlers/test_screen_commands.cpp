// SPDX-License-Identifier: BSD-2-Clause
// The character screen and text commands as the overlay sees them; Russian locale (ISO-8859-5). Text typed on
// the line and fields refreshed in place: tests/e2e/test_text_screen.
#include "CEventLogger.h"
#include "HandlerFixture.h"
#include "ScreenTexts.h"

#include <QTest>

class TestScreenCommands : public QObject
{
    Q_OBJECT

    HandlerFixture fixture;
    const QString privet = QString::fromUtf8("Привет");
    const QByteArray privetIso5 = hex("bfe0d8d2d5e2");

    bool command(int id, int group, const QByteArray& data = {}) { return fixture.send(id, group, data); }
    // Typed characters reach the overlay before the next frame: here the codec query, which calls nobody.
    bool type(const QByteArray& text)
    {
        fixture.type(text);
        return fixture.query(0x01, QUERY).size() == 1;
    }
    bool cursor(int column, int line) { return command(0x62, 2, byte(column) + byte(line)); }
    bool setLine(int line, const QByteArray& text = {}) { return command(0x98, 2, byte(line) + text); }
    QByteArray readLine(int line) { return fixture.query(0x98, 1, byte(line)).mid(1); }
    QString lineTexts(int line) { return ::lineTexts(fixture, line); }

    // The overlay calls an action caused.
    template <typename Action> QStringList callsOf(Action action)
    {
        fixture.clearCalls();
        action();
        return fixture.calls();
    }

private slots:
    void initTestCase() { TALVOX_HANDLERS_START(fixture, "ru_RU"); }
    // Locale codec, clear screen, colours 1 on 13, cursor (0, 3): no cursor data reads (0, 0), 3 the first line.
    void init()
    {
        fixture.sim("clear_replies");
        QVERIFY(command(0x01, 2, hex("00")) && command(0x88, 0) && command(0x92, 2, hex("1d")) && command(0x62, 2));
    }

    // Advancing wraps after column 39 and past the last line to line 3; a written text runs past the edge.
    void cursorWrapsButWrittenTextStaysOneText()
    {
        QVERIFY(cursor(38, 14) && type("XYZW") && cursor(35, 6) && command(0x95, 2, "HelloWorld") && type("!"));
        const QString texts = QStringList({ lineTexts(14), lineTexts(3), lineTexts(6), lineTexts(7) }).join(" | ");
        QCOMPARE(texts, QString("XY at 38, 1 on 13 | ZW at 0, 1 on 13 | HelloWorld at 35, 1 on 13 | ! at 5, 1 on 13"));
    }

    // Line 3 (1-based) is fixed text 92, line 5 a created text; the reply starts with the line byte.
    void lineRoundTrip_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("answeredIn"); // the character set of the answer
        QTest::newRow("locale codec") << 0 << 5 << privetIso5 << QByteArray("ISO-8859-5");
        QTest::newRow("UTF-8, fixed line") << 1 << 3 << privet.toUtf8() << QByteArray("UTF-8");
        QTest::newRow("UTF-16 big-endian in, with a byte-order mark in the controller's order out")
            << 2 << 5 << hex("feff041f04400438043204350442") << QByteArray("UTF-16");
    }
    void lineRoundTrip()
    {
        QFETCH(int, selector);
        QFETCH(int, line);
        QFETCH(QByteArray, sent);
        QFETCH(QByteArray, answeredIn);
        QVERIFY(command(0x01, 2, byte(selector)) && setLine(line, sent));
        const QByteArray answer = fixture.query(0x98, 1, byte(line));
        const QByteArray text = encoded(answeredIn.constData(), privet, markedOrder(answer.mid(1)));
        QCOMPARE(answer.toHex(), (byte(line) + text).toHex());
        const QString screen = fixture.sim("screen").value(0).toString();
        QVERIFY2(screen.split('\n').value(line).mid(1).startsWith(privet + " "),
                 qPrintable(screen)); // below the border
    }

    // A line's text is created once, then a single text at column 0 only gets the new string; the cursor stays.
    // The last line is fixed text 91, its handle asked for once; no line byte reads line 0, that is 255: empty.
    void setLineCalls()
    {
        const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Hi")); });
        QCOMPARE(calls,
                 withHandles({ "create_text()", "set_text_position(%1, 0, 8)", "set_text_colors(%1, 1, 13)",
                               "set_text_string(%1, \"Hi\")", "show_text(%1)" },
                             fixture.textsOn(8)));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(9, "Yo")); }),
                 withHandles({ "get_text_colors(%1)", "get_text_position(%1)", "set_text_string(%1, \"Yo\")" },
                             fixture.textsOn(8)));
        QVERIFY(type("c"));
        QCOMPARE(lineTexts(3), QString("c at 0, 1 on 13"));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16, "Fix")); }),
                 QStringList({ "get_text_handle_by_id(91)", "set_text_string(1091, \"Fix\")" }));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16)); }), QStringList({ "set_text_string(1091, \"\")" }));
        QCOMPARE(fixture.query(0x98, 1).toHex(), QByteArray("00"));
    }

    void setLineReplacesOtherTextsKeepingColours()
    {
        // Line 9: a text at column 4, 2 on 15; line 3: "a" in 1 on 13, then "b" in 4 on 14 (chosen on line 11).
        QVERIFY(cursor(4, 9) && type("q") && command(0x92, 2, hex("0a2f")));
        QVERIFY(cursor(0, 3) && type("a") && cursor(5, 11) && command(0x92, 2, hex("4e")));
        QVERIFY(cursor(5, 3) && type("b") && setLine(10, "New") && setLine(4, "Z"));
        QCOMPARE(lineTexts(9) + "; " + lineTexts(3), QString("New at 0, 2 on 15; Z at 0, 4 on 14"));
    }

    // Clearing a line destroys its texts, clearing the screen all created ones; fixed texts and the cursor stay.
    void clearLineThenScreen()
    {
        QVERIFY(type("a") && cursor(5, 3) && type("b") && setLine(6, "x") && setLine(8, "y") && setLine(3, "kept"));
        QVERIFY(cursor(7, 6));
        const QStringList destroyed = withHandles({ "destroy_text(%2)", "destroy_text(%1)" }, fixture.textsOn(3));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(4)); }), destroyed);
        QCOMPARE(callsOf([&] { QVERIFY(command(0x88, 0)); }).size(), 2);
        QCOMPARE(lineTexts(5) + lineTexts(7), QString());
        QCOMPARE(readLine(3), QByteArray("kept"));
        QVERIFY(type("k") && setLine(3));
        QCOMPARE(lineTexts(6), QString("k at 7, 1 on 13"));
    }

    // Only a three-element position and a two-element colour list count. Typed text does not ask where
    // the manager's own texts end: "AB" stays one text.
    void malformedAnswersCountAsNoMatch()
    {
        fixture.sim("set_reply", { "get_text_position", QVariant(QVariantList { 0, 3 }) });
        fixture.sim("set_reply", { "get_text_colors", QVariant(QVariantList { 4 }) });
        QVERIFY(type("AB"));
        QCOMPARE(readLine(4), QByteArray("AB"));
        QVERIFY(setLine(4, "C")); // not known to start at column 0: rebuilt, in the cursor colours
        QCOMPARE(lineTexts(3), QString("C at 0, 1 on 13"));
    }

    // One byte: cursor colours, also for its line. More: a 1-based line (0: 255), its colours, 3rd byte unread.
    void colours_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("texts"); // on the cursor's line 3 | created on line 8 afterwards
        QTest::newRow("cursor") << hex("03") << "a at 0, 15 on 1; b at 5, 15 on 1 | c at 0, 15 on 1";
        QTest::newRow("line 4") << hex("040155") << "a at 0, 1 on 15; b at 5, 1 on 15 | c at 0, 1 on 13";
        QTest::newRow("no data") << QByteArray() << "a at 0, 1 on 13; b at 5, 1 on 13 | c at 0, 1 on 13";
    }
    void colours()
    {
        QFETCH(QByteArray, data);
        QVERIFY(type("a") && cursor(5, 3) && type("b") && command(0x92, 2, data) && cursor(0, 8) && type("c"));
        QTEST(lineTexts(3) + " | " + lineTexts(8), "texts");
    }

    // Five lines from the first (0: -1), in 1 on 13 at column 0, for the given time; byte 2 unread.
    void tempTexts_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("expected");
        const auto draw = [](const QStringList& t, int line, int time) {
            QStringList calls;
            for (int i = 0; i < 5; ++i)
                calls << QString("draw_temp_text(\"%1\", 1, 13, 0, %2, %3)").arg(t.value(i)).arg(line + i).arg(time);
            return calls;
        };
        QTest::newRow("first line 0, one text") << hex("00037f") + "x" << draw({ "x" }, -1, 3);
        QTest::newRow("locale codec, beyond the fifth ignored")
            << hex("02ff00b6") + QByteArray("\0b\0c\0d\0e\0f", 10) << draw({ "Ж", "b", "c", "d", "e" }, 1, 255);
    }
    void tempTexts()
    {
        QFETCH(QByteArray, data);
        QTEST(callsOf([&] { QVERIFY(fixture.send(0xD7, 2, data)); }), "expected");
        QVERIFY(type("z")); // not part of the character screen: the cursor did not move
        QCOMPARE(lineTexts(3), QString("z at 0, 1 on 13"));
    }

    // Commands 252, 253, 254: show, hide, toggle text 87; the toggle asks whether it is visible.
    void textVisibilityById()
    {
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_INFO);
        fixture.takeLog();
        const auto step = [&](int id) { return callsOf([&] { QVERIFY(command(id, 0, "ignored")); }); };
        QCOMPARE(step(253), QStringList({ "get_text_handle_by_id(87)", "hide_text(1087)" }));
        // Asked for once: the handle of a fixed text stays for the overlay's lifetime.
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "show_text(1087)" }));
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "hide_text(1087)" }));
        QCOMPARE(step(252), QStringList({ "show_text(1087)" }));
        CEventLogger::setMaximumLogLevel(CEventLogger::LOG_LEVEL_DEBUG);
        QVERIFY(!fixture.takeLog().contains("RS232Handler::fh_sys_visibility")); // logged at level 7, not 6
    }
};

QTEST_GUILESS_MAIN(TestScreenCommands)
#include "test_screen_commands.moc"
