// SPDX-License-Identifier: BSD-2-Clause
#ifndef TEXTSCREENCOMMANDS_H
#define TEXTSCREENCOMMANDS_H

#include "CTextLinesManager.h"

class BusCommand;
class CQuorendVideoOverlayInterface;
class FixedTexts;
class LineLocale;

// The character screen over the live video, the whole overlay on and off, and
// the fixed overlay texts switched by command id.
class TextScreenCommands
{
public:
    TextScreenCommands(CQuorendVideoOverlayInterface& overlay, FixedTexts& fixedTexts, const LineLocale& lineLocale,
                       BusCommand& bus);

    // A printable byte that arrived outside a frame: typed at the cursor.
    void add_char_to_line(char byte);

    CQuorendVideoOverlayInterface& overlay;
    FixedTexts& fixedTexts;
    const LineLocale& lineLocale;
    BusCommand& bus;
    CTextLinesManager lines;
};

#endif
