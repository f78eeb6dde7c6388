// SPDX-License-Identifier: BSD-2-Clause
#ifndef CHARSETNAMES_H
#define CHARSETNAMES_H

#include "TextCharset.h"

#include <QString>

// The character sets as talvox-pc's options and commands name them.

// "locale", "utf8" or "utf16" (also "utf-8", "utf-16", 0, 1, 2); false for
// anything else.
bool parseCharsetName(const QString& name, TextCharset::Selector* selector);
// The name parseCharsetName takes first.
QString charsetName(TextCharset::Selector selector);
// A selector byte in words, for the codec query's reply.
QString describeCharset(int selector);

#endif
