// SPDX-License-Identifier: BSD-2-Clause
#include "OverlayColors.h"

namespace {
struct ColorPair {
    int foreground;
    int background;
};
// Codes 0x00 to 0x03.
const ColorPair SHORTHANDS[] = { { 1, 0 }, { 1, 15 }, { 15, 0 }, { 15, 1 } };
} // namespace

char ColorCodeFromPair(int first, int second)
{
    return static_cast<char>(((first << 4) | second) & 0xFF);
}

void GetColorsFromChar(char code, EOverlayTextColor& foreground, EOverlayTextColor& background)
{
    const unsigned char byte = static_cast<unsigned char>(code);
    const int high = byte >> 4;
    const int low = byte & 0x0F;

    if (high == 0 && low < 4) {
        foreground = static_cast<EOverlayTextColor>(SHORTHANDS[low].foreground);
        background = static_cast<EOverlayTextColor>(SHORTHANDS[low].background);
        return;
    }
    foreground = static_cast<EOverlayTextColor>(high);
    background = static_cast<EOverlayTextColor>(low);
}
