// The character screen as the overlay sees it, driven from the serial line:
// typed characters and written texts kept in runs, one overlay text object
// per run; a character that does not continue a run starts a new object on
// top; lines read back most recent text first; the fixed lines 0, 1, 2 and
// the last line; the cursor's wrap; the rules by which a whole line is
// rewritten or cleared.
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

QString call(const char* format, int handle)
{
    return QString::fromLatin1(format).arg(handle);
}
}

class TestTextLines : public QObject
{
    Q_OBJECT

    TestRig rig;

    // The ACK goes out before the command is carried out: wait for the
    // overlay as well.
    bool command(quint8 id, quint8 group, const QByteArray& data = {})
    {
        return rig.send(id, group, data) && awaitOverlay(rig);
    }
    bool setCursor(int column, int line) { return command(0x62, 2, bytes({ column, line })); }
    bool setCursorColors(int code) { return command(0x92, 2, bytes({ code })); }
    bool setLine(int oneBasedLine, const QByteArray& text = {})
    {
        return command(0x98, 2, bytes({ oneBasedLine }) + text);
    }
    QByteArray readLine(int oneBasedLine) { return rig.query(0x98, 1, bytes({ oneBasedLine })).mid(1); }
    // Typed on the PC outside any frame; waits until it is on the overlay.
    void type(const QByteArray& text)
    {
        rig.write(text);
        QVERIFY(awaitOverlay(rig));
    }
    QStringList callsOf(const std::function<void()>& action)
    {
        rig.clearCalls();
        action();
        return overlayCallsSoFar(rig);
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }
    void init();

    void runOfCharactersIsOneText();
    void characterNotContinuingStartsNewText();
    void continuesAnyTextEndingAtTheCursor();
    void cursorWrapsOverOrdinaryLines();
    void writtenTextRunsPastTheEdge();
    void setLineOnEmptyLineCreatesText();
    void setLineReusesSingleTextAtColumnZero();
    void setLineReplacesSingleTextElsewhere();
    void setLineReplacesSeveralTexts();
    void fixedLinesAreTheOverlaysTexts_data();
    void fixedLinesAreTheOverlaysTexts();
    void clearLineDestroysItsTextsOnly();
    void clearFixedLineEmptiesIt();
    void clearScreenKeepsCursorAndFixedTexts();
    void malformedAnswersCountAsNoMatch();
};

void TestTextLines::init()
{
    rig.sim("clear_replies");
    QVERIFY(command(0x88, 0));
    QVERIFY(setCursorColors(0x1D));
    QVERIFY(setCursor(0, 3));
}

void TestTextLines::runOfCharactersIsOneText()
{
    const QStringList calls = callsOf([&] { type("AB"); });
    const QList<int> texts = textsOnLine(rig, 3);
    QCOMPARE(texts.size(), 1);
    const int h = texts.first();
    QCOMPARE(calls, QStringList({
                        "create_text()",
                        call("set_text_position(%1, 0, 3)", h),
                        call("set_text_colors(%1, 1, 13)", h),
                        call("show_text(%1)", h),
                        call("get_text_string(%1)", h),
                        call("set_text_string(%1, \"A\")", h),
                        call("get_text_position(%1)", h),
                        call("get_text_string(%1)", h),
                        call("set_text_string(%1, \"AB\")", h),
                    }));
    const SimText text = simText(rig, h);
    QCOMPARE(text.text, QString("AB"));
    QCOMPARE(text.column, 0);
    QCOMPARE(text.line, 3);
    QVERIFY(text.visible);
    QVERIFY(screenRow(rig, 3).startsWith("AB "));
}

void TestTextLines::characterNotContinuingStartsNewText()
{
    type("AB");
    QVERIFY(setCursor(0, 3));
    type("C");
    const QByteArray line = readLine(4);

    const QList<int> texts = textsOnLine(rig, 3);
    QCOMPARE(texts.size(), 2);
    QCOMPARE(simText(rig, texts.at(0)).text, QString("AB"));
    const SimText second = simText(rig, texts.at(1));
    QCOMPARE(second.text, QString("C"));
    QCOMPARE(second.column, 0);
    // Drawn over the first; read back most recent first.
    QVERIFY(screenRow(rig, 3).startsWith("CB "));
    QCOMPARE(line, QByteArray("CAB"));
}

void TestTextLines::continuesAnyTextEndingAtTheCursor()
{
    QVERIFY(setCursor(0, 5));
    type("ab");
    QVERIFY(setCursor(5, 5));
    type("cd");
    // Gaps are not filled and the texts are not sorted by column.
    QCOMPARE(readLine(6), QByteArray("cdab"));

    // "ab" ends at column 2: a character there continues it, although "cd"
    // is the more recent text.
    QVERIFY(setCursor(2, 5));
    const QStringList calls = callsOf([&] { type("x"); });
    const QList<int> texts = textsOnLine(rig, 5);
    QCOMPARE(texts.size(), 2);
    const int ab = texts.at(0);
    const int cd = texts.at(1);
    QCOMPARE(calls, QStringList({
                        call("get_text_position(%1)", cd),
                        call("get_text_position(%1)", ab),
                        call("get_text_string(%1)", ab),
                        call("set_text_string(%1, \"abx\")", ab),
                    }));
    QCOMPARE(readLine(6), QByteArray("cdabx"));
    QCOMPARE(screenRow(rig, 5).left(8), QString("abx  cd "));
}

