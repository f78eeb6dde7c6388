// SPDX-License-Identifier: BSD-2-Clause
#ifndef TRACEFILE_H
#define TRACEFILE_H

#include "LineDecoder.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// The trace format `scripts/run --trace` writes: a header line, then one
// line per chunk as it crossed the line, "<time> <pc|ctl> <hex bytes>", the
// time without blanks ("-" if unknown); '#' starts a comment.

// The first line of a trace file.
inline constexpr char TRACE_HEADER[] = "# talvox line trace";

struct TraceChunk {
    int lineNumber = 0;
    QString time; // empty if unknown
    LineDecoder::Direction from = LineDecoder::Pc;
    QByteArray bytes;
};

// One line of a trace; false if it is no trace line.
bool parseTraceLine(const QString& line, TraceChunk* chunk);

// Every chunk of a trace. Lines that are no trace lines and no comments go
// to *badLines as "<line number>: <line>".
QVector<TraceChunk> readTraceChunks(const QByteArray& contents, QStringList* badLines);

#endif
