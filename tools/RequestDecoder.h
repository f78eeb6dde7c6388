// SPDX-License-Identifier: BSD-2-Clause
#ifndef REQUESTDECODER_H
#define REQUESTDECODER_H

#include "CommandCatalogue.h"

#include <QByteArray>
#include <QString>

class TextCharset;

// The arguments a request's data stand for, written as talvox-pc takes
// them after the command's name ("5 \"Hello\"" for line set), so that a
// decoded frame reads as the command that sends it. The inverse of
// encodeRequest; missing bytes read as 0, surplus bytes are shown in hex.
QString requestArguments(const CatalogueEntry& entry, const QByteArray& data, const TextCharset& charset);

#endif
