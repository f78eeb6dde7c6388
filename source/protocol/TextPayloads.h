// SPDX-License-Identifier: BSD-2-Clause
#ifndef TEXTPAYLOADS_H
#define TEXTPAYLOADS_H

#include <QByteArray>
#include <QString>
#include <QStringList>

class TextCharset;

// Payloads that carry texts in the selected character set. A text has no
// length and no terminator: it runs to the end of the data.

// A number byte, then a text: "line set" and "statusline set" (a 1-based
// screen line, a status line item) and the reply to "line get" (the line
// byte as received).
struct NumberedText {
    int number = 0;
    QString text;
};
QByteArray encodeNumberedText(const NumberedText& numbered, const TextCharset& charset);
NumberedText decodeNumberedText(const QByteArray& data, const TextCharset& charset);

// The reply to "statusline get" for `item`: an item 1 to 4 is echoed before
// the text; for any other byte, which addresses an overlay text by its id,
// the text comes alone. Read back, `number` is the echoed item or `item`.
QByteArray encodeStatusLineText(int item, const QString& text, const TextCharset& charset);
NumberedText decodeStatusLineText(int item, const QByteArray& reply, const TextCharset& charset);

// "screen temp": the 1-based first line, the display duration, one byte the
// controller does not read, then the texts separated by zero bytes. The
// controller always draws TEMP_TEXT_LINES lines: missing texts are empty,
// further ones are not drawn.
const int TEMP_TEXT_LINES = 5;
struct TempTexts {
    int firstLine = 0;
    int duration = 0;
    QStringList texts; // empty when the data end before the first text
};
QByteArray encodeTempTexts(const TempTexts& temp, const TextCharset& charset);
TempTexts decodeTempTexts(const QByteArray& request, const TextCharset& charset);

#endif
