// SPDX-License-Identifier: BSD-2-Clause
#include "CommandRunner.h"

#include "CommandCatalogue.h"
#include "ReplyDecoder.h"
#include "RequestEncoder.h"

namespace {
const int QUERY_GROUP = 1;
const int HIGHEST_VALID_GROUP = 2;
const int CODEC_COMMAND = 0x01;
const int SETTING_GROUP = 2;
} // namespace

CommandRunner::CommandRunner(const ClientOptions& options, TextCharset charset, QTextStream& out, QTextStream& err)
    : m_options(options)
    , m_charset(charset)
    , m_out(out)
    , m_err(err)
{
}

QStringList CommandRunner::splitLine(const QString& line)
{
    QStringList words;
    QString word;
    bool inWord = false;
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c == QLatin1Char('\\') && i + 1 < line.size()) {
            word += line[++i];
            inWord = true;
        } else if (c == QLatin1Char('"')) {
            quoted = !quoted;
            inWord = true;
        } else if (c.isSpace() && !quoted) {
            if (inWord)
                words.append(word);
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        words.append(word);
    return words;
}

QString CommandRunner::unknownCommand(const QStringList& words)
{
    // Narrow the list to the commands that start like the given one, if any.
    QStringList names;
    for (const CatalogueEntry& entry : catalogue()) {
        if (!words.isEmpty() && entry.name.section(QLatin1Char(' '), 0, 0).compare(words[0], Qt::CaseInsensitive) == 0)
            names.append(entry.name + (entry.arguments.isEmpty() ? QString() : QLatin1Char(' ') + entry.arguments));
    }
    const bool narrowed = !names.isEmpty();
    if (!narrowed) {
        for (const CatalogueEntry& entry : catalogue())
            names.append(entry.name + (entry.arguments.isEmpty() ? QString() : QLatin1Char(' ') + entry.arguments));
        names.append(QStringLiteral("raw <command id> <group id> [data bytes]"));
    }
    names.sort();
    return QStringLiteral("unknown command \"%1\". %2:\n  %3\n(talvox-pc --list explains each one)")
        .arg(words.join(QLatin1Char(' ')),
             narrowed ? QStringLiteral("Commands that start with \"%1\"").arg(words[0])
                      : QStringLiteral("The commands are"),
             names.join(QStringLiteral("\n  ")));
}

CommandRunner::ExitCode CommandRunner::run(const QStringList& words)
{
    Request request;
    const ExitCode prepared = prepare(words, &request);
    return prepared == Done ? send(request) : prepared;
}

CommandRunner::ExitCode CommandRunner::prepare(const QStringList& words, Request* request)
{
    if (!words.isEmpty() && words[0].compare(QLatin1String("raw"), Qt::CaseInsensitive) == 0)
        return prepareRaw(words.mid(1), request);
    int consumed = 0;
    const CatalogueEntry* entry = findEntry(words, &consumed);
    if (!entry) {
        m_err << unknownCommand(words) << '\n';
        return BadCommand;
    }
    QString error;
    if (!encodeRequest(*entry, words.mid(consumed), m_charset, &request->data, &error)) {
        m_err << entry->name << ": " << error << "\n  usage: " << entry->name << ' ' << entry->arguments << '\n';
        return BadCommand;
    }
    request->entry = entry;
    request->command = entry->command;
    request->group = entry->group;
    return Done;
}

CommandRunner::ExitCode CommandRunner::prepareRaw(const QStringList& arguments, Request* request)
{
    QByteArray bytes;
    for (const QString& argument : arguments) {
        unsigned char byte = 0;
        if (!parseByte(argument, &byte)) {
            m_err << "raw: \"" << argument << "\" is no byte (0..255, decimal or 0x..)\n"
                  << "  usage: raw <command id> <group id> [data bytes]\n";
            return BadCommand;
        }
        bytes.append(char(byte));
    }
    if (bytes.size() < 2) {
        m_err << "raw: missing command id or group id\n  usage: raw <command id> <group id> [data bytes]\n";
        return BadCommand;
    }
    request->command = static_cast<unsigned char>(bytes[0]);
    request->group = static_cast<unsigned char>(bytes[1]);
    request->data = bytes.mid(2);
    request->entry = findEntry(request->command, request->group);
    // Command id 0 and group 255 can be framed: the controller's answer to
    // them (none, or NAK) is worth seeing. Only the length must fit.
    if (request->data.size() > RS232Message::MAX_DATA_LENGTH) {
        m_err << "raw: a frame carries at most " << RS232Message::MAX_DATA_LENGTH << " data bytes\n";
        return BadCommand;
    }
    return Done;
}

CommandRunner::ExitCode CommandRunner::send(const Request& prepared)
{
    const CatalogueEntry* entry = prepared.entry;
    const int command = prepared.command;
    const int group = prepared.group;
    const QByteArray& data = prepared.data;
    RS232Message request;
    request.set_command_id(static_cast<unsigned char>(command));
    request.set_group_id(static_cast<unsigned char>(group));
    request.set_data(data);
    if (data.size() > RS232Message::MAX_SHORT_DATA_LENGTH)
        request.set_long_length();
    if (m_options.raw)
        m_out << "sent:     " << hexBytes(request.to_frame()) << '\n';

    // Only queries are answered with a frame; a refused group gets no reply
    // either, so waiting for one would only end in a time-out.
    const bool awaitReply = group == QUERY_GROUP;
    RS232Message reply;
    QByteArray received;
    const SerialLink::Outcome outcome = m_link.exchange(request, awaitReply, m_options.timeoutMs, &reply, &received);
    if (m_options.raw && !received.isEmpty())
        m_out << "received: " << hexBytes(received) << '\n';
    m_out.flush();

    switch (outcome) {
    case SerialLink::Refused:
        m_err << "the controller refused the frame (NAK 0x15)"
              << (group > HIGHEST_VALID_GROUP ? ": the group id must be 0, 1 or 2\n" : "\n");
        return Refused;
    case SerialLink::TimedOut:
        if (received.isEmpty())
            m_err << "time-out: no answer within " << m_options.timeoutMs << " ms (is the controller on "
                  << m_options.device << "?)\n";
        else
            m_err << "time-out: the controller acknowledged the command but sent no reply within "
                  << m_options.timeoutMs << " ms\n";
        return TimedOut;
    case SerialLink::LineFailed:
        m_err << "the serial line failed: " << m_options.device << '\n';
        return DeviceFailed;
    case SerialLink::Acknowledged:
        break;
    }

    if (entry)
        m_out << decodeReply(*entry, data, reply.data(), m_charset) << '\n';
    else
        m_out << (awaitReply ? "reply data: " + hexBytes(reply.data()) : QStringLiteral("done (acknowledged)")) << '\n';
    // The controller now expects texts in the new character set: follow it.
    if (command == CODEC_COMMAND && group == SETTING_GROUP)
        m_charset.selectByte(byte_at(data, 0));
    m_out.flush();
    return Done;
}

CommandRunner::ExitCode CommandRunner::runScript(QTextStream& in)
{
    int lineNumber = 0;
    QString line;
    while (in.readLineInto(&line)) {
        ++lineNumber;
        const QString trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith(QLatin1Char('#')))
            continue;
        m_out << "> " << trimmed << '\n';
        const ExitCode code = run(splitLine(trimmed));
        if (code != Done) {
            m_err << "stopped at line " << lineNumber << '\n';
            return code;
        }
    }
    return Done;
}
