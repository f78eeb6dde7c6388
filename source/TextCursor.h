// SPDX-License-Identifier: BSD-2-Clause
#ifndef TEXTCURSOR_H
#define TEXTCURSOR_H

// The cursor of the character screen, kept apart from the overlay calls so
// its arithmetic can be checked on any target.
//
// Lines 0, 1, 2 and the last line belong to fixed overlay texts; the cursor
// only runs over the ordinary lines 3 to count - 2 and wraps from the end of
// line count - 2 back to the start of line 3. All values are 8-bit, as on
// the line; a screen the overlay could not report has width and count 0.
struct TextCursor {
    unsigned char column = 0;
    unsigned char line = 3;

    // One step right, or to the start of the next ordinary line.
    void advance(unsigned char width, unsigned char count);
    // `count` steps; above 1000 counts as 1000, below 1 does nothing.
    void advance(int steps, unsigned char width, unsigned char count);
    // Places the cursor. The last column can be reached by advancing but not
    // by placing: a column at or past width - 1 goes to column 0.
    void place(unsigned char newColumn, unsigned char newLine, unsigned char width, unsigned char count);
};

#endif
