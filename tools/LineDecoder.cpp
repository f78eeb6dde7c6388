// SPDX-License-Identifier: BSD-2-Clause
#include "LineDecoder.h"

#include "CommandCatalogue.h"
#include "Protocol.h"
#include "ReplyDecoder.h"
#include "RequestDecoder.h"

namespace {
using Protocol::ACK;
using Protocol::NAK;
const int HEADER_SIZE = 5; // STX, command id, group id, length lo, length hi
const int QUERY_GROUP = 1;
const int SETTING_GROUP = 2;
const int CODEC_COMMAND = 0x01;

QString frameIds(const RS232Message& message)
{
    return QStringLiteral("0x%1/%2")
        .arg(QString::number(message.get_command_id(), 16).toUpper().rightJustified(2, QLatin1Char('0')))
        .arg(message.get_group_id());
}

QString dataSuffix(const QByteArray& data)
{
    return data.isEmpty() ? QStringLiteral(", no data") : QStringLiteral(", data ") + hexBytes(data);
}
} // namespace

LineDecoder::LineDecoder(const TextCharset& charset, bool showBytes)
    : m_charset(charset)
    , m_showBytes(showBytes)
{
}

void LineDecoder::feed(Direction from, const QString& time, const QByteArray& bytes, QStringList* lines)
{
    // Typed text and stray bytes end when the other side speaks, so that
    // the lines keep the order of the line.
    const Direction other = from == Pc ? Controller : Pc;
    endRun(other, m_sides[other], lines);
    Side& side = m_sides[from];
    for (const char c : bytes)
        push(from, side, time, static_cast<unsigned char>(c), lines);
}

void LineDecoder::push(Direction from, Side& side, const QString& time, unsigned char byte, QStringList* lines)
{
    RS232Receiver& receiver = side.receiver;
    if (!receiver.in_frame()) {
        // ACK and NAK stand alone, outside any frame.
        if (from == Controller && (byte == ACK || byte == NAK)) {
            endRun(from, side, lines);
            emitLine(from, time, byte == ACK ? QStringLiteral("ACK") : QStringLiteral("NAK"), lines);
            return;
        }
        const RS232Receiver::Event event = receiver.push(byte);
        if (!receiver.in_frame()) {
            // Only the PC types; anything else outside a frame is a stray byte.
            addToRun(from, side, time, byte, event == RS232Receiver::Event::TypedChar && from == Pc, lines);
            return;
        }
        endRun(from, side, lines);
        side.frame = QByteArray(1, char(byte));
        side.frameTime = time;
        return;
    }

    side.frame.append(char(byte));
    const RS232Receiver::State stateBefore = receiver.state();
    const RS232Receiver::Event event = receiver.push(byte);
    switch (event) {
    case RS232Receiver::Event::FrameValid:
        emitLine(from, side.frameTime, frameEvent(from, receiver.message()), lines);
        break;
    case RS232Receiver::Event::FrameInvalid:
        emitLine(from, side.frameTime,
                 QStringLiteral("frame with command id 0, ignored by the controller")
                     + dataSuffix(receiver.message().data())
                     + (m_showBytes ? QStringLiteral("  [%1]").arg(hexBytes(side.frame)) : QString()),
                 lines);
        break;
    case RS232Receiver::Event::Refused: {
        const QString why = stateBefore == RS232Receiver::State::GroupId
            ? QStringLiteral("group id %1 is above 2").arg(byte)
            : QStringLiteral("0x%1 where the end byte 0x03 belongs")
                  .arg(QString::number(byte, 16).toUpper().rightJustified(2, QLatin1Char('0')));
        emitLine(from, side.frameTime,
                 QStringLiteral("broken frame (%1; the controller answers NAK): %2").arg(why, hexBytes(side.frame)),
                 lines);
        break;
    }
    case RS232Receiver::Event::Nothing:
    case RS232Receiver::Event::TypedChar:
    case RS232Receiver::Event::ControlByte:
        return;
    }
    receiver.reset();
    side.frame.clear();
}

