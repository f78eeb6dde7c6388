// SPDX-License-Identifier: BSD-2-Clause
#include "TraceFile.h"

#include <QRegularExpression>

bool parseTraceLine(const QString& line, TraceChunk* chunk)
{
    static const QRegularExpression FIELDS(QStringLiteral("^(\\S+)\\s+(pc|ctl)((?:\\s+[0-9a-f]{2})*)\\s*$"),
                                           QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = FIELDS.match(line);
    if (!match.hasMatch())
        return false;
    chunk->time = match.captured(1) == QLatin1String("-") ? QString() : match.captured(1);
    chunk->from = match.captured(2).toLower() == QLatin1String("pc") ? LineDecoder::Pc : LineDecoder::Controller;
    chunk->bytes = QByteArray::fromHex(match.captured(3).toLatin1());
    return true;
}

QVector<TraceChunk> readTraceChunks(const QByteArray& contents, QStringList* badLines)
{
    QVector<TraceChunk> chunks;
    int number = 0;
    for (const QByteArray& raw : contents.split('\n')) {
        ++number;
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        TraceChunk chunk;
        chunk.lineNumber = number;
        if (parseTraceLine(line, &chunk))
            chunks.append(chunk);
        else
            badLines->append(QStringLiteral("%1: %2").arg(number).arg(line));
    }
    return chunks;
}
