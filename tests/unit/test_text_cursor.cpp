// SPDX-License-Identifier: BSD-2-Clause
// The character screen's cursor arithmetic and the one-byte colour code. The cursor runs over the ordinary
// lines 3 to count - 2 only; placing it cannot reach the last column, advancing can. All values are 8-bit.
#include "OverlayColors.h"
#include "TextCursor.h"

#include <QtTest>

class TestTextCursor : public QObject
{
    Q_OBJECT

private slots:
    // `steps` steps from (column, line), or with `steps` -1 the cursor placed at (column, line). The 40 x 16
    // screen the overlay reports is checked end to end; these are the geometries it cannot show.
    void moves_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("count");
        QTest::addColumn<QPoint>("from");
        QTest::addColumn<int>("steps");
        QTest::addColumn<QPoint>("to");
        QTest::newRow("no geometry: every step a new line at 3") << 0 << 0 << QPoint(5, 7) << 1 << QPoint(0, 3);
        QTest::newRow("four lines: the last line forced to 3") << 40 << 4 << QPoint(39, 2) << 1 << QPoint(0, 3);
        QTest::newRow("place: four lines, line 3 goes to 2") << 40 << 4 << QPoint(5, 3) << -1 << QPoint(5, 2);
        QTest::newRow("place: no geometry, column 0, line 254") << 0 << 0 << QPoint(10, 5) << -1 << QPoint(0, 254);
    }

    void moves()
    {
        QFETCH(int, width);
        QFETCH(int, count);
        QFETCH(QPoint, from);
        QFETCH(int, steps);
        TextCursor cursor;
        cursor.column = from.x();
        cursor.line = from.y();
        if (steps < 0)
            cursor.place(from.x(), from.y(), width, count);
        cursor.advance(steps, width, count); // negative: nothing
        QTEST(QPoint(cursor.column, cursor.line), "to");
    }

    // High nibble the foreground, low nibble the background; with a high nibble of 0 the codes 0 to 3 are
    // shorthands. Shorthands and ordinary codes are checked on the screen end to end; these are the edges.
    void colorCodes_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("foreground");
        QTest::addColumn<int>("background");
        QTest::newRow("0x13 not a shorthand") << 0x13 << 1 << 3;
        QTest::newRow("0xD1 high bit") << 0xD1 << 13 << 1;
    }

    void colorCodes()
    {
        QFETCH(int, code);
        EOverlayTextColor foreground = OVERLAY_COLOR_13, background = OVERLAY_COLOR_13;
        GetColorsFromChar(static_cast<char>(code), foreground, background);
        QTEST(int(foreground), "foreground");
        QTEST(int(background), "background");
    }
};

QTEST_APPLESS_MAIN(TestTextCursor)
#include "test_text_cursor.moc"
