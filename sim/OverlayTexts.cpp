// SPDX-License-Identifier: BSD-2-Clause
#include "OverlayTexts.h"

namespace {

constexpr int LAST_LINE_ID = 91;

// Status line texts 91..94 sit at column 0 of their screen lines; the unit
// texts 84..90 and 95..103 get distinct positions and small distinct formats
// so a test can tell which one was read.
OverlayText makeFixed(int id, int lineCount)
{
    OverlayText fixed;
    fixed.id = id;
    fixed.visible = true;
    switch (id) {
    case 94:
        fixed.line = 0;
        break;
    case 93:
        fixed.line = 1;
        break;
    case 92:
        fixed.line = 2;
        break;
    case LAST_LINE_ID:
        fixed.line = lineCount - 1;
        break;
    default:
        fixed.column = id - 80;
        fixed.line = id - 82;
        fixed.format = id < LAST_LINE_ID ? id - 83 : id - 87;
        break;
    }
    return fixed;
}

} // namespace

OverlayTexts::OverlayTexts(int lineCount)
{
    for (int id = FIRST_FIXED_ID; id <= LAST_FIXED_ID; ++id)
        m_fixed.emplace(FIXED_HANDLE_BASE + id, makeFixed(id, lineCount));
}

int OverlayTexts::create()
{
    while (m_fixed.count(m_next_handle) != 0)
        ++m_next_handle;
    const int handle = m_next_handle++;
    m_created.emplace(handle, OverlayText());
    return handle;
}

void OverlayTexts::destroy(int handle)
{
    m_created.erase(handle);
}

OverlayText* OverlayTexts::find(int handle)
{
    return const_cast<OverlayText*>(static_cast<const OverlayTexts*>(this)->find(handle));
}

const OverlayText* OverlayTexts::find(int handle) const
{
    auto created = m_created.find(handle);
    if (created != m_created.end())
        return &created->second;
    auto fixed = m_fixed.find(handle);
    return fixed != m_fixed.end() ? &fixed->second : nullptr;
}

int OverlayTexts::handle_of_id(int id) const
{
    return id >= FIRST_FIXED_ID && id <= LAST_FIXED_ID ? FIXED_HANDLE_BASE + id : 0;
}

QList<int> OverlayTexts::created_on_line(int line) const
{
    QList<int> handles;
    for (const auto& [handle, text] : m_created)
        if (text.line == line)
            handles << handle;
    return handles;
}

void OverlayTexts::set_line_count(int lineCount)
{
    m_fixed.at(FIXED_HANDLE_BASE + LAST_LINE_ID).line = lineCount - 1;
}
