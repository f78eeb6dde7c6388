// SPDX-License-Identifier: BSD-2-Clause
// Replays a recorded session, as gpsfake does for gpsd: the PC's chunks go
// out one step at a time, each followed by the controller's answers to it
// (ACK, NAK, reply frames), which are compared unit by unit with the trace.
#include "ReplayCommand.h"

#include "ByteLine.h"
#include "CommandCatalogue.h"
#include "LineDecoder.h"
#include "Protocol.h"
#include "ReplyDecoder.h"
#include "TraceFile.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <memory>

namespace {

enum ExitCode { AllMatched = 0, Differs = 1, CannotRun = 2 };

// What the PC sent in a row and what the controller answered before the
// PC spoke again.
struct Step {
    int lineNumber = 0;
    qint64 atMs = -1; // since the trace's first time; -1 if unknown
    QByteArray sent;
    QByteArray answered;
};

// One answer of the controller: ACK, NAK, a frame, or a stray byte.
struct Answer {
    QByteArray bytes;
    bool frame = false;
    int command = 0;
    int group = 0;
    QByteArray data;
};

// "2026-05-01T12:00:00.343192" in milliseconds since the epoch, -1 if it is
// no such time.
qint64 traceTimeMs(const QString& time)
{
    const QString whole = time.section(QLatin1Char('.'), 0, 0);
    const QString fraction = time.section(QLatin1Char('.'), 1).leftJustified(3, QLatin1Char('0')).left(3);
    const QDateTime parsed = QDateTime::fromString(whole, Qt::ISODate);
    return parsed.isValid() ? parsed.toMSecsSinceEpoch() + fraction.toInt() : -1;
}

QVector<Step> stepsOf(const QVector<TraceChunk>& chunks)
{
    QVector<Step> steps;
    qint64 firstMs = -1;
    for (const TraceChunk& chunk : chunks) {
        if (chunk.from == LineDecoder::Pc && (steps.isEmpty() || !steps.last().answered.isEmpty())) {
            Step step;
            step.lineNumber = chunk.lineNumber;
            const qint64 ms = traceTimeMs(chunk.time);
            if (firstMs < 0)
                firstMs = ms;
            step.atMs = ms < 0 || firstMs < 0 ? -1 : ms - firstMs;
            steps.append(step);
        }
        if (steps.isEmpty())
            continue; // the controller spoke before the PC: nothing asked for it
        (chunk.from == LineDecoder::Pc ? steps.last().sent : steps.last().answered).append(chunk.bytes);
    }
    return steps;
}

// The complete answers in `bytes`; *used says how many bytes they take (a
// frame still coming is left for later).
QVector<Answer> answersIn(const QByteArray& bytes, int* used)
{
    QVector<Answer> answers;
    RS232Receiver receiver;
    int start = 0;
    *used = 0;
    for (int i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (!receiver.in_frame()) {
            // ACK and NAK stand alone; a byte that starts no frame is a stray one.
            const bool alone = byte == Protocol::ACK || byte == Protocol::NAK;
            if (!alone)
                receiver.push(byte);
            if (alone || !receiver.in_frame()) {
                Answer single;
                single.bytes = bytes.mid(i, 1);
                answers.append(single);
                *used = i + 1;
            }
            start = i;
            continue;
        }
        const RS232Receiver::Event event = receiver.push(byte);
        if (event == RS232Receiver::Event::Nothing)
            continue;
        const RS232Message& message = receiver.message();
        answers.append(Answer { bytes.mid(start, i + 1 - start), event == RS232Receiver::Event::FrameValid,
                                message.get_command_id(), message.get_group_id(), message.data() });
        receiver.reset();
        *used = i + 1;
    }
    return answers;
}

// Answers that legitimately differ from run to run: the controller's clock,
// and values the siblings push as signals (the last one received is
// answered). Those are compared by shape: same frame, same length.
bool comparedByShape(const Answer& answer)
{
    static const int SIGNALLED_DEVICE_VALUES[] = { 0xC0, 0xF0, 0xF3, 0xF5, 0xF6, 0xFB };
    const CatalogueEntry* entry = findEntry(answer.command, answer.group);
    if (!answer.frame || !entry)
        return false;
    switch (entry->reply) {
    case ReplyKind::Date:
    case ReplyKind::Time:
    case ReplyKind::Metres:
    case ReplyKind::Measurement3D:
        return true;
    case ReplyKind::DeviceData:
        return std::find(std::begin(SIGNALLED_DEVICE_VALUES), std::end(SIGNALLED_DEVICE_VALUES), answer.command)
            != std::end(SIGNALLED_DEVICE_VALUES);
    default:
        return false;
    }
}

enum class Match { Same, SameShape, Different };

Match compare(const Answer& expected, const Answer& got)
{
    if (!comparedByShape(expected))
        return expected.bytes == got.bytes ? Match::Same : Match::Different;
    return got.frame && got.command == expected.command && got.group == expected.group
            && got.data.size() == expected.data.size()
        ? Match::SameShape
        : Match::Different;
}

// Both sides of the session in words: one decoder follows the trace, the
// other the line, so each reply is read in terms of its own query.
class Wording
{
public:
    explicit Wording(const TextCharset& charset)
        : m_expected(charset, false)
        , m_got(charset, false)
    {
    }
    QString sent(const QByteArray& bytes)
    {
        QStringList lines;
        m_expected.feed(LineDecoder::Pc, QString(), bytes, &lines);
        m_expected.flush(&lines);
        QStringList ignored;
        m_got.feed(LineDecoder::Pc, QString(), bytes, &ignored);
        m_got.flush(&ignored);
        return words(lines);
    }
    QString expected(const QByteArray& bytes) { return answered(m_expected, bytes); }
    QString got(const QByteArray& bytes) { return answered(m_got, bytes); }

private:
    static QString answered(LineDecoder& decoder, const QByteArray& bytes)
    {
        QStringList lines;
        decoder.feed(LineDecoder::Controller, QString(), bytes, &lines);
        decoder.finish(&lines);
        return bytes.isEmpty() ? QStringLiteral("nothing")
                               : words(lines) + QStringLiteral("  [%1]").arg(hexBytes(bytes));
    }
    // Lines come as "PC   text" or "CTL  text": the side is said elsewhere.
    static QString words(const QStringList& lines)
    {
        QStringList texts;
        for (const QString& line : lines)
            texts.append(line.mid(5));
        return texts.join(QStringLiteral(", "));
    }
    LineDecoder m_expected;
    LineDecoder m_got;
};

struct Arguments {
    bool paced = false;
    QString trace;
};

bool parseArguments(const QStringList& words, Arguments* arguments, QString* error)
{
    for (const QString& word : words) {
        if (word == QLatin1String("--paced"))
            arguments->paced = true;
        else if (word.startsWith(QLatin1String("--")) || !arguments->trace.isEmpty())
            break;
        else
            arguments->trace = word;
    }
    if (arguments->trace.isEmpty() || words.size() != (arguments->paced ? 2 : 1)) {
        *error = QStringLiteral("usage: talvox-pc -d DEVICE replay [--paced] TRACE");
        return false;
    }
    return true;
}

} // namespace

