// The text screen commands from the PC's side: lines written and read back in
// each character set, the fixed lines, colour codes, the cursor command,
// temporary texts, single overlay texts and the whole overlay switched on and
// off, typed characters, and the log line of each command. The service runs
// with a Russian locale (the locale codec is ISO-8859-5) and at log level 6,
// so the visibility command's debug line must not appear.
#include "TestRig.h"
#include "screen_probe.h"

#include <QTest>

namespace {
QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int value : values)
        out.append(char(value));
    return out;
}

const QString PRIVET = QString::fromUtf8("Привет");

// "UTF-16" as this host's codec writes it: a byte-order mark, host order.
QByteArray utf16InHostOrder(const QString& text)
{
    const QString withMark = QChar(QChar::ByteOrderMark) + text;
    return QByteArray(reinterpret_cast<const char*>(withMark.utf16()), withMark.size() * 2);
}

enum Selector { LOCALE_CODEC = 0, UTF8 = 1, UTF16 = 2 };
}

class TestTextScreen : public QObject
{
    Q_OBJECT

    TestRig rig;

    bool command(quint8 id, quint8 group, const QByteArray& data = {})
    {
        return rig.send(id, group, data) && awaitOverlay(rig);
    }
    bool setSelector(int selector) { return command(0x01, 2, bytes({ selector })); }
    bool setCursor(int column, int line) { return command(0x62, 2, bytes({ column, line })); }
    void type(const QByteArray& text)
    {
        rig.write(text);
        QVERIFY(awaitOverlay(rig));
    }
    SimText onlyTextOn(int line)
    {
        const QList<int> texts = textsOnLine(rig, line);
        return texts.size() == 1 ? simText(rig, texts.first()) : SimText();
    }
    QStringList callsOf(const std::function<void()>& action)
    {
        rig.clearCalls();
        action();
        return overlayCallsSoFar(rig);
    }

private slots:
    void initTestCase()
    {
        RigOptions options;
        options.locale = "ru_RU";
        options.extraArgs = QStringList { "-l", "6" };
        TALVOX_RIG_START(rig, options);
    }
    void init();

    void lineRoundTrip_data();
    void lineRoundTrip();
    void lineReadWithoutData();
    void fixedLinesRead_data();
    void fixedLinesRead();
    void cursorCommand_data();
    void cursorCommand();
    void cursorColors_data();
    void cursorColors();
    void lineColors_data();
    void lineColors();
    void setTextWritesAtCursor();
    void emptyTextDoesNothing();
    void tempTexts_data();
    void tempTexts();
    void textVisibilityById_data();
    void textVisibilityById();
    void overlayVisibility();
    void typedCharacters_data();
    void typedCharacters();
    void logLines_data();
    void logLines();
    void visibilityLogsAtDebugLevelOnly();
};

void TestTextScreen::init()
{
    QVERIFY(setSelector(LOCALE_CODEC));
    QVERIFY(command(0x88, 0));
    QVERIFY(command(0x92, 2, bytes({ 0x1D })));
    QVERIFY(setCursor(0, 3));
}

void TestTextScreen::lineRoundTrip_data()
{
    QTest::addColumn<int>("selector");
    QTest::addColumn<int>("oneBasedLine");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QByteArray>("answered");

    const QByteArray iso5 = QByteArray::fromHex("bfe0d8d2d5e2");
    const QByteArray utf8 = QByteArray::fromHex("d09fd180d0b8d0b2d0b5d182");
    const QByteArray utf16 = utf16InHostOrder(PRIVET);
    const QByteArray utf16BigEndian = QByteArray::fromHex("feff041f04400438043204350442");

    QTest::newRow("locale codec, ordinary line") << int(LOCALE_CODEC) << 5 << iso5 << iso5;
    QTest::newRow("UTF-8, ordinary line") << int(UTF8) << 5 << utf8 << utf8;
    QTest::newRow("UTF-16, ordinary line") << int(UTF16) << 5 << utf16 << utf16;
    QTest::newRow("UTF-16 big-endian in, host order out") << int(UTF16) << 5 << utf16BigEndian << utf16;
    QTest::newRow("out-of-range selector 7 is ignored") << 7 << 5 << iso5 << iso5;
    QTest::newRow("locale codec, fixed line 1") << int(LOCALE_CODEC) << 2 << iso5 << iso5;
    QTest::newRow("UTF-8, last line") << int(UTF8) << 16 << utf8 << utf8;
    QTest::newRow("UTF-16, fixed line 2") << int(UTF16) << 3 << utf16 << utf16;
}

