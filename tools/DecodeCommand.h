// SPDX-License-Identifier: BSD-2-Clause
#ifndef DECODECOMMAND_H
#define DECODECOMMAND_H

#include <QStringList>
#include <QTextStream>

class TextCharset;

// talvox-pc decode: reads captured or live line traffic and prints it
// event by event (LineDecoder). `arguments` are the words after "decode".
// Returns the client's exit code.
int runDecode(const QStringList& arguments, const TextCharset& charset, bool showBytes, QTextStream& out,
              QTextStream& err);

#endif