int runReplay(const QStringList& words, const QString& device, int timeoutMs, const TextCharset& charset,
              QTextStream& out, QTextStream& err)
{
    Arguments arguments;
    QString error;
    if (!parseArguments(words, &arguments, &error)) {
        err << "talvox-pc: " << error << '\n';
        return CannotRun;
    }
    QFile file(arguments.trace);
    if (!file.open(QIODevice::ReadOnly)) {
        err << "talvox-pc: replay: cannot read " << arguments.trace << ": " << file.errorString() << '\n';
        return CannotRun;
    }
    QStringList badLines;
    const QVector<Step> steps = stepsOf(readTraceChunks(file.readAll(), &badLines));
    if (!badLines.isEmpty()) {
        err << "talvox-pc: replay: " << arguments.trace << ':' << badLines.constFirst()
            << ": not a trace line (<time> <pc|ctl> <hex bytes>)\n";
        return CannotRun;
    }
    const std::unique_ptr<ByteLine> line = makeByteLine(device, timeoutMs);
    if (!line->open(false, &error)) {
        err << "talvox-pc: " << error << '\n';
        return CannotRun;
    }
    line->discardInput();

    Wording wording(charset);
    QByteArray pending; // received, not yet compared
    int answersCompared = 0;
    int comparedByShapeCount = 0;
    QElapsedTimer clock;
    clock.start();
    for (int s = 0; s < steps.size(); ++s) {
        const Step& step = steps[s];
        if (arguments.paced && step.atMs > clock.elapsed())
            QThread::msleep(static_cast<unsigned long>(step.atMs - clock.elapsed()));
        const QString command = wording.sent(step.sent);
        if (line->write(step.sent, timeoutMs) != ByteLine::Ok) {
            err << "talvox-pc: replay: the line failed while sending: " << line->errorString() << '\n';
            return CannotRun;
        }
        int used = 0;
        const QVector<Answer> expected = answersIn(step.answered, &used);
        QVector<Answer> got = answersIn(pending, &used);
        const QDeadlineTimer deadline(timeoutMs);
        while (got.size() < expected.size() && !deadline.hasExpired()) {
            if (line->read(int(deadline.remainingTime()), &pending) == ByteLine::Failed) {
                err << "talvox-pc: replay: the line failed: " << line->errorString() << '\n';
                return CannotRun;
            }
            got = answersIn(pending, &used);
        }
        got.resize(qMin(got.size(), expected.size()));
        int gotBytes = 0;
        for (const Answer& answer : got)
            gotBytes += answer.bytes.size();
        const QByteArray received = pending.left(gotBytes);
        pending.remove(0, gotBytes);

        for (int a = 0; a < expected.size(); ++a) {
            const Match match = a < got.size() ? compare(expected[a], got[a]) : Match::Different;
            if (match == Match::Different) {
                out << "replay: difference at step " << s + 1 << " (trace line " << step.lineNumber << ")\n"
                    << "  command:  " << command << '\n'
                    << "  expected: " << wording.expected(step.answered) << '\n'
                    << "  got:      " << wording.got(received)
                    << (a < got.size() ? QString() : QStringLiteral(" (no answer within %1 ms)").arg(timeoutMs))
                    << '\n';
                if (a < got.size() && comparedByShape(expected[a]))
                    out << "  (an answer compared by shape, not value: its frame or length differs)\n";
                out.flush();
                return Differs;
            }
            ++answersCompared;
            comparedByShapeCount += match == Match::SameShape ? 1 : 0;
        }
        wording.expected(step.answered);
        wording.got(received);
    }
    out << "replay: " << steps.size() << " steps, all " << answersCompared << " answers match";
    if (comparedByShapeCount > 0)
        out << " (" << comparedByShapeCount
            << " of them by shape, not value: the date and time, and values the siblings push as signals,"
               " which differ from run to run)";
    out << '\n';
    out.flush();
    return AllMatched;
}