void TestTextScreen::lineRoundTrip()
{
    QFETCH(int, selector);
    QFETCH(int, oneBasedLine);
    QFETCH(QByteArray, sent);
    QFETCH(QByteArray, answered);
    QVERIFY(setSelector(selector));
    QVERIFY(command(0x98, 2, bytes({ oneBasedLine }) + sent));

    const QByteArray reply = rig.query(0x98, 1, bytes({ oneBasedLine }));
    QCOMPARE(reply.mid(1).toHex(), answered.toHex());
    QCOMPARE(int(quint8(reply.at(0))), oneBasedLine);
    QVERIFY2(screenRow(rig, oneBasedLine - 1).startsWith(PRIVET + " "), qPrintable(rig.screen()));
    QVERIFY(command(0x98, 2, bytes({ oneBasedLine })));
}

void TestTextScreen::lineReadWithoutData()
{
    // Line byte 0 addresses line 255: an empty ordinary line.
    QCOMPARE(rig.query(0x98, 1).toHex(), QByteArray("00"));
}

void TestTextScreen::fixedLinesRead_data()
{
    QTest::addColumn<int>("oneBasedLine");
    QTest::addColumn<int>("textId");

    QTest::newRow("line 0: text 94") << 1 << 94;
    QTest::newRow("line 1: text 93") << 2 << 93;
    QTest::newRow("line 2: text 92") << 3 << 92;
    QTest::newRow("last line: text 91") << 16 << 91;
}

void TestTextScreen::fixedLinesRead()
{
    QFETCH(int, oneBasedLine);
    QFETCH(int, textId);
    QVERIFY(setSelector(UTF8));
    QVERIFY(command(0x98, 2, bytes({ oneBasedLine }) + "ABC"));
    QCOMPARE(fixedText(rig, textId).text, QString("ABC"));
    QCOMPARE(rig.query(0x98, 1, bytes({ oneBasedLine })), bytes({ oneBasedLine }) + "ABC");
    QVERIFY(textsOnLine(rig, oneBasedLine - 1).isEmpty());
    QVERIFY(command(0x98, 2, bytes({ oneBasedLine })));
    QCOMPARE(fixedText(rig, textId).text, QString());
}

void TestTextScreen::cursorCommand_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("line");

    // Column and line count from 0 here, unlike the line commands.
    QTest::newRow("5, 7") << bytes({ 5, 7 }) << 5 << 7;
    QTest::newRow("line 1 goes to 3") << bytes({ 5, 1 }) << 5 << 3;
    QTest::newRow("no data: 0, 3") << QByteArray() << 0 << 3;
    QTest::newRow("column only") << bytes({ 12 }) << 12 << 3;
    QTest::newRow("last column goes to 0") << bytes({ 39, 6 }) << 0 << 6;
    QTest::newRow("last line goes to 14") << bytes({ 10, 15 }) << 10 << 14;
}

void TestTextScreen::cursorCommand()
{
    QFETCH(QByteArray, data);
    QFETCH(int, column);
    QFETCH(int, line);
    QVERIFY(setCursor(20, 9));
    QVERIFY(command(0x62, 2, data));
    type("*");
    const SimText star = onlyTextOn(line);
    QCOMPARE(star.text, QString("*"));
    QCOMPARE(star.column, column);
}

