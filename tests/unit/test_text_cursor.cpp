// The character screen's cursor arithmetic and the one-byte colour code.
// The cursor runs over the ordinary lines 3 to count - 2 only; placing it
// cannot reach the last column, advancing can. All values are 8-bit.
#include "OverlayColors.h"
#include "TextCursor.h"

#include <QtTest>

class TestTextCursor : public QObject
{
    Q_OBJECT

private slots:
    // "advance": `steps` steps from (column, line); "place": to (column, line).
    void moves_data()
    {
        QTest::addColumn<QString>("move");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("count");
        QTest::addColumn<QPoint>("from");
        QTest::addColumn<int>("steps");
        QTest::addColumn<QPoint>("to");
        const auto row = [](const char* name, const char* move, int width, int count, QPoint from, int steps, QPoint to) {
            QTest::newRow(name) << QString(move) << width << count << from << steps << to;
        };
        row("last column to next line", "advance", 40, 16, {39, 5}, 1, {0, 6});
        row("wraps from line count - 2 to 3", "advance", 40, 16, {39, 14}, 1, {0, 3});
        row("line 255 + 1 is line 0", "advance", 40, 16, {39, 255}, 1, {0, 0});
        row("no geometry: every step a new line at 3", "advance", 0, 0, {5, 7}, 1, {0, 3});
        row("four lines: next line is the last, forced to 3", "advance", 40, 4, {39, 2}, 1, {0, 3});
        row("negative does nothing", "advance", 40, 16, {0, 3}, -3, {0, 3});
        row("whole ordinary screen back to the start", "advance", 40, 16, {0, 3}, 480, {0, 3});
        row("5000 counts as 1000", "advance", 40, 16, {0, 3}, 5000, {0, 4});
        row("column width - 2 kept", "place", 40, 16, {38, 5}, 0, {38, 5});
        row("last column goes to 0", "place", 40, 16, {39, 5}, 0, {0, 5});
        row("line 2 goes to 3", "place", 40, 16, {10, 2}, 0, {10, 3});
        row("line count - 2 kept", "place", 40, 16, {10, 14}, 0, {10, 14});
        row("last line goes to count - 2", "place", 40, 16, {10, 15}, 0, {10, 14});
        row("four lines: line 3 goes to 2", "place", 40, 4, {5, 3}, 0, {5, 2});
        row("no geometry: column 0, line 254", "place", 0, 0, {10, 5}, 0, {0, 254});
    }

    void moves()
    {
        QFETCH(QString, move);
        QFETCH(int, width);
        QFETCH(int, count);
        QFETCH(QPoint, from);
        TextCursor cursor;
        if (move == "place") {
            cursor.place(from.x(), from.y(), width, count);
        } else {
            cursor.column = from.x();
            cursor.line = from.y();
            QFETCH(int, steps);
            cursor.advance(steps, width, count);
        }
        QTEST(QPoint(cursor.column, cursor.line), "to");
    }

    // High nibble the foreground, low nibble the background; with a high
    // nibble of 0 the codes 0 to 3 are shorthands.
    void colorCodes_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("foreground");
        QTest::addColumn<int>("background");
        QTest::newRow("0x00 shorthand") << 0x00 << 1 << 0;
        QTest::newRow("0x01 shorthand") << 0x01 << 1 << 15;
        QTest::newRow("0x02 shorthand") << 0x02 << 15 << 0;
        QTest::newRow("0x03 shorthand") << 0x03 << 15 << 1;
        QTest::newRow("0x04") << 0x04 << 0 << 4;
        QTest::newRow("0x13 not a shorthand") << 0x13 << 1 << 3;
        QTest::newRow("0xD1 high bit") << 0xD1 << 13 << 1;
    }

    void colorCodes()
    {
        QFETCH(int, code);
        EOverlayTextColor foreground = OVERLAY_COLOR_13;
        EOverlayTextColor background = OVERLAY_COLOR_13;
        GetColorsFromChar(static_cast<char>(code), foreground, background);
        QTEST(int(foreground), "foreground");
        QTEST(int(background), "background");
    }
};

QTEST_APPLESS_MAIN(TestTextCursor)
#include "test_text_cursor.moc"
