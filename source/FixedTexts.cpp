// SPDX-License-Identifier: BSD-2-Clause
#include "FixedTexts.h"

#include "BusCall.h"
#include "CQuorendVideoOverlayInterface.h"

FixedTexts::FixedTexts(CQuorendVideoOverlayInterface& overlay, BusCommand& bus)
    : m_overlay(overlay)
    , m_bus(bus)
{
}

int FixedTexts::handle(int textId)
{
    const auto cached = m_handles.constFind(textId);
    if (cached != m_handles.constEnd())
        return cached.value();
    const int handle = m_bus.waited(m_overlay.get_text_handle_by_id(textId));
    if (handle != 0)
        m_handles.insert(textId, handle);
    return handle;
}

void FixedTexts::switchText(const TextSwitch& what)
{
    const int text = handle(what.textId);
    if (text == 0)
        return;
    switch (what.action) {
    case Switch::Show:
        m_overlay.show_text(text);
        break;
    case Switch::Hide:
        m_overlay.hide_text(text);
        break;
    case Switch::Toggle:
        if (m_bus.waited(m_overlay.is_text_visible(text)))
            m_overlay.hide_text(text);
        else
            m_overlay.show_text(text);
        break;
    }
}