void TestTextScreen::cursorColors_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("foreground");
    QTest::addColumn<int>("background");

    QTest::newRow("0x00 shorthand") << 0x00 << 1 << 0;
    QTest::newRow("0x01 shorthand") << 0x01 << 1 << 15;
    QTest::newRow("0x02 shorthand") << 0x02 << 15 << 0;
    QTest::newRow("0x03 shorthand") << 0x03 << 15 << 1;
    QTest::newRow("0x07") << 0x07 << 0 << 7;
    QTest::newRow("0x2F") << 0x2F << 2 << 15;
    QTest::newRow("0xF0") << 0xF0 << 15 << 0;
}

void TestTextScreen::cursorColors()
{
    // One byte: the cursor colours, applied at once to the cursor's line and
    // to every text created afterwards.
    QFETCH(int, code);
    QFETCH(int, foreground);
    QFETCH(int, background);
    type("a");
    QVERIFY(setCursor(5, 3));
    type("b");
    QVERIFY(command(0x92, 2, bytes({ code })));
    for (int handle : textsOnLine(rig, 3)) {
        const SimText text = simText(rig, handle);
        QCOMPARE(text.foreground, foreground);
        QCOMPARE(text.background, background);
    }
    QVERIFY(setCursor(0, 8));
    type("c");
    const SimText later = onlyTextOn(8);
    QCOMPARE(later.foreground, foreground);
    QCOMPARE(later.background, background);
}

void TestTextScreen::lineColors_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("foreground"); // of the texts on screen line 3; -1: unchanged
    QTest::addColumn<int>("background");

    QTest::newRow("line 4, 0x2F") << bytes({ 4, 0x2F }) << 2 << 15;
    QTest::newRow("line 4, shorthand 0x03") << bytes({ 4, 0x03 }) << 15 << 1;
    QTest::newRow("line 4, 0x07") << bytes({ 4, 0x07 }) << 0 << 7;
    QTest::newRow("third byte not read") << bytes({ 4, 0x2F, 0x55 }) << 2 << 15;
    QTest::newRow("another line") << bytes({ 5, 0x2F }) << -1 << -1;
    QTest::newRow("fixed line 0 holds no texts") << bytes({ 1, 0x2F }) << -1 << -1;
    QTest::newRow("no data: line 255") << QByteArray() << -1 << -1;
}

void TestTextScreen::lineColors()
{
    // Two bytes: a 1-based line and its colours; the cursor colours stay.
    QFETCH(QByteArray, data);
    QFETCH(int, foreground);
    QFETCH(int, background);
    type("a");
    QVERIFY(setCursor(5, 3));
    type("b");
    const QList<int> texts = textsOnLine(rig, 3);

    const QStringList calls = callsOf([&] { QVERIFY(command(0x92, 2, data)); });
    if (foreground < 0) {
        QCOMPARE(calls, QStringList());
    } else {
        QCOMPARE(calls.size(), texts.size());
        for (int handle : texts) {
            const SimText text = simText(rig, handle);
            QCOMPARE(text.foreground, foreground);
            QCOMPARE(text.background, background);
        }
    }
    QVERIFY(setCursor(0, 8));
    type("c");
    QCOMPARE(onlyTextOn(8).foreground, 1);
    QCOMPARE(onlyTextOn(8).background, 13);
}

void TestTextScreen::setTextWritesAtCursor()
{
    // Decoded in the selected set, written at the cursor, cursor advanced.
    QVERIFY(setSelector(UTF8));
    QVERIFY(command(0x95, 2, PRIVET.toUtf8()));
    QVERIFY(command(0x95, 2, "!"));
    const SimText text = onlyTextOn(3);
    QCOMPARE(text.text, PRIVET + "!");
    QVERIFY(screenRow(rig, 3).startsWith(PRIVET + "! "));
}

void TestTextScreen::emptyTextDoesNothing()
{
    QCOMPARE(callsOf([&] { QVERIFY(command(0x95, 2)); }), QStringList());
}

