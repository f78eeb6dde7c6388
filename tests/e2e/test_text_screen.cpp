// SPDX-License-Identifier: BSD-2-Clause
// The character screen and text commands as the overlay sees them; Russian locale (ISO-8859-5), log level 6.
#include "TestRig.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

class TestTextScreen : public QObject
{
    Q_OBJECT

    TestRig rig;
    const QString privet = QString::fromUtf8("Привет");
    const QByteArray privetIso5 = hex("bfe0d8d2d5e2");

    // Expected calls with %1, %2, ... standing for the given handles.
    static QStringList withHandles(QStringList calls, const QList<int>& handles)
    {
        for (QString& call : calls)
            for (int i = 0; i < handles.size(); ++i)
                call.replace(QString("%%1").arg(i + 1), QString::number(handles.at(i)));
        return calls;
    }

    // Typed bytes have no ACK, commands are ACKed before they run: reading fixed line 1 waits for both.
    bool awaitOverlay() { return !rig.query(0x98, 1, hex("02")).isEmpty(); }
    bool command(int id, int group, QByteArray data = {}) { return rig.send(id, group, data) && awaitOverlay(); }
    bool type(const QByteArray& text)
    {
        rig.write(text);
        return awaitOverlay();
    }
    bool cursor(int column, int line) { return command(0x62, 2, byte(column) + byte(line)); }
    bool setLine(int line, const QByteArray& text = {}) { return command(0x98, 2, byte(line) + text); }
    QByteArray readLine(int line) { return rig.query(0x98, 1, byte(line)).mid(1); }

