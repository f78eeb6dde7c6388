// SPDX-License-Identifier: BSD-2-Clause
// Text typed on the line and fields refreshed in place, as the overlay sees them; Russian locale (ISO-8859-5),
// log level 6. The screen commands on their own: tests/handlers/test_screen_commands.
#include "ScreenTexts.h"
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

    // Typed bytes have no ACK, commands are ACKed before they run: reading fixed line 1 waits for both.
    bool awaitOverlay() { return !rig.query(0x98, 1, hex("02")).isEmpty(); }
    bool command(int id, int group, QByteArray data = {}) { return rig.send(id, group, data) && awaitOverlay(); }
    bool type(const QByteArray& text)
    {
        rig.write(text);
        return awaitOverlay();
    }
    bool cursor(int column, int line) { return command(0x62, 2, byte(column) + byte(line)); }
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
    QString lineTexts(int line) { return ::lineTexts(rig, line); }

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

    // Set text is decoded in the selected set; typed bytes in the locale codec, and dropped under UTF-8.
    void setTextAndTypedCharacters()
    {
        QCOMPARE(callsOf([&] { QVERIFY(command(0x95, 2)); }), QStringList()); // empty: nothing
        QVERIFY(type(privetIso5) && command(0x01, 2, hex("01")) && command(0x95, 2, privet.toUtf8()));
        QVERIFY(type(privetIso5) && command(0x95, 2, "!"));
        QCOMPARE(lineTexts(3), privet + privet + "! at 0, 1 on 13");
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
};

QTEST_GUILESS_MAIN(TestTextScreen)
#include "test_text_screen.moc"
