// The character screen's cursor arithmetic and the one-byte colour code.
// The cursor runs over the ordinary lines 3 to count - 2 only; placing it
// cannot reach the last column, advancing can.
#include "OverlayColors.h"
#include "TextCursor.h"

#include <QtTest>

namespace {
TextCursor cursorAt(int column, int line)
{
    TextCursor cursor;
    cursor.column = static_cast<unsigned char>(column);
    cursor.line = static_cast<unsigned char>(line);
    return cursor;
}
}

class TestTextCursor : public QObject
{
    Q_OBJECT

private slots:
    void startsAtLineThreeColumnZero();
    void advanceOnce_data();
    void advanceOnce();
    void advanceSteps_data();
    void advanceSteps();
    void place_data();
    void place();
    void colorCodes_data();
    void colorCodes();
};

void TestTextCursor::startsAtLineThreeColumnZero()
{
    const TextCursor cursor;
    QCOMPARE(int(cursor.column), 0);
    QCOMPARE(int(cursor.line), 3);
}

void TestTextCursor::advanceOnce_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("expectedColumn");
    QTest::addColumn<int>("expectedLine");

    QTest::newRow("within a line") << 40 << 16 << 38 << 5 << 39 << 5;
    QTest::newRow("last column to next line") << 40 << 16 << 39 << 5 << 0 << 6;
    QTest::newRow("into the last ordinary line") << 40 << 16 << 39 << 13 << 0 << 14;
    QTest::newRow("wraps from line count - 2 to line 3") << 40 << 16 << 39 << 14 << 0 << 3;
    QTest::newRow("from a fixed line into the next") << 40 << 16 << 39 << 1 << 0 << 2;
    QTest::newRow("past the screen wraps to 3") << 40 << 16 << 39 << 20 << 0 << 3;
    QTest::newRow("line 255 + 1 cut to 8 bits is line 0") << 40 << 16 << 39 << 255 << 0 << 0;
    QTest::newRow("width 1: every step a new line") << 1 << 16 << 0 << 4 << 0 << 5;
    QTest::newRow("no geometry: every step a new line at 3") << 0 << 0 << 5 << 7 << 0 << 3;
    QTest::newRow("no geometry from 254") << 0 << 0 << 0 << 254 << 0 << 3;
    QTest::newRow("four lines: next line is the last, forced to 3") << 40 << 4 << 39 << 2 << 0 << 3;
}

void TestTextCursor::advanceOnce()
{
    QFETCH(int, width);
    QFETCH(int, count);
    QFETCH(int, column);
    QFETCH(int, line);
    TextCursor cursor = cursorAt(column, line);
    cursor.advance(static_cast<unsigned char>(width), static_cast<unsigned char>(count));
    QTEST(int(cursor.column), "expectedColumn");
    QTEST(int(cursor.line), "expectedLine");
}

void TestTextCursor::advanceSteps_data()
{
    QTest::addColumn<int>("steps");
    QTest::addColumn<int>("expectedColumn");
    QTest::addColumn<int>("expectedLine");

    // 40 x 16 from (0, 3): the ordinary lines 3 to 14 hold 480 cells.
    QTest::newRow("zero does nothing") << 0 << 0 << 3;
    QTest::newRow("negative does nothing") << -3 << 0 << 3;
    QTest::newRow("one") << 1 << 1 << 3;
    QTest::newRow("a whole line") << 40 << 0 << 4;
    QTest::newRow("whole ordinary screen wraps to the start") << 480 << 0 << 3;
    QTest::newRow("999") << 999 << 39 << 3;
    QTest::newRow("1000") << 1000 << 0 << 4;
    QTest::newRow("1001 counts as 1000") << 1001 << 0 << 4;
    QTest::newRow("5000 counts as 1000") << 5000 << 0 << 4;
}

