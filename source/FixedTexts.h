// SPDX-License-Identifier: BSD-2-Clause
#ifndef FIXEDTEXTS_H
#define FIXEDTEXTS_H

#include "CommandArguments.h"

#include <QHash>

class BusCommand;
class CQuorendVideoOverlayInterface;

// The overlay's fixed texts (status line items, unit texts, the screen's
// status lines), which the overlay keeps under fixed text ids: every text
// method wants a handle, which the overlay hands out per id.
class FixedTexts
{
public:
    FixedTexts(CQuorendVideoOverlayInterface& overlay, BusCommand& bus);

    // The handle of a fixed text, asked for once per overlay instance; 0 if
    // there is none or the overlay does not answer (asked again next time).
    int handle(int textId);
    // A new overlay instance hands the same numbers out again, to other texts.
    void forget() { m_handles.clear(); }

    // Shows, hides or toggles one of them; a failed visibility query counts
    // as hidden, so a toggle then shows the text.
    void switchText(const TextSwitch& what);

private:
    CQuorendVideoOverlayInterface& m_overlay;
    BusCommand& m_bus;
    QHash<int, int> m_handles;
};

#endif
