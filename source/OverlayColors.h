// SPDX-License-Identifier: BSD-2-Clause
#ifndef OVERLAYCOLORS_H
#define OVERLAYCOLORS_H

// A colour number 0 to 15 of the overlay service's text palette. The service
// never interprets it; it is passed on as an int.
enum EOverlayTextColor { OVERLAY_COLOR_0 = 0, OVERLAY_COLOR_1 = 1, OVERLAY_COLOR_13 = 13, OVERLAY_COLOR_15 = 15 };

// Decodes the one-byte colour code of the text commands: high nibble the
// foreground, low nibble the background. With a high nibble of 0 the codes
// 0x00 to 0x03 are shorthands for pairs of the colours 0, 1 and 15.
void GetColorsFromChar(char code, EOverlayTextColor& foreground, EOverlayTextColor& background);

// The colour byte of a pair: the first colour in the high nibble, the second
// ORed in unmasked, so a second colour above 15 sets high-nibble bits too.
char ColorCodeFromPair(int first, int second);

#endif
