// SPDX-License-Identifier: BSD-2-Clause
#ifndef SCREENTEXTS_H
#define SCREENTEXTS_H

#include <QStringList>
#include <QVariant>

// The character screen's texts as the screen tests compare them, read from the simulator through the rig or
// the handler fixture (anything with sim() and textsOn()).

// Expected calls with %1, %2, ... standing for the given handles.
inline QStringList withHandles(QStringList calls, const QList<int>& handles)
{
    for (QString& call : calls)
        for (int i = 0; i < handles.size(); ++i)
            call.replace(QString("%%1").arg(i + 1), QString::number(handles.at(i)));
    return calls;
}

// The texts created on a 0-based line as "string at column, foreground on background", "; " between two.
template <typename Simulated> QString lineTexts(Simulated& simulated, int line)
{
    QStringList texts;
    for (int handle : simulated.textsOn(line)) {
        const QStringList a = QVariant(simulated.sim("text", { handle })).toStringList();
        texts << QString("%1 at %2, %3 on %4").arg(a.value(0), a.value(1), a.value(3), a.value(4));
    }
    return texts.join("; ");
}

#endif
