// SPDX-License-Identifier: BSD-2-Clause
#ifndef REQUESTENCODER_H
#define REQUESTENCODER_H

#include "CommandCatalogue.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class TextCharset;

// Turns the words after a command's name into its request data, with the
// value encodings of the frame code. False with a readable error for
// arguments that do not fit.
bool encodeRequest(const CatalogueEntry& entry, const QStringList& arguments, const TextCharset& charset,
                   QByteArray* data, QString* error);

// The request data of a kind, in words, for the protocol reference.
QString describeRequest(RequestKind kind);

// A number 0..255, decimal or 0x-hexadecimal.
bool parseByte(const QString& text, unsigned char* value);

#endif
