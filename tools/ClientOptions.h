// SPDX-License-Identifier: BSD-2-Clause
#ifndef CLIENTOPTIONS_H
#define CLIENTOPTIONS_H

#include "TextCharset.h"

#include <QString>
#include <QStringList>

// What the command line asks for.
struct ClientOptions {
    enum Mode { Run, Help, List, ListMarkdown };

    Mode mode = Run;
    QString device = QStringLiteral("/dev/ttyUSB0");
    int timeoutMs = 3000;
    TextCharset::Selector charset = TextCharset::Locale;
    QString localeCodec = QStringLiteral("ISO-8859-15");
    bool raw = false;
    QStringList command; // empty: a script on standard input
};

// False with a readable error for an unknown option or a bad value.
bool parseOptions(const QStringList& arguments, ClientOptions* options, QString* error);

QString helpText();

#endif
