// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include "OverlayTexts.h"

#include <QHash>
#include <QVariantList>

// A temporary text drawn by draw_temp_text; the overlay would remove it after
// its duration, the simulator keeps the latest one per position for screen().
struct TempText {
    QString text;
    int foreground = 0;
    int background = 0;
    int column = 0;
    int line = 0;
    int duration = 0;
};

// Everything the video overlay service knows: screen geometry, text objects,
// temporary texts, overlay visibility and the video counter.
class OverlayState
{
public:
    static constexpr int DEFAULT_WIDTH = 40;
    static constexpr int DEFAULT_COUNT = 16;

    OverlayState();

    int width() const { return m_width; }
    int count() const { return m_count; }
    void set_screen_size(int width, int count);

    OverlayTexts texts;
    QList<TempText> temp_texts;
    bool overlay_visible = true;
    bool videocounter_active = false;
    QVariantList videocounter { 1, 0, 0, 0, 0 }; // lead, hours, minutes, seconds, frames
    // Fixed answers of list-valued queries, by method name, for malformed-answer tests.
    QHash<QString, QVariantList> replies;

    void add_temp_text(const TempText& temp);

private:
    int m_width = DEFAULT_WIDTH;
    int m_count = DEFAULT_COUNT;
};