void TestTextScreen::tempTexts_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QStringList>("expected");

    const auto draw = [](const char* text, int line, int duration) {
        return QString::fromUtf8("draw_temp_text(\"%1\", 1, 13, 0, %2, %3)").arg(QString::fromUtf8(text)).arg(line).arg(duration);
    };
    QTest::newRow("two texts from line 4")
        << bytes({ 4, 10, 0 }) + "AB" + bytes({ 0 }) + "CD"
        << QStringList { draw("AB", 3, 10), draw("CD", 4, 10), draw("", 5, 10), draw("", 6, 10), draw("", 7, 10) };
    QTest::newRow("first line 0 draws at -1")
        << bytes({ 0, 3, 0x7F }) + "x"
        << QStringList { draw("x", -1, 3), draw("", 0, 3), draw("", 1, 3), draw("", 2, 3), draw("", 3, 3) };
    QTest::newRow("texts beyond the fifth ignored")
        << bytes({ 2, 255, 0 }) + QByteArray("a\0b\0c\0d\0e\0f\0g", 13)
        << QStringList { draw("a", 1, 255), draw("b", 2, 255), draw("c", 3, 255), draw("d", 4, 255), draw("e", 5, 255) };
    QTest::newRow("no data") << QByteArray()
                             << QStringList { draw("", -1, 0), draw("", 0, 0), draw("", 1, 0), draw("", 2, 0), draw("", 3, 0) };
    QTest::newRow("locale codec") << bytes({ 10, 1, 0, 0xB6 })
                                  << QStringList { draw("Ж", 9, 1), draw("", 10, 1), draw("", 11, 1), draw("", 12, 1), draw("", 13, 1) };
}

void TestTextScreen::tempTexts()
{
    QFETCH(QByteArray, data);
    QFETCH(QStringList, expected);
    rig.clearCalls();
    QVERIFY(rig.send(0xD7, 2, data));
    QVERIFY(rig.waitForCall(expected.last()));
    QCOMPARE(rig.calls(), expected);
    // Not part of the character screen: the cursor did not move.
    type("z");
    QCOMPARE(onlyTextOn(3).column, 0);
}

void TestTextScreen::textVisibilityById_data()
{
    QTest::addColumn<int>("showId");
    QTest::addColumn<int>("textId");

    // Each text: show, hide, toggle under three consecutive command ids.
    const int table[][2] = { { 48, 95 },  { 54, 100 }, { 57, 101 }, { 64, 89 },  { 80, 90 },  { 112, 102 },
                             { 184, 84 }, { 187, 85 }, { 204, 88 }, { 218, 103 }, { 221, 86 }, { 240, 99 },
                             { 243, 98 }, { 246, 97 }, { 249, 96 }, { 252, 87 } };
    for (const auto& row : table)
        QTest::addRow("%d: text %d", row[0], row[1]) << row[0] << row[1];
}

void TestTextScreen::textVisibilityById()
{
    QFETCH(int, showId);
    QFETCH(int, textId);
    const QString byId = QString("get_text_handle_by_id(%1)").arg(textId);
    const int h = 1000 + textId;
    const auto step = [&](int commandId) { return callsOf([&] { QVERIFY(command(commandId, 0, "ignored")); }); };

    QCOMPARE(step(showId + 1), QStringList({ byId, QString("hide_text(%1)").arg(h) }));
    QVERIFY(!fixedText(rig, textId).visible);
    QCOMPARE(step(showId + 2),
             QStringList({ byId, QString("is_text_visible(%1)").arg(h), QString("show_text(%1)").arg(h) }));
    QVERIFY(fixedText(rig, textId).visible);
    QCOMPARE(step(showId + 2),
             QStringList({ byId, QString("is_text_visible(%1)").arg(h), QString("hide_text(%1)").arg(h) }));
    QVERIFY(!fixedText(rig, textId).visible);
    QCOMPARE(step(showId), QStringList({ byId, QString("show_text(%1)").arg(h) }));
    QVERIFY(fixedText(rig, textId).visible);
}

