// SPDX-License-Identifier: BSD-2-Clause
#ifndef OVERLAYPAYLOADS_H
#define OVERLAYPAYLOADS_H

#include <QByteArray>

// The payloads of the overlay's fixed texts (status line items, unit texts),
// the character screen's line colours and the video counter. Values that
// come from the overlay service are ints; the line carries their low byte.

// Status line items 1 to 4 address the overlay texts 94, 93, 92 and 91
// (STATUS_LINE_TEXT_IDS).
bool isStatusLineItem(int item);
// The overlay text an item byte addresses: an item 1 to 4 its status line
// text; the text query and setting take any other byte as a text id itself.
int statusLineTextId(int item);

// The reply to "statusline state": item, colour byte, visible (1 or 0),
// then two bytes 0 that the PC application reserves.
struct StatusLineState {
    int item = 0, colourCode = 0;
    bool visible = false;
};
QByteArray encodeStatusLineState(const StatusLineState& state);
StatusLineState decodeStatusLineState(const QByteArray& reply);

// The colour settings "statusline color" and "text color": the target (the
// item, or the unit text's colour index), then the second colour before the
// first: background, foreground.
struct ColourSetting {
    int target = 0, foreground = 0, background = 0;

    // The colour byte the controller makes of the pair (ColorCodeFromPair):
    // a background above 15 spills into the foreground's bits, as the PC
    // application expects.
    char colourCode() const;
};
QByteArray encodeColourSetting(const ColourSetting& setting);
ColourSetting decodeColourSetting(const QByteArray& request);

// The setting "line color": a 1-based screen line and a colour byte;
// the colour byte alone sets the colours at the cursor.
struct LineColourSetting {
    bool atCursor = false;
    int line = 0, colourCode = 0;
};
QByteArray encodeLineColourSetting(const LineColourSetting& setting);
LineColourSetting decodeLineColourSetting(const QByteArray& request);

// A unit text's state reply: format, visible (1 or 0), x, y.
struct UnitState {
    int format = 0;
    bool visible = false;
    int x = 0, y = 0;
};
QByteArray encodeUnitState(const UnitState& state);
UnitState decodeUnitState(const QByteArray& reply);

// The video counter, in its setting and in the query's reply: hours,
// minutes, seconds, frames. The controller answers 99 in all four bytes when
// the overlay gives it no counter: the PC application shows that as no value.
struct VideoCounter {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;

    bool isNoValue() const;
};
constexpr VideoCounter NO_VIDEO_COUNTER = { 99, 99, 99, 99 };
QByteArray encodeVideoCounter(const VideoCounter& counter);
VideoCounter decodeVideoCounter(const QByteArray& data);

#endif
