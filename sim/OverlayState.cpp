// SPDX-License-Identifier: BSD-2-Clause
#include "OverlayState.h"

OverlayState::OverlayState()
    : texts(DEFAULT_COUNT)
{
}

void OverlayState::set_screen_size(int width, int count)
{
    m_width = width;
    m_count = count;
    texts.set_line_count(count);
}

void OverlayState::add_temp_text(const TempText& temp)
{
    for (TempText& shown : temp_texts) {
        if (shown.column == temp.column && shown.line == temp.line) {
            shown = temp;
            return;
        }
    }
    temp_texts << temp;
}
