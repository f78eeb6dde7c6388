// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QList>
#include <QString>
#include <map>

// One overlay text object as the overlay service keeps it.
struct OverlayText {
    QString text;
    int column = 0;
    int line = 0;
    int foreground = 1;
    int background = 13;
    bool visible = false;
    int format = 0;
    int id = 0; // fixed text identifier, 0 for a created text
};

// The overlay's text objects: the fixed texts 84..103, which exist from the
// start under handle 1000 + id, and the texts created on request, whose
// handles count 1, 2, 3, ... (never 0, never a fixed text's handle).
class OverlayTexts
{
public:
    static constexpr int FIRST_FIXED_ID = 84;
    static constexpr int LAST_FIXED_ID = 103;
    static constexpr int FIXED_HANDLE_BASE = 1000;

    explicit OverlayTexts(int lineCount);

    int create();
    void destroy(int handle); // fixed texts stay
    OverlayText* find(int handle);
    const OverlayText* find(int handle) const;
    int handle_of_id(int id) const; // 0 for an unknown identifier
    // Created texts positioned on the line, in creation order.
    QList<int> created_on_line(int line) const;
    // Move the last-line text 91 to the new last line.
    void set_line_count(int lineCount);

    // Texts in drawing order: fixed texts first, then created ones as created.
    const std::map<int, OverlayText>& fixed() const { return m_fixed; }
    const std::map<int, OverlayText>& created() const { return m_created; }

private:
    std::map<int, OverlayText> m_fixed;   // by handle
    std::map<int, OverlayText> m_created; // by handle, so in creation order
    int m_next_handle = 1;
};
