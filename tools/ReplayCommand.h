// SPDX-License-Identifier: BSD-2-Clause
#ifndef REPLAYCOMMAND_H
#define REPLAYCOMMAND_H

#include <QStringList>
#include <QTextStream>

class TextCharset;

// talvox-pc -d DEVICE replay [--paced] TRACE: plays the PC's side of a trace
// on the line and compares every answer of the controller with the recorded
// one. `arguments` are the words after "replay". Returns 0 when every answer
// matched, 1 at the first difference (printed in words), 2 when the trace
// cannot be read or the device not opened.
int runReplay(const QStringList& arguments, const QString& device, int timeoutMs, const TextCharset& charset,
              QTextStream& out, QTextStream& err);

#endif