void TestTextCursor::advanceSteps()
{
    QFETCH(int, steps);
    TextCursor cursor;
    cursor.advance(steps, 40, 16);
    QTEST(int(cursor.column), "expectedColumn");
    QTEST(int(cursor.line), "expectedLine");
}

void TestTextCursor::place_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("expectedColumn");
    QTest::addColumn<int>("expectedLine");

    QTest::newRow("ordinary cell") << 40 << 16 << 5 << 7 << 5 << 7;
    QTest::newRow("column width - 2 kept") << 40 << 16 << 38 << 5 << 38 << 5;
    QTest::newRow("last column goes to 0") << 40 << 16 << 39 << 5 << 0 << 5;
    QTest::newRow("column past the edge goes to 0") << 40 << 16 << 200 << 5 << 0 << 5;
    QTest::newRow("line 0 goes to 3") << 40 << 16 << 10 << 0 << 10 << 3;
    QTest::newRow("line 2 goes to 3") << 40 << 16 << 10 << 2 << 10 << 3;
    QTest::newRow("line 3 kept") << 40 << 16 << 10 << 3 << 10 << 3;
    QTest::newRow("line count - 2 kept") << 40 << 16 << 10 << 14 << 10 << 14;
    QTest::newRow("last line goes to count - 2") << 40 << 16 << 10 << 15 << 10 << 14;
    QTest::newRow("line 255 goes to count - 2") << 40 << 16 << 255 << 255 << 0 << 14;
    QTest::newRow("four lines: line 3 is the last, goes to 2") << 40 << 4 << 5 << 3 << 5 << 2;
    QTest::newRow("no geometry: column 0, line 254") << 0 << 0 << 10 << 5 << 0 << 254;
    QTest::newRow("no geometry: low line still 3") << 0 << 0 << 10 << 1 << 0 << 3;
}

void TestTextCursor::place()
{
    QFETCH(int, width);
    QFETCH(int, count);
    QFETCH(int, column);
    QFETCH(int, line);
    TextCursor cursor = cursorAt(20, 9);
    cursor.place(static_cast<unsigned char>(column), static_cast<unsigned char>(line),
                 static_cast<unsigned char>(width), static_cast<unsigned char>(count));
    QTEST(int(cursor.column), "expectedColumn");
    QTEST(int(cursor.line), "expectedLine");
}

void TestTextCursor::colorCodes_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("foreground");
    QTest::addColumn<int>("background");

    QTest::newRow("0x00 shorthand") << 0x00 << 1 << 0;
    QTest::newRow("0x01 shorthand") << 0x01 << 1 << 15;
    QTest::newRow("0x02 shorthand") << 0x02 << 15 << 0;
    QTest::newRow("0x03 shorthand") << 0x03 << 15 << 1;
    QTest::newRow("0x04 no shorthand") << 0x04 << 0 << 4;
    QTest::newRow("0x07") << 0x07 << 0 << 7;
    QTest::newRow("0x0F") << 0x0F << 0 << 15;
    QTest::newRow("0x10") << 0x10 << 1 << 0;
    QTest::newRow("0x13 not a shorthand") << 0x13 << 1 << 3;
    QTest::newRow("0x2F") << 0x2F << 2 << 15;
    QTest::newRow("0x80 high bit") << 0x80 << 8 << 0;
    QTest::newRow("0xD1") << 0xD1 << 13 << 1;
    QTest::newRow("0xF0") << 0xF0 << 15 << 0;
    QTest::newRow("0xFF") << 0xFF << 15 << 15;
}

void TestTextCursor::colorCodes()
{
    QFETCH(int, code);
    EOverlayTextColor foreground = OVERLAY_COLOR_13;
    EOverlayTextColor background = OVERLAY_COLOR_13;
    GetColorsFromChar(static_cast<char>(code), foreground, background);
    QTEST(int(foreground), "foreground");
    QTEST(int(background), "background");
}

QTEST_APPLESS_MAIN(TestTextCursor)
#include "test_text_cursor.moc"