void TestTextScreen::overlayVisibility()
{
    rig.clearCalls();
    QVERIFY(rig.send(0x81, 0, "x"));
    QVERIFY(rig.waitForCall("hide_overlay()"));
    QVERIFY(rig.screen().contains("overlay: hidden"));
    QVERIFY(rig.send(0x80, 0));
    QVERIFY(rig.waitForCall("show_overlay()"));
    QVERIFY(rig.screen().contains("overlay: shown"));
    QCOMPARE(rig.calls(), QStringList({ "hide_overlay()", "show_overlay()" }));
}

void TestTextScreen::typedCharacters_data()
{
    QTest::addColumn<int>("selector");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QString>("painted"); // on screen line 3; empty: nothing written

    QTest::newRow("locale codec") << int(LOCALE_CODEC) << QByteArray("Hi") << QString("Hi");
    QTest::newRow("locale codec is ISO-8859-5") << int(LOCALE_CODEC) << QByteArray::fromHex("bfe0d8d2d5e2") << PRIVET;
    QTest::newRow("selector 9 refused: still the locale codec") << 9 << QByteArray("ok") << QString("ok");
    QTest::newRow("UTF-8: not written") << int(UTF8) << QByteArray("Hi") << QString();
    QTest::newRow("UTF-16: not written") << int(UTF16) << QByteArray("Hi") << QString();
}

void TestTextScreen::typedCharacters()
{
    QFETCH(int, selector);
    QFETCH(QByteArray, typed);
    QFETCH(QString, painted);
    QVERIFY(setSelector(selector));
    const QStringList calls = callsOf([&] { type(typed); });
    if (painted.isEmpty()) {
        QCOMPARE(calls, QStringList());
        QVERIFY(textsOnLine(rig, 3).isEmpty());
    } else {
        QCOMPARE(onlyTextOn(3).text, painted);
        QVERIFY2(screenRow(rig, 3).startsWith(painted + " "), qPrintable(rig.screen()));
    }
}

void TestTextScreen::logLines_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("line");

    QTest::newRow("clear screen") << TestRig::frame(0x88, 0) << "RS232Handler::fh_clear_screen";
    QTest::newRow("set cursor") << TestRig::frame(0x62, 2, bytes({ 1, 4 })) << "RS232Handler::fh_set_cursor";
    QTest::newRow("line colour") << TestRig::frame(0x92, 2, bytes({ 0x1D })) << "RS232Handler::fh_set_line_color";
    QTest::newRow("set line") << TestRig::frame(0x98, 2, bytes({ 9 })) << "RS232Handler::fh_set_line";
    QTest::newRow("set text") << TestRig::frame(0x95, 2, "t") << "RS232Handler::fh_set_text";
    QTest::newRow("temp text") << TestRig::frame(0xD7, 2) << "RS232Handler::fh_start_temp_text";
    QTest::newRow("overlay") << TestRig::frame(0x80, 0) << "RS232Handler::fh_overlay_visibility";
    QTest::newRow("typed") << QByteArray("t") << "RS232Handler::add_char_to_line";
    // The read that every row waits with.
    QTest::newRow("get line") << QByteArray() << "RS232Handler::fh_get_line";
}

void TestTextScreen::logLines()
{
    QFETCH(QByteArray, input);
    QFETCH(QString, line);
    const auto count = [&] { return rig.serviceLog().count(line + "\n"); };
    const int before = count();
    rig.write(input);
    if (input.startsWith(char(0x02)))
        QVERIFY(rig.expectAck());
    QVERIFY(awaitOverlay(rig));
    QTRY_COMPARE(count(), before + 1);
}

void TestTextScreen::visibilityLogsAtDebugLevelOnly()
{
    // Level 7 is below this service's level 6: the command is carried out,
    // but neither its own line nor the dispatch line appears.
    rig.clearCalls();
    QVERIFY(rig.send(0x30, 0));
    QVERIFY(rig.waitForCall("show_text(1095)"));
    QVERIFY(awaitOverlay(rig));
    QVERIFY(!rig.serviceLog().contains("RS232Handler::fh_sys_visibility"));
    QVERIFY(!rig.serviceLog().contains("handling 0x30|0x0"));
}

QTEST_GUILESS_MAIN(TestTextScreen)
#include "test_text_screen.moc"