void LineDecoder::addToRun(Direction from, Side& side, const QString& time, unsigned char byte, bool typed,
                           QStringList* lines)
{
    if (!side.run.isEmpty() && side.runTyped != typed)
        endRun(from, side, lines);
    if (side.run.isEmpty()) {
        side.runTyped = typed;
        side.runTime = time;
    }
    side.run.append(char(byte));
}

void LineDecoder::endRun(Direction from, Side& side, QStringList* lines)
{
    if (side.run.isEmpty())
        return;
    // Typed characters travel as single bytes in the locale codec.
    TextCharset typed = m_charset;
    typed.select(TextCharset::Locale);
    emitLine(from, side.runTime,
             side.runTyped ? QStringLiteral("typed ") + quoted(typed.decode(side.run))
                           : QStringLiteral("bytes outside a frame: ") + hexBytes(side.run),
             lines);
    side.run.clear();
}

QString LineDecoder::frameEvent(Direction from, const RS232Message& message)
{
    const QString text = from == Pc ? requestEvent(message) : replyEvent(message);
    return m_showBytes ? text + QStringLiteral("  [%1]").arg(hexBytes(message.to_frame())) : text;
}

QString LineDecoder::requestEvent(const RS232Message& message)
{
    const CatalogueEntry* entry = findEntry(message.get_command_id(), message.get_group_id());
    if (!entry)
        return QStringLiteral("frame %1, not in the command table").arg(frameIds(message)) + dataSuffix(message.data());
    const QString arguments = requestArguments(*entry, message.data(), m_charset);
    if (message.get_group_id() == QUERY_GROUP)
        m_queries[message.get_command_id() * 256 + QUERY_GROUP].enqueue({ message.data(), m_charset.selected() });
    // Later texts both ways are in the newly selected character set.
    if (message.get_command_id() == CODEC_COMMAND && message.get_group_id() == SETTING_GROUP)
        m_charset.selectByte(message.data_byte(0));
    return arguments.isEmpty() ? entry->name : entry->name + QLatin1Char(' ') + arguments;
}

QString LineDecoder::replyEvent(const RS232Message& message)
{
    const CatalogueEntry* entry = findEntry(message.get_command_id(), message.get_group_id());
    if (!entry || entry->reply == ReplyKind::Ack)
        return QStringLiteral("frame %1, no reply to a known query").arg(frameIds(message))
            + dataSuffix(message.data());
    // The reply is read in the terms of the query it answers (the oldest
    // one still open with the same ids), or without one if it was not seen.
    Request request { QByteArray(), m_charset.selected() };
    QQueue<Request>& open = m_queries[message.get_command_id() * 256 + message.get_group_id()];
    if (!open.isEmpty())
        request = open.dequeue();
    TextCharset charset = m_charset;
    charset.select(request.charset);
    return QStringLiteral("reply: ") + decodeReply(*entry, request.data, message.data(), charset);
}

void LineDecoder::flush(QStringList* lines)
{
    endRun(Pc, m_sides[Pc], lines);
    endRun(Controller, m_sides[Controller], lines);
}

void LineDecoder::finish(QStringList* lines)
{
    flush(lines);
    for (const Direction from : { Pc, Controller }) {
        Side& side = m_sides[from];
        if (!side.receiver.in_frame())
            continue;
        const RS232Message& message = side.receiver.message();
        QString what = QStringLiteral("truncated frame at the end of the capture");
        if (side.frame.size() >= HEADER_SIZE)
            what += QStringLiteral(" (%1 of %2 data bytes)")
                        .arg(message.get_data_length())
                        .arg(message.get_setted_length());
        emitLine(from, side.frameTime, what + QStringLiteral(": ") + hexBytes(side.frame), lines);
        side.receiver.reset();
        side.frame.clear();
    }
}

void LineDecoder::emitLine(Direction from, const QString& time, const QString& text, QStringList* lines) const
{
    const QString who = from == Pc ? QStringLiteral("PC ") : QStringLiteral("CTL");
    lines->append(time.isEmpty() ? who + QStringLiteral("  ") + text
                                 : time + QStringLiteral("  ") + who + QStringLiteral("  ") + text);
}