    // The overlay calls an action caused, without those of awaitOverlay() (text 93's handle, asked for once).
    template <typename Action> QStringList callsOf(Action action)
    {
        rig.clearCalls();
        action();
        QString calls = awaitOverlay() ? rig.calls().join('\n') + '\n' : "no barrier: " + rig.lastError();
        return calls.remove("get_text_handle_by_id(93)\n")
            .remove("get_text_string(1093)\n")
            .split('\n', Qt::SkipEmptyParts);
    }
    // Those texts as "string at column, foreground on background".
    QString lineTexts(int line)
    {
        QStringList texts;
        for (int handle : rig.textsOn(line)) {
            const QStringList a = QVariant(rig.sim("text", { handle })).toStringList();
            texts << QString("%1 at %2, %3 on %4").arg(a.value(0), a.value(1), a.value(3), a.value(4));
        }
        return texts.join("; ");
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig, RigOptions { "ru_RU", { "-l", "6" } }); }
    // Locale codec, clear screen, colours 1 on 13, cursor (0, 3): no cursor data reads (0, 0), 3 the first line.
    void init()
    {
        rig.sim("clear_replies");
        QVERIFY(command(0x01, 2, hex("00")) && command(0x88, 0) && command(0x92, 2, hex("1d")) && command(0x62, 2));
    }

    // A typed run is one text; a character continues any text ending at the cursor, else it starts another.
    // Where its texts end and what they hold the manager knows: the overlay is not asked, and a run's
    // characters go out in one string (two if the flush timer falls between "A" and "B").
    void typedRunsAreTexts()
    {
        QStringList calls = callsOf([&] { QVERIFY(type("AB")); });
        calls.removeOne(withHandles({ "set_text_string(%1, \"A\")" }, rig.textsOn(3)).first());
        QCOMPARE(calls,
                 withHandles({ "create_text()", "set_text_position(%1, 0, 3)", "set_text_colors(%1, 1, 13)",
                               "show_text(%1)", "set_text_string(%1, \"AB\")" },
                             rig.textsOn(3)));
        QVERIFY(cursor(5, 3) && type("cd") && cursor(2, 3)); // "AB" ends at 2: "x" continues it, past "cd"
        calls = callsOf([&] { QVERIFY(type("x")); });
        QCOMPARE(calls, withHandles({ "set_text_string(%1, \"ABx\")" }, rig.textsOn(3)));
        QVERIFY(cursor(0, 3) && type("C"));
        QCOMPARE(lineTexts(3), QString("ABx at 0, 1 on 13; cd at 5, 1 on 13; C at 0, 1 on 13"));
        QCOMPARE(readLine(4), QByteArray("CcdABx")); // most recent first, gaps not filled, not sorted by column
    }

    // Typed characters and frames in one write: each frame finds the characters before it on the overlay,
    // the text a run covers already gone ("ABCD" hides "xy" at columns 2 and 3).
    void typedTextReachesTheOverlayBeforeTheNextFrame()
    {
        QVERIFY(cursor(2, 3) && command(0x95, 2, "xy"));
        const QByteArray lineGet = TestRig::frame(0x98, 1, hex("04"));
        rig.write(TestRig::frame(0x62, 2, hex("0003")) + "ABC" + lineGet + "DEF" + lineGet);
        QCOMPARE(rig.read(1).toHex(), QByteArray("06"));
        for (const QByteArray& expected : { QByteArray("ABCxy"), QByteArray("ABCDEF") }) {
            QCOMPARE(rig.read(1).toHex(), QByteArray("06"));
            const std::optional<RigReply> reply = rig.readReply();
            QVERIFY2(reply, qPrintable(rig.lastError()));
            QCOMPARE(reply->data, hex("04") + expected);
        }
        QVERIFY(awaitOverlay());
        QCOMPARE(lineTexts(3), QString("ABCDEF at 0, 1 on 13"));
    }

    // Characters typed just before the process ends still reach the overlay: the run held back for
    // them is sent on the way out, whether a signal ends the service or the line goes away. The
    // signal or hang-up follows the log line of the last character at once, well within the delay
    // (on a busy machine the delay may pass first: then the case proves less, but never fails).
    void typedTextOutlivesTheService_data()
    {
        QTest::addColumn<bool>("lineGoes");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("SIGTERM") << false << 0;
        QTest::newRow("line gone") << true << 7;
    }
    void typedTextOutlivesTheService()
    {
        QFETCH(bool, lineGoes);
        QFETCH(int, exitCode);
        TestRig own;
        TALVOX_RIG_START(own, RigOptions { "ru_RU" });
        own.write("ABC");
        for (QElapsedTimer waited; own.serviceLog().count("RS232Handler::add_char_to_line") < 3;) {
            QVERIFY2(waited.elapsed() < 5000, "the typed characters were not handled");
            QThread::usleep(200);
        }
        if (lineGoes)
            own.hangUp();
        else
            own.signalService(SIGTERM);
        QCOMPARE(own.waitForExit(5000), exitCode);
        QVERIFY2(own.screen().contains("ABC"), qPrintable(own.screen()));
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
        const QByteArray answer = rig.query(0x98, 1, byte(line));
        const QByteArray text = TestRig::encoded(answeredIn.constData(), privet, TestRig::markedOrder(answer.mid(1)));
        QCOMPARE(answer.toHex(), (byte(line) + text).toHex());
        const QString row = rig.screen().split('\n').value(line); // below the frame's top border
        QVERIFY2(row.mid(1).startsWith(privet + " "), qPrintable(rig.screen()));
    }

    // A line's text is created once, then a single text at column 0 only gets the new string; the cursor stays.
    // The last line is fixed text 91, its handle asked for once; no line byte reads line 0, that is 255: empty.
    void setLineCalls()
    {
        const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Hi")); });
        QCOMPARE(calls,
                 withHandles({ "create_text()", "set_text_position(%1, 0, 8)", "set_text_colors(%1, 1, 13)",
                               "set_text_string(%1, \"Hi\")", "show_text(%1)" },
                             rig.textsOn(8)));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(9, "Yo")); }),
                 withHandles({ "get_text_colors(%1)", "get_text_position(%1)", "set_text_string(%1, \"Yo\")" },
                             rig.textsOn(8)));
        QVERIFY(type("c"));
        QCOMPARE(lineTexts(3), QString("c at 0, 1 on 13"));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16, "Fix")); }),
                 QStringList({ "get_text_handle_by_id(91)", "set_text_string(1091, \"Fix\")" }));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(16)); }), QStringList({ "set_text_string(1091, \"\")" }));
        QCOMPARE(rig.query(0x98, 1).toHex(), QByteArray("00"));
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
        const QStringList destroyed = withHandles({ "destroy_text(%2)", "destroy_text(%1)" }, rig.textsOn(3));
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
        rig.sim("set_reply", { "get_text_position", QVariant(QVariantList { 0, 3 }) });
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList { 4 }) });
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

    // Set text is decoded in the selected set; typed bytes in the locale codec, and dropped under UTF-8.
    void setTextAndTypedCharacters()
    {
        QCOMPARE(callsOf([&] { QVERIFY(command(0x95, 2)); }), QStringList()); // empty: nothing
        QVERIFY(type(privetIso5) && command(0x01, 2, hex("01")) && command(0x95, 2, privet.toUtf8()));
        QVERIFY(type(privetIso5) && command(0x95, 2, "!"));
        QCOMPARE(lineTexts(3), privet + privet + "! at 0, 1 on 13");
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
        QTEST(callsOf([&] { QVERIFY(rig.send(0xD7, 2, data)); }), "expected");
        QVERIFY(type("z")); // not part of the character screen: the cursor did not move
        QCOMPARE(lineTexts(3), QString("z at 0, 1 on 13"));
    }

    // A text written completely over an older one hides it: the older one goes, the screen stays as drawn.
    void rewritingAFieldInPlaceKeepsOneText()
    {
        const auto write = [&](const QByteArray& text) { return cursor(10, 5) && command(0x95, 2, text); };
        // The texts on line 5, then the screen's columns 10 to 17 there.
        const auto shown = [&] { return lineTexts(5) + " | " + rig.screen().split('\n').value(6).mid(11, 8); };
        QVERIFY(write("111111") && write("22")); // partly covered: kept
        QCOMPARE(shown(), QString("111111 at 10, 1 on 13; 22 at 10, 1 on 13 | 221111  "));
        QVERIFY(cursor(8, 5) && type("ab") && command(0x95, 2, "333333")); // "ab333333", continued, over both
        QCOMPARE(shown(), QString("ab333333 at 8, 1 on 13 | 333333  "));

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
        QCOMPARE(shown(), QString("ab333333 at 8, 1 on 13; NNNNNN at 10, 1 on 13 | NNNNNN  "));
    }

    // Commands 252, 253, 254: show, hide, toggle text 87; the toggle asks whether it is visible.
    void textVisibilityById()
    {
        const auto step = [&](int id) { return callsOf([&] { QVERIFY(command(id, 0, "ignored")); }); };
        QCOMPARE(step(253), QStringList({ "get_text_handle_by_id(87)", "hide_text(1087)" }));
        // Asked for once: the handle of a fixed text stays for the overlay's lifetime.
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "show_text(1087)" }));
        QCOMPARE(step(254), QStringList({ "is_text_visible(1087)", "hide_text(1087)" }));
        QCOMPARE(step(252), QStringList({ "show_text(1087)" }));
        QVERIFY(!rig.serviceLog().contains("RS232Handler::fh_sys_visibility")); // logged at level 7, not 6
    }
};

QTEST_GUILESS_MAIN(TestTextScreen)
#include "test_text_screen.moc"
