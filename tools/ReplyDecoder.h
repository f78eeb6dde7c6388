// SPDX-License-Identifier: BSD-2-Clause
#ifndef REPLYDECODER_H
#define REPLYDECODER_H

#include "CommandCatalogue.h"

#include <QByteArray>
#include <QString>

class TextCharset;
struct DatePieces;
struct TimePieces;

// Puts a reply's data into plain words, with the value encodings of the
// frame code. `request` is the request's data (some replies echo a part).
QString decodeReply(const CatalogueEntry& entry, const QByteArray& request, const QByteArray& reply,
                    const TextCharset& charset);

// The reply data of a kind, in words, for the protocol reference.
QString describeReply(ReplyKind kind);

// Bytes as "02 30 01 00 00 03".
QString hexBytes(const QByteArray& bytes);

// Values as the client prints them: a float to its 7 digits, a double as
// short as it round-trips, a text in double quotes.
QString number(float value);
QString number(double value);
QString quoted(const QString& text);
// A date as YYYY-MM-DD, a time as HH:MM:SS.
QString dateText(const DatePieces& date);
QString timeText(const TimePieces& time);

#endif
