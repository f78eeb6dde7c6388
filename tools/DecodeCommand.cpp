// SPDX-License-Identifier: BSD-2-Clause
// The inputs of "decode": trace files (both directions with times, as
// `scripts/run --trace` writes them), raw captures of one direction each,
// or live lines that are only listened to.
#include "DecodeCommand.h"

#include "ByteLine.h"
#include "LineDecoder.h"
#include "TraceFile.h"

#include <QDateTime>
#include <QFile>

#include <memory>
#include <vector>

namespace {

enum ExitCode { Done = 0, BadInput = 1, CannotRead = 2 };

// How long one live line is listened to before the other gets its turn.
const int FOLLOW_SLICE_MS = 20;
const int CONNECT_TIMEOUT_MS = 5000;

struct Arguments {
    bool follow = false;
    bool showBytes = false;
    LineDecoder::Direction from = LineDecoder::Pc;
    QStringList inputs;
};

bool parseArguments(const QStringList& words, Arguments* arguments, QString* error)
{
    for (int i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (word == QLatin1String("--follow")) {
            arguments->follow = true;
        } else if (word == QLatin1String("--raw")) {
            arguments->showBytes = true;
        } else if (word == QLatin1String("--from")) {
            const QString side = words.value(++i).toLower();
            if (side != QLatin1String("pc") && side != QLatin1String("ctl")) {
                *error = QStringLiteral("--from takes pc (the PC's bytes) or ctl (the controller's)");
                return false;
            }
            arguments->from = side == QLatin1String("pc") ? LineDecoder::Pc : LineDecoder::Controller;
        } else if (word.startsWith(QLatin1String("--"))) {
            *error = QStringLiteral("unknown decode option %1 (see talvox-pc --help)").arg(word);
            return false;
        } else {
            arguments->inputs.append(word);
        }
    }
    if (arguments->follow && (arguments->inputs.isEmpty() || arguments->inputs.size() > 2)) {
        *error = QStringLiteral("decode --follow takes one line, or two: the PC's and the controller's");
        return false;
    }
    return true;
}

class Printer
{
public:
    explicit Printer(QTextStream& out)
        : m_out(out)
    {
    }
    void print(QStringList* lines)
    {
        for (const QString& line : *lines)
            m_out << line << '\n';
        m_out.flush();
        lines->clear();
    }

private:
    QTextStream& m_out;
};

bool readInput(const QString& name, QByteArray* contents, QString* error)
{
    QFile file;
    const bool opened = name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                   : (file.setFileName(name), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *error = QStringLiteral("cannot read %1: %2").arg(name, file.errorString());
        return false;
    }
    *contents = file.readAll();
    return true;
}

// A trace goes chunk by chunk; its direction is on each line.
int decodeTrace(const QString& name, const QByteArray& contents, LineDecoder& decoder, Printer& printer,
                QTextStream& err)
{
    QStringList badLines;
    QStringList lines;
    for (const TraceChunk& chunk : readTraceChunks(contents, &badLines)) {
        decoder.feed(chunk.from, chunk.time, chunk.bytes, &lines);
        printer.print(&lines);
    }
    for (const QString& bad : badLines)
        err << name << ':' << bad.section(QLatin1String(": "), 0, 0)
            << ": not a trace line (<time> <pc|ctl> <hex bytes>), skipped: " << bad.section(QLatin1String(": "), 1)
            << '\n';
    err.flush();
    return badLines.isEmpty() ? Done : BadInput;
}

int decodeFiles(const Arguments& arguments, LineDecoder& decoder, Printer& printer, QTextStream& err)
{
    QStringList inputs = arguments.inputs;
    if (inputs.isEmpty())
        inputs.append(QStringLiteral("-"));
    // Read everything first, so that a missing file is reported before any output.
    std::vector<QByteArray> contents(inputs.size());
    int captures = 0;
    for (int i = 0; i < inputs.size(); ++i) {
        QString error;
        if (!readInput(inputs[i], &contents[i], &error)) {
            err << "talvox-pc: decode: " << error << '\n';
            return CannotRead;
        }
        captures += contents[i].startsWith(TRACE_HEADER) ? 0 : 1;
    }
    if (captures > 2) {
        err << "talvox-pc: decode: at most two captures, the PC's bytes and the controller's\n";
        return BadInput;
    }
    int status = Done;
    int capture = 0;
    QStringList lines;
    for (int i = 0; i < inputs.size(); ++i) {
        if (contents[i].startsWith(TRACE_HEADER)) {
            status = qMax(status, decodeTrace(inputs[i], contents[i], decoder, printer, err));
            continue;
        }
        // Captures without times cannot be interleaved: the first is the
        // PC's, the second the controller's, each decoded in turn.
        const LineDecoder::Direction from
            = captures == 2 ? (capture++ == 0 ? LineDecoder::Pc : LineDecoder::Controller) : arguments.from;
        decoder.feed(from, QString(), contents[i], &lines);
        printer.print(&lines);
    }
    decoder.finish(&lines);
    printer.print(&lines);
    return status;
}

int follow(const Arguments& arguments, LineDecoder& decoder, Printer& printer, QTextStream& err)
{
    struct Live {
        QString name;
        LineDecoder::Direction from;
        std::unique_ptr<ByteLine> line;
    };
    std::vector<Live> lives;
    for (int i = 0; i < arguments.inputs.size(); ++i) {
        const LineDecoder::Direction from
            = arguments.inputs.size() == 2 ? (i == 0 ? LineDecoder::Pc : LineDecoder::Controller) : arguments.from;
        lives.push_back({ arguments.inputs[i], from, makeByteLine(arguments.inputs[i], CONNECT_TIMEOUT_MS) });
        QString error;
        if (!lives.back().line->open(true, &error)) {
            err << "talvox-pc: decode: " << error << '\n';
            return CannotRead;
        }
    }
    QStringList lines;
    for (;;) {
        for (Live& live : lives) {
            QByteArray bytes;
            const ByteLine::Result result = live.line->read(FOLLOW_SLICE_MS, &bytes);
            if (result == ByteLine::Failed) {
                decoder.finish(&lines);
                printer.print(&lines);
                err << "talvox-pc: decode: " << live.name << " ended: " << live.line->errorString() << '\n';
                return CannotRead;
            }
            if (bytes.isEmpty())
                continue;
            decoder.feed(live.from, QDateTime::currentDateTime().toString(Qt::ISODateWithMs), bytes, &lines);
            decoder.flush(&lines);
            printer.print(&lines);
        }
    }
}

} // namespace

int runDecode(const QStringList& words, const TextCharset& charset, bool showBytes, QTextStream& out, QTextStream& err)
{
    Arguments arguments;
    QString error;
    if (!parseArguments(words, &arguments, &error)) {
        err << "talvox-pc: " << error << '\n';
        return BadInput;
    }
    LineDecoder decoder(charset, showBytes || arguments.showBytes);
    Printer printer(out);
    return arguments.follow ? follow(arguments, decoder, printer, err) : decodeFiles(arguments, decoder, printer, err);
}