void TestTextLines::cursorWrapsOverOrdinaryLines()
{
    // Placing cannot reach the last column 39, advancing can; from there the
    // cursor wraps past the last line and lines 0 to 2 to line 3.
    QVERIFY(setCursor(38, 14));
    type("XYZ");
    type("W");
    QCOMPARE(readLine(15), QByteArray("XY"));
    QCOMPARE(readLine(4), QByteArray("ZW"));
    QCOMPARE(screenRow(rig, 14).right(3), QString(" XY"));
    QVERIFY(screenRow(rig, 3).startsWith("ZW "));
    QCOMPARE(simText(rig, textsOnLine(rig, 14).value(0)).column, 38);
}

void TestTextLines::writtenTextRunsPastTheEdge()
{
    // One object holds the whole text; only the cursor wraps, to (5, 7).
    QVERIFY(setCursor(35, 6));
    QVERIFY(command(0x95, 2, "HelloWorld"));
    type("!");
    QCOMPARE(readLine(7), QByteArray("HelloWorld"));
    QCOMPARE(screenRow(rig, 6).right(5), QString("Hello"));
    const QList<int> next = textsOnLine(rig, 7);
    QCOMPARE(next.size(), 1);
    const SimText mark = simText(rig, next.first());
    QCOMPARE(mark.text, QString("!"));
    QCOMPARE(mark.column, 5);
}

void TestTextLines::setLineOnEmptyLineCreatesText()
{
    const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Hi")); });
    const QList<int> texts = textsOnLine(rig, 8);
    QCOMPARE(texts.size(), 1);
    const int h = texts.first();
    QCOMPARE(calls, QStringList({
                        "create_text()",
                        call("set_text_position(%1, 0, 8)", h),
                        call("set_text_colors(%1, 1, 13)", h),
                        call("set_text_string(%1, \"Hi\")", h),
                        call("show_text(%1)", h),
                        call("set_text_string(%1, \"Hi\")", h),
                    }));
    // The cursor did not move.
    type("c");
    QCOMPARE(simText(rig, textsOnLine(rig, 3).value(0)).column, 0);
}

void TestTextLines::setLineReusesSingleTextAtColumnZero()
{
    QVERIFY(setLine(9, "Hi"));
    const int h = textsOnLine(rig, 8).value(0);
    const QStringList calls = callsOf([&] { QVERIFY(setLine(9, "Yo")); });
    QCOMPARE(calls, QStringList({
                        call("get_text_colors(%1)", h),
                        call("get_text_position(%1)", h),
                        call("set_text_string(%1, \"Yo\")", h),
                    }));
    QCOMPARE(textsOnLine(rig, 8), QList<int>({ h }));
    QCOMPARE(readLine(9), QByteArray("Yo"));
}

void TestTextLines::setLineReplacesSingleTextElsewhere()
{
    // One text at column 4, coloured 2 on 15: replaced by a new text at
    // column 0 that keeps the colours.
    QVERIFY(setCursor(4, 9));
    type("q");
    QVERIFY(command(0x92, 2, bytes({ 10, 0x2F })));
    const int old = textsOnLine(rig, 9).value(0);

    const QStringList calls = callsOf([&] { QVERIFY(setLine(10, "New")); });
    const QList<int> texts = textsOnLine(rig, 9);
    QCOMPARE(texts.size(), 1);
    const int h = texts.first();
    QVERIFY(h != old);
    QCOMPARE(calls, QStringList({
                        call("get_text_colors(%1)", old),
                        call("get_text_position(%1)", old),
                        call("destroy_text(%1)", old),
                        "create_text()",
                        call("set_text_position(%1, 0, 9)", h),
                        call("set_text_colors(%1, 2, 15)", h),
                        call("set_text_string(%1, \"New\")", h),
                        call("show_text(%1)", h),
                        call("set_text_string(%1, \"New\")", h),
                    }));
    QVERIFY(!simText(rig, old).exists);
}

void TestTextLines::setLineReplacesSeveralTexts()
{
    // "a" in 1 on 13, then "b" in 4 on 14 (colours chosen on another line,
    // as choosing them recolours the cursor's line).
    type("a");
    QVERIFY(setCursor(5, 11));
    QVERIFY(setCursorColors(0x4E));
    QVERIFY(setCursor(5, 3));
    type("b");
    const QList<int> before = textsOnLine(rig, 3);
    QCOMPARE(before.size(), 2);
    const int a = before.at(0);
    const int b = before.at(1);

    const QStringList calls = callsOf([&] { QVERIFY(setLine(4, "Z")); });
    const QList<int> after = textsOnLine(rig, 3);
    QCOMPARE(after.size(), 1);
    const int h = after.first();
    // The most recent text's colours; no position asked with two texts.
    QCOMPARE(calls, QStringList({
                        call("get_text_colors(%1)", b),
                        call("destroy_text(%1)", b),
                        call("destroy_text(%1)", a),
                        "create_text()",
                        call("set_text_position(%1, 0, 3)", h),
                        call("set_text_colors(%1, 4, 14)", h),
                        call("set_text_string(%1, \"Z\")", h),
                        call("show_text(%1)", h),
                        call("set_text_string(%1, \"Z\")", h),
                    }));
}

