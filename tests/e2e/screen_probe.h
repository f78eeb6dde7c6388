// Reading the simulated overlay in the character screen tests: text objects
// as the overlay keeps them, the texts of a line, and the overlay calls a
// piece of serial traffic caused.
#ifndef SCREEN_PROBE_H
#define SCREEN_PROBE_H

#include "TestRig.h"

#include <QDBusArgument>
#include <QStringList>

// One overlay text object as the simulator keeps it.
struct SimText {
    QString text;
    int column = -1;
    int line = -1;
    int foreground = -1;
    int background = -1;
    bool visible = false;
    bool exists = false;
};

inline SimText toSimText(const QVariantList& answer)
{
    SimText text;
    if (answer.size() != 8)
        return text;
    text.text = answer.at(0).toString();
    text.column = answer.at(1).toInt();
    text.line = answer.at(2).toInt();
    text.foreground = answer.at(3).toInt();
    text.background = answer.at(4).toInt();
    text.visible = answer.at(5).toBool();
    text.exists = answer.at(7).toBool();
    return text;
}

inline SimText simText(TestRig& rig, int handle)
{
    return toSimText(rig.sim("text", { handle }));
}

inline SimText fixedText(TestRig& rig, int textId)
{
    return toSimText(rig.sim("text_by_id", { textId }));
}

// Handles of the created texts on a line, in creation order.
inline QList<int> textsOnLine(TestRig& rig, int line)
{
    const QVariant answer = rig.sim("texts_on_line", { line }).value(0);
    if (answer.canConvert<QDBusArgument>())
        return qdbus_cast<QList<int>>(answer.value<QDBusArgument>());
    return answer.value<QList<int>>();
}

// Waits until the simulator has taken every overlay call the service sent
// so far (typed characters have no ACK to wait for): a read of fixed screen
// line 1 is answered only after the calls sent before its waited ones.
inline bool awaitOverlay(TestRig& rig)
{
    return !rig.query(0x98, 1, QByteArray(1, char(2))).isEmpty();
}

// The overlay calls the service has made since the call log was cleared,
// without the calls of awaitOverlay() (the read of text 93).
inline QStringList overlayCallsSoFar(TestRig& rig)
{
    if (!awaitOverlay(rig))
        return { "barrier failed: " + rig.lastError() };
    const QStringList calls = rig.calls();
    QStringList own;
    for (int i = 0; i < calls.size(); ++i) {
        if (calls.at(i) == "get_text_handle_by_id(93)" && calls.value(i + 1) == "get_text_string(1093)")
            ++i;
        else
            own << calls.at(i);
    }
    return own;
}

// A screen line as the simulator draws it (without the frame's borders).
inline QString screenRow(TestRig& rig, int line)
{
    const QStringList rows = rig.screen().split('\n');
    const int row = line + 1; // below the top border
    if (row >= rows.size() || rows.at(row).size() < 2)
        return QString();
    return rows.at(row).mid(1, rows.at(row).size() - 2);
}

#endif
