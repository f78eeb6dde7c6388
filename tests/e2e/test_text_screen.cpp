// The character screen driven from the serial line, as the overlay sees it:
// runs of characters kept in one overlay text, lines read back most recent
// text first, the fixed lines, the cursor, whole lines rewritten or cleared;
// and the text screen commands around it. The service runs with a Russian
// locale (the locale codec is ISO-8859-5) and at log level 6.
#include "TestRig.h"

#include <QDBusArgument>
#include <QTest>

#include <functional>

namespace {
const QString PRIVET = QString::fromUtf8("Привет");
const QByteArray PRIVET_ISO5 = QByteArray::fromHex("bfe0d8d2d5e2");
enum Selector { LOCALE_CODEC = 0, UTF8 = 1, UTF16 = 2 };

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int value : values)
        out.append(char(value));
    return out;
}

// Expected calls with %1, %2, ... standing for the given handles.
QStringList withHandles(QStringList calls, const QList<int>& handles)
{
    for (QString& call : calls)
        for (int i = 0; i < handles.size(); ++i)
            call.replace(QString("%%1").arg(i + 1), QString::number(handles.at(i)));
    return calls;
}
}

class TestTextScreen : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Typed characters have no ACK, and a command is ACKed before it is
    // carried out: a read of fixed line 1 is answered only after the overlay
    // took every call sent before it.
    bool awaitOverlay() { return !rig.query(0x98, 1, bytes({ 2 })).isEmpty(); }
    bool command(quint8 id, quint8 group, const QByteArray& data = {})
    {
        return rig.send(id, group, data) && awaitOverlay();
    }
    bool type(const QByteArray& text)
    {
        rig.write(text);
        return awaitOverlay();
    }
    bool setSelector(int selector) { return command(0x01, 2, bytes({ selector })); }
    bool cursor(int column, int line) { return command(0x62, 2, bytes({ column, line })); }
    bool setLine(int line, const QByteArray& text = {}) { return command(0x98, 2, bytes({ line }) + text); }
    QByteArray readLine(int line) { return rig.query(0x98, 1, bytes({ line })).mid(1); }

    // The overlay calls an action caused, without those of awaitOverlay().
    QStringList callsOf(const std::function<void()>& action)
    {
        rig.clearCalls();
        action();
        if (!awaitOverlay())
            return { "barrier failed: " + rig.lastError() };
        QString calls = rig.calls().join('\n') + '\n';
        return calls.remove("get_text_handle_by_id(93)\nget_text_string(1093)\n").split('\n', Qt::SkipEmptyParts);
    }
    // Handles of the created texts on a 0-based line, in creation order.
    QList<int> textsOn(int line) { return qdbus_cast<QList<int>>(rig.sim("texts_on_line", { line }).value(0)); }
    // Those texts as "string at column, foreground on background".
    QString lineTexts(int line)
    {
        QStringList texts;
        for (int handle : textsOn(line)) {
            const QVariantList a = rig.sim("text", { handle });
            const auto field = [&](int i) { return a.value(i).toString(); };
            texts << QString("%1 at %2, %3 on %4").arg(field(0), field(1), field(3), field(4));
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
        QVERIFY(setSelector(LOCALE_CODEC) && command(0x88, 0) && command(0x92, 2, bytes({ 0x1D })) && cursor(0, 3));
    }

    void runIsOneTextAndOverwritingStartsAnother()
    {
        const QStringList calls = callsOf([&] { QVERIFY(type("AB")); });
        QCOMPARE(calls, withHandles({ "create_text()", "set_text_position(%1, 0, 3)", "set_text_colors(%1, 1, 13)",
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
        // Gaps are not filled and the texts are not sorted by column.
        QCOMPARE(readLine(6), QByteArray("cdab"));
        // "ab" ends at column 2: "x" there continues it, past the more recent "cd".
        QVERIFY(cursor(2, 5));
        const QStringList calls = callsOf([&] { QVERIFY(type("x")); });
        QCOMPARE(calls, withHandles({ "get_text_position(%2)", "get_text_position(%1)", "get_text_string(%1)",
                                      "set_text_string(%1, \"abx\")" },
                                    textsOn(5)));
    }

    void cursorWrapsButWrittenTextStaysOneText()
    {
        // Advancing reaches the last column 39, then wraps past the last line
        // and lines 0 to 2 to line 3; a written text runs past the edge.
        QVERIFY(cursor(38, 14) && type("XYZW") && cursor(35, 6) && command(0x95, 2, "HelloWorld") && type("!"));
        QCOMPARE(lineTexts(14), QString("XY at 38, 1 on 13"));
        QCOMPARE(lineTexts(3), QString("ZW at 0, 1 on 13"));
        QCOMPARE(lineTexts(6), QString("HelloWorld at 35, 1 on 13"));
        QCOMPARE(lineTexts(7), QString("! at 5, 1 on 13"));
    }

    void cursorCommand_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("line"); // where a "*" typed then lands
        QTest::addColumn<QString>("star");
        QTest::newRow("5, 7: both 0-based") << bytes({ 5, 7 }) << 7 << "* at 5, 1 on 13";
        QTest::newRow("no data: 0, 3") << QByteArray() << 3 << "* at 0, 1 on 13";
        QTest::newRow("last column goes to 0") << bytes({ 39, 6 }) << 6 << "* at 0, 1 on 13";
        QTest::newRow("last line goes to 14") << bytes({ 10, 15 }) << 14 << "* at 10, 1 on 13";
    }
    void cursorCommand()
    {
        QFETCH(QByteArray, data);
        QFETCH(int, line);
        QVERIFY(cursor(20, 9) && command(0x62, 2, data) && type("*"));
        QTEST(lineTexts(line), "star");
    }

    void lineRoundTrip_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<int>("line"); // 1-based
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("answered");
        const QByteArray utf8 = PRIVET.toUtf8();
        // "UTF-16" as this host's codec writes it: a byte-order mark, host order.
        const QString marked = QChar(QChar::ByteOrderMark) + PRIVET;
        const QByteArray utf16(reinterpret_cast<const char*>(marked.utf16()), marked.size() * 2);
        const QByteArray utf16BigEndian = QByteArray::fromHex("feff041f04400438043204350442");
        QTest::newRow("locale codec") << int(LOCALE_CODEC) << 5 << PRIVET_ISO5 << PRIVET_ISO5;
        QTest::newRow("UTF-8") << int(UTF8) << 5 << utf8 << utf8;
        QTest::newRow("UTF-16") << int(UTF16) << 5 << utf16 << utf16;
        QTest::newRow("UTF-16 big-endian in, host order out") << int(UTF16) << 5 << utf16BigEndian << utf16;
        QTest::newRow("selector 7: locale codec") << 7 << 5 << PRIVET_ISO5 << PRIVET_ISO5;
        QTest::newRow("UTF-16, fixed line 2") << int(UTF16) << 3 << utf16 << utf16;
    }
    void lineRoundTrip()
    {
        QFETCH(int, selector);
        QFETCH(int, line);
        QFETCH(QByteArray, sent);
        QFETCH(QByteArray, answered);
        QVERIFY(setSelector(selector) && setLine(line, sent));
        QCOMPARE(rig.query(0x98, 1, bytes({ line })).toHex(), (bytes({ line }) + answered).toHex());
        const QString row = rig.screen().split('\n').value(line); // below the frame's top border
        QVERIFY2(row.mid(1).startsWith(PRIVET + " "), qPrintable(rig.screen()));
        QVERIFY(setLine(line));
    }

    // No data: line byte 0 addresses line 255, an empty ordinary line.
    void lineReadWithoutData() { QCOMPARE(rig.query(0x98, 1).toHex(), QByteArray("00")); }

    void setLineCreatesThenReuses()
    {
        const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Hi")); });
        const QList<int> texts = textsOn(8);
        QCOMPARE(calls, withHandles({ "create_text()", "set_text_position(%1, 0, 8)", "set_text_colors(%1, 1, 13)",
                                      "set_text_string(%1, \"Hi\")", "show_text(%1)", "set_text_string(%1, \"Hi\")" },
                                    texts));
        // A single text at column 0 only gets the new string.
        QCOMPARE(callsOf([&] { QVERIFY(setLine(9, "Yo")); }),
                 withHandles({ "get_text_colors(%1)", "get_text_position(%1)", "set_text_string(%1, \"Yo\")" }, texts));
        QCOMPARE(textsOn(8), texts);
        // The cursor did not move.
        QVERIFY(type("c"));
        QCOMPARE(lineTexts(3), QString("c at 0, 1 on 13"));
    }

    void setLineReplacesOtherTextsKeepingColours()
    {
        // Line 9: one text at column 4, 2 on 15. Line 3: "a" in 1 on 13, then
        // "b" in 4 on 14 (chosen on line 11, as choosing recolours the cursor's line).
        QVERIFY(cursor(4, 9) && type("q") && command(0x92, 2, bytes({ 10, 0x2F })));
        QVERIFY(cursor(0, 3) && type("a") && cursor(5, 11) && command(0x92, 2, bytes({ 0x4E })));
        QVERIFY(cursor(5, 3) && type("b") && setLine(10, "New") && setLine(4, "Z"));
        QCOMPARE(lineTexts(9), QString("New at 0, 2 on 15"));
        QCOMPARE(lineTexts(3), QString("Z at 0, 4 on 14")); // the most recent text's colours
    }

    void fixedLinesAreTheOverlaysTexts_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("textId");
        QTest::newRow("line 0") << 1 << 94;
        QTest::newRow("line 1") << 2 << 93;
        QTest::newRow("line 2") << 3 << 92;
        QTest::newRow("last line") << 16 << 91;
    }
    void fixedLinesAreTheOverlaysTexts()
    {
        QFETCH(int, line);
        QFETCH(int, textId);
        const QString byId = QString("get_text_handle_by_id(%1)").arg(textId);
        const QString setString = QString("set_text_string(%1, \"%2\")").arg(1000 + textId);
        QCOMPARE(callsOf([&] { QVERIFY(setLine(line, "Fix")); }), QStringList({ byId, setString.arg("Fix") }));
        QCOMPARE(readLine(line), QByteArray("Fix"));
        // Clearing empties the fixed text; it stays.
        QCOMPARE(callsOf([&] { QVERIFY(setLine(line)); }), QStringList({ byId, setString.arg("") }));
    }

    void clearLineThenScreen()
    {
        QVERIFY(type("a") && cursor(5, 3) && type("b") && setLine(6, "x") && setLine(8, "y") && setLine(3, "kept"));
        QVERIFY(cursor(7, 6));
        // Only the line's texts, most recent first.
        const QStringList lineCalls = withHandles({ "destroy_text(%2)", "destroy_text(%1)" }, textsOn(3));
        QCOMPARE(callsOf([&] { QVERIFY(setLine(4)); }), lineCalls);
        QCOMPARE(readLine(6), QByteArray("x"));
        // Every text of the screen; the fixed texts and the cursor stay.
        QCOMPARE(callsOf([&] { QVERIFY(command(0x88, 0)); }).size(), 2);
        QCOMPARE(lineTexts(5) + lineTexts(7), QString());
        QCOMPARE(readLine(3), QByteArray("kept"));
        QVERIFY(type("k") && setLine(3));
        QCOMPARE(lineTexts(6), QString("k at 7, 1 on 13"));
    }

    void malformedAnswersCountAsNoMatch()
    {
        // Only a three-element position and a two-element colour list count.
        rig.sim("set_reply", { "get_text_position", QVariant(QVariantList { 0, 3 }) });
        rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList { 4 }) });
        QVERIFY(type("AB"));
        QCOMPARE(readLine(4), QByteArray("BA"));
        // Not known to start at column 0: rebuilt, in the cursor colours.
        QVERIFY(setLine(4, "C"));
        QCOMPARE(lineTexts(3), QString("C at 0, 1 on 13"));
    }

    void colours_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("onCursorLine"); // the colours of the texts on line 3 afterwards
        QTest::addColumn<QString>("later");        // a text created afterwards
        // One byte: the cursor colours, applied to the cursor's line at once.
        QTest::newRow("0x00 shorthand") << bytes({ 0x00 }) << "1 on 0" << "c at 0, 1 on 0";
        QTest::newRow("0x03 shorthand") << bytes({ 0x03 }) << "15 on 1" << "c at 0, 15 on 1";
        QTest::newRow("0x07") << bytes({ 0x07 }) << "0 on 7" << "c at 0, 0 on 7";
        // Two bytes: a 1-based line and its colours; the cursor colours stay.
        QTest::newRow("line 4, 0x01 shorthand") << bytes({ 4, 0x01 }) << "1 on 15" << "c at 0, 1 on 13";
        QTest::newRow("line 4, third byte not read") << bytes({ 4, 0x2F, 0x55 }) << "2 on 15" << "c at 0, 1 on 13";
        QTest::newRow("another line") << bytes({ 5, 0x2F }) << "1 on 13" << "c at 0, 1 on 13";
        QTest::newRow("no data: line 255") << QByteArray() << "1 on 13" << "c at 0, 1 on 13";
    }
    void colours()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, onCursorLine);
        QVERIFY(type("a") && cursor(5, 3) && type("b") && command(0x92, 2, data));
        QCOMPARE(lineTexts(3), QString("a at 0, %1; b at 5, %1").arg(onCursorLine));
        QVERIFY(cursor(0, 8) && type("c"));
        QTEST(lineTexts(8), "later");
    }

    void setTextWritesAtCursor()
    {
        QCOMPARE(callsOf([&] { QVERIFY(command(0x95, 2)); }), QStringList()); // empty: nothing
        // Decoded in the selected set, appended to one text, the cursor advanced.
        QVERIFY(setSelector(UTF8) && command(0x95, 2, PRIVET.toUtf8()) && command(0x95, 2, "!"));
        QCOMPARE(lineTexts(3), PRIVET + "! at 0, 1 on 13");
    }

    void tempTexts_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("expected");
        const auto draw = [](const QStringList& texts, int line, int duration) {
            QStringList calls;
            for (int i = 0; i < 5; ++i)
                calls << QString("draw_temp_text(\"%1\", 1, 13, 0, %2, %3)").arg(texts.value(i))
                             .arg(line + i).arg(duration);
            return calls;
        };
        QTest::newRow("first line 0 draws at -1, byte 2 unread") << bytes({ 0, 3, 0x7F }) + "x" << draw({ "x" }, -1, 3);
        QTest::newRow("texts beyond the fifth ignored")
            << bytes({ 2, 255, 0 }) + QByteArray("a\0b\0c\0d\0e\0f", 11) << draw({ "a", "b", "c", "d", "e" }, 1, 255);
        QTest::newRow("no data") << QByteArray() << draw({}, -1, 0);
        QTest::newRow("locale codec") << bytes({ 10, 1, 0, 0xB6 }) << draw({ QString::fromUtf8("Ж") }, 9, 1);
    }
    void tempTexts()
    {
        QFETCH(QByteArray, data);
        QFETCH(QStringList, expected);
        rig.clearCalls();
        QVERIFY(rig.send(0xD7, 2, data) && rig.waitForCall(expected.last()));
        QCOMPARE(rig.calls(), expected);
        // Not part of the character screen: the cursor did not move.
        QVERIFY(type("z"));
        QCOMPARE(lineTexts(3), QString("z at 0, 1 on 13"));
    }

    void textVisibilityById_data()
    {
        QTest::addColumn<int>("showId"); // then hide, toggle
        QTest::addColumn<int>("textId");
        QTest::newRow("48: text 95") << 48 << 95;
        QTest::newRow("252: text 87") << 252 << 87;
    }
    void textVisibilityById()
    {
        QFETCH(int, showId);
        QFETCH(int, textId);
        const QString byId = QString("get_text_handle_by_id(%1)").arg(textId);
        const auto call = [&](const char* method) { return QString("%1(%2)").arg(method).arg(1000 + textId); };
        const auto step = [&](int id) { return callsOf([&] { QVERIFY(command(id, 0, "ignored")); }); };
        // The toggle asks the overlay whether the text is visible.
        QCOMPARE(step(showId + 1), QStringList({ byId, call("hide_text") }));
        QCOMPARE(step(showId + 2), QStringList({ byId, call("is_text_visible"), call("show_text") }));
        QCOMPARE(step(showId + 2), QStringList({ byId, call("is_text_visible"), call("hide_text") }));
        QCOMPARE(step(showId), QStringList({ byId, call("show_text") }));
        // Logged at level 7, one below the others: not at this service's level 6.
        QVERIFY(!rig.serviceLog().contains("RS232Handler::fh_sys_visibility"));
    }

    void overlayVisibility()
    {
        rig.clearCalls();
        QVERIFY(rig.send(0x81, 0, "x") && rig.waitForCall("hide_overlay()"));
        QVERIFY(rig.send(0x80, 0) && rig.waitForCall("show_overlay()"));
        QCOMPARE(rig.calls(), QStringList({ "hide_overlay()", "show_overlay()" }));
    }

    void typedCharacters_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<QString>("written"); // on line 3, from typed ISO-8859-5 "Привет"
        QTest::newRow("locale codec") << int(LOCALE_CODEC) << PRIVET + " at 0, 1 on 13";
        QTest::newRow("UTF-8: not written") << int(UTF8) << QString();
        QTest::newRow("UTF-16: not written") << int(UTF16) << QString();
    }
    void typedCharacters()
    {
        QFETCH(int, selector);
        QVERIFY(setSelector(selector) && type(PRIVET_ISO5));
        QTEST(lineTexts(3), "written");
    }
};

QTEST_GUILESS_MAIN(TestTextScreen)
#include "test_text_screen.moc"