void TestTextLines::fixedLinesAreTheOverlaysTexts_data()
{
    QTest::addColumn<int>("oneBasedLine");
    QTest::addColumn<int>("textId");

    QTest::newRow("line 0") << 1 << 94;
    QTest::newRow("line 1") << 2 << 93;
    QTest::newRow("line 2") << 3 << 92;
    QTest::newRow("last line") << 16 << 91;
}

void TestTextLines::fixedLinesAreTheOverlaysTexts()
{
    QFETCH(int, oneBasedLine);
    QFETCH(int, textId);
    const QStringList calls = callsOf([&] { QVERIFY(setLine(oneBasedLine, "Fix")); });
    QCOMPARE(calls, QStringList({
                        QString("get_text_handle_by_id(%1)").arg(textId),
                        QString("set_text_string(%1, \"Fix\")").arg(1000 + textId),
                    }));
    QCOMPARE(fixedText(rig, textId).text, QString("Fix"));
    QCOMPARE(readLine(oneBasedLine), QByteArray("Fix"));
    QVERIFY(screenRow(rig, oneBasedLine - 1).startsWith("Fix "));
    QVERIFY(textsOnLine(rig, oneBasedLine - 1).isEmpty());
    QVERIFY(setLine(oneBasedLine));
    QCOMPARE(fixedText(rig, textId).text, QString());
}

void TestTextLines::clearLineDestroysItsTextsOnly()
{
    type("a");
    QVERIFY(setCursor(5, 3));
    type("b");
    QVERIFY(setLine(5, "other"));
    const QList<int> line3 = textsOnLine(rig, 3);

    const QStringList calls = callsOf([&] { QVERIFY(setLine(4)); });
    QCOMPARE(calls, QStringList({ call("destroy_text(%1)", line3.at(1)), call("destroy_text(%1)", line3.at(0)) }));
    QVERIFY(textsOnLine(rig, 3).isEmpty());
    QCOMPARE(readLine(5), QByteArray("other"));
}

void TestTextLines::clearFixedLineEmptiesIt()
{
    QVERIFY(setLine(16, "Last"));
    const QStringList calls = callsOf([&] { QVERIFY(setLine(16)); });
    QCOMPARE(calls, QStringList({ "get_text_handle_by_id(91)", "set_text_string(1091, \"\")" }));
    const SimText last = fixedText(rig, 91);
    QVERIFY(last.exists);
    QCOMPARE(last.text, QString());
}

void TestTextLines::clearScreenKeepsCursorAndFixedTexts()
{
    type("ab");
    QVERIFY(setLine(6, "x"));
    QVERIFY(setLine(3, "kept"));
    QVERIFY(setCursor(7, 6));
    const QList<int> texts = textsOnLine(rig, 3) + textsOnLine(rig, 5);

    const QStringList calls = callsOf([&] { QVERIFY(command(0x88, 0)); });
    QCOMPARE(calls.size(), texts.size());
    for (int h : texts)
        QVERIFY2(calls.contains(call("destroy_text(%1)", h)), qPrintable(calls.join("; ")));
    QVERIFY(textsOnLine(rig, 3).isEmpty());
    QCOMPARE(fixedText(rig, 92).text, QString("kept"));

    type("k");
    const QList<int> typed = textsOnLine(rig, 6);
    QCOMPARE(typed.size(), 1);
    QCOMPARE(simText(rig, typed.first()).column, 7);
    QVERIFY(setLine(3));
}

void TestTextLines::malformedAnswersCountAsNoMatch()
{
    // Only a three-element position and a two-element colour list count.
    rig.sim("set_reply", { "get_text_position", QVariant(QVariantList { 0, 3 }) });
    rig.sim("set_reply", { "get_text_colors", QVariant(QVariantList { 4 }) });
    type("AB");
    QCOMPARE(textsOnLine(rig, 3).size(), 2);
    QCOMPARE(readLine(4), QByteArray("BA"));

    // Not known to start at column 0: the line is rebuilt, in the cursor colours.
    QVERIFY(setLine(4, "C"));
    const QList<int> texts = textsOnLine(rig, 3);
    QCOMPARE(texts.size(), 1);
    const SimText text = simText(rig, texts.first());
    QCOMPARE(text.text, QString("C"));
    QCOMPARE(text.foreground, 1);
    QCOMPARE(text.background, 13);
}

QTEST_GUILESS_MAIN(TestTextLines)
#include "test_text_lines.moc"
