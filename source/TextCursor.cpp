// SPDX-License-Identifier: BSD-2-Clause
#include "TextCursor.h"

namespace {
const unsigned char FIRST_ORDINARY_LINE = 3;
const int MAX_STEPS = 1000;
} // namespace

void TextCursor::advance(unsigned char width, unsigned char count)
{
    if (column < width - 1) {
        ++column;
        return;
    }
    column = 0;
    line = static_cast<unsigned char>(line + 1);
    if (line >= count - 1)
        line = FIRST_ORDINARY_LINE;
}

void TextCursor::advance(int steps, unsigned char width, unsigned char count)
{
    if (steps > MAX_STEPS)
        steps = MAX_STEPS;
    for (int i = 0; i < steps; ++i)
        advance(width, count);
}

void TextCursor::place(unsigned char newColumn, unsigned char newLine, unsigned char width, unsigned char count)
{
    column = newColumn;
    line = newLine;
    if (column >= width - 1)
        column = 0;
    if (line <= 2)
        line = FIRST_ORDINARY_LINE;
    else if (line >= count - 1)
        line = static_cast<unsigned char>(count - 2);
}
