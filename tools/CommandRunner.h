// SPDX-License-Identifier: BSD-2-Clause
#ifndef COMMANDRUNNER_H
#define COMMANDRUNNER_H

#include "ClientOptions.h"
#include "SerialLink.h"
#include "TextCharset.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

struct CatalogueEntry;

// Runs named commands on an open line and prints their answers.
class CommandRunner
{
public:
    enum ExitCode { Done = 0, BadCommand = 1, DeviceFailed = 2, Refused = 3, TimedOut = 4 };

    CommandRunner(const ClientOptions& options, TextCharset charset, QTextStream& out, QTextStream& err);

    // The frame a command line stands for; `entry` is null for a raw frame
    // outside the catalogue.
    struct Request {
        const CatalogueEntry* entry = nullptr;
        int command = 0;
        int group = 0;
        QByteArray data;
    };

    bool open(QString* error) { return m_link.open(m_options.device, m_options.timeoutMs, error); }
    // Explains an unknown name or bad arguments on the error stream.
    ExitCode prepare(const QStringList& words, Request* request);
    ExitCode send(const Request& request);
    ExitCode run(const QStringList& words);
    // One command per line; stops at the first failure.
    ExitCode runScript(QTextStream& in);

    // A script line split into words; double quotes group words, a backslash
    // escapes the next character.
    static QStringList splitLine(const QString& line);
    static QString unknownCommand(const QStringList& words);

private:
    ExitCode prepareRaw(const QStringList& arguments, Request* request);

    ClientOptions m_options;
    TextCharset m_charset;
    SerialLink m_link;
    QTextStream& m_out;
    QTextStream& m_err;
};

#endif
