// SPDX-License-Identifier: BSD-2-Clause
#ifndef COMMANDCATALOGUE_H
#define COMMANDCATALOGUE_H

#include <QString>
#include <QStringList>
#include <QVector>

// How a command's arguments become request data (RequestEncoder.cpp).
enum class RequestKind {
    None,             // no data
    Byte,             // one number 0..255
    ByteText,         // a number, then a text in the selected character set
    Text,             // a text in the selected character set
    Cursor,           // column, line (both 0-based)
    LineColour,       // line or "cursor", foreground, background -> colour byte
    ItemColours,      // item, foreground, background -> item, background, foreground
    UnitColour,       // unit text id, foreground, background -> colour index, background, foreground
    Float,            // a float, 4 bytes
    Date,             // YYYY-MM-DD -> day, month, century, year in century
    Time,             // HH:MM:SS -> hour, minute, second
    Codec,            // locale|utf8|utf16 -> 0|1|2
    VideoCounter,     // hours, minutes, seconds, frames
    Position,         // two position bytes
    Integer,          // the two-byte integer form of the frame code
    StartPosition,    // three doubles
    StartOrientation, // two floats
    TempText,         // first line, duration, up to five texts
    Selector          // two selector bytes, default 1 1
};

// How a reply's data are put into words (ReplyDecoder.cpp).
enum class ReplyKind {
    Ack, // no reply frame, only the acknowledgement
    Codec,
    DeviceData,
    Metres,  // metres, or feet under a US locale
    Float,   // a plain float
    Integer, // the two-byte integer form of the frame code
    UnitState,
    Date,
    Time,
    VideoCounter,
    StatusLineText,
    StatusLineState,
    LineText,
    Converter,
    Measurement3D,
    Text
};

// One (command id, group id) of the protocol under a readable name, with the
// layout of its request and reply (a row of Commands.def).
struct CatalogueEntry {
    QString name; // fixed words, e.g. "metercounter get 1"
    int command;
    int group;
    QString arguments; // what follows the name, e.g. "<line> <text>"
    RequestKind request;
    ReplyKind reply;
    QString subject; // what a reply is about, e.g. "meter counter 1"
    QString effect;  // one sentence for the list and the reference
};

// The whole protocol, every (command id, group id) the controller handles
// under exactly one name, in the order of Commands.def.
const QVector<CatalogueEntry>& catalogue();

// The entry whose name is the longest prefix of `words` (case-insensitive);
// *consumed is set to the number of words of the name. Null if none.
const CatalogueEntry* findEntry(const QStringList& words, int* consumed);
const CatalogueEntry* findEntry(int command, int group);

// The colour index by which "text color" (0xE5) addresses a unit text; -1 for
// ids that are no unit text. Indices 4 to 9 and above 21 address no unit text.
int unitColourIndex(int textId);
// The unit text that a colour index addresses; 0 if none.
int unitTextOfColourIndex(int colourIndex);

// Status line items 1 to 4 are the overlay's fixed texts 94, 93, 92 and 91,
// which are also the character screen's lines 0, 1, 2 and its last line.
const int STATUS_LINE_ITEMS = 4;
extern const int STATUS_LINE_TEXT_IDS[STATUS_LINE_ITEMS];

#endif
