// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINEDECODER_H
#define LINEDECODER_H

#include "RS232Receiver.h"
#include "TextCharset.h"

#include <QByteArray>
#include <QHash>
#include <QQueue>
#include <QString>
#include <QStringList>

// Turns what crossed the line into one readable line per event: the PC's
// frames as the talvox-pc commands that send them, typed characters, the
// controller's ACK and NAK and its replies in plain words, and bytes that
// form no frame in hex (nothing is dropped). Each direction is cut into
// frames by the service's own frame receiver; names and value encodings
// come from the client's catalogue.
//
//   2026-05-01T12:00:00.123456  PC   metercounter get 1
//   2026-05-01T12:00:00.125001  CTL  ACK
//   2026-05-01T12:00:00.131870  CTL  reply: meter counter 1: 12.5 metres (...)
class LineDecoder
{
public:
    enum Direction { Pc, Controller };

    // `showBytes` adds each frame's bytes to its line.
    LineDecoder(const TextCharset& charset, bool showBytes);

    // Bytes one side sent, seen at `time` ("" if unknown). Events that are
    // complete are appended to *lines.
    void feed(Direction from, const QString& time, const QByteArray& bytes, QStringList* lines);
    // Typed text and stray bytes so far become a line now (a live line
    // shows them as they come).
    void flush(QStringList* lines);
    // The end of the capture: a frame still open is reported as truncated.
    void finish(QStringList* lines);

private:
    struct Side {
        RS232Receiver receiver;
        QByteArray frame; // the bytes of the frame being received
        QString frameTime;
        QByteArray run; // typed characters or stray bytes in a row
        bool runTyped = false;
        QString runTime;
    };
    // A query waiting for its reply: the request data (some replies echo a
    // part) and the character set texts were in when it was sent.
    struct Request {
        QByteArray data;
        TextCharset::Selector charset;
    };

    void push(Direction from, Side& side, const QString& time, unsigned char byte, QStringList* lines);
    void addToRun(Direction from, Side& side, const QString& time, unsigned char byte, bool typed, QStringList* lines);
    void endRun(Direction from, Side& side, QStringList* lines);
    QString frameEvent(Direction from, const RS232Message& message);
    QString requestEvent(const RS232Message& message);
    QString replyEvent(const RS232Message& message);
    QString brokenFrame(const Side& side) const;
    void emitLine(Direction from, const QString& time, const QString& text, QStringList* lines) const;

    TextCharset m_charset; // follows the PC's "codec set"
    bool m_showBytes;
    Side m_sides[2];
    QHash<int, QQueue<Request>> m_queries; // by command id * 256 + group id
};

#endif
