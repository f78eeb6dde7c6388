// SPDX-License-Identifier: BSD-2-Clause
#include "ScreenRenderer.h"

#include "CallLog.h"
#include "OverlayState.h"

#include <QStringList>
#include <algorithm>

namespace {

// Guards against absurd sizes set through the control interface.
constexpr int MAX_EXTENT = 1000;

bool isStatusLineText(const OverlayText& text)
{
    return text.id >= 91 && text.id <= 94;
}

bool onGrid(const OverlayText& text, int count)
{
    return text.line >= 0 && text.line < count;
}

void draw(QStringList& rows, const OverlayText& text, int width)
{
    QString& row = rows[text.line];
    for (int i = 0; i < text.text.size(); ++i) {
        const int column = text.column + i;
        if (column >= width)
            break;
        if (column >= 0)
            row[column] = text.text.at(i).isPrint() ? text.text.at(i) : QChar('?');
    }
}

QString describe(const OverlayText& text)
{
    return QStringLiteral("%1 %2, colours %3 on %4, at (%5, %6), format %7")
        .arg(CallLog::format_value(text.text), text.visible ? "shown" : "hidden")
        .arg(text.foreground)
        .arg(text.background)
        .arg(text.column)
        .arg(text.line)
        .arg(text.format);
}

QStringList grid(const OverlayState& overlay, int width, int count)
{
    QStringList rows;
    for (int line = 0; line < count; ++line)
        rows << QString(width, ' ');
    for (const auto& [handle, text] : overlay.texts.fixed())
        if (isStatusLineText(text) && text.visible && onGrid(text, count))
            draw(rows, text, width);
    for (const auto& [handle, text] : overlay.texts.created())
        if (text.visible && onGrid(text, count))
            draw(rows, text, width);

    const QString border = '+' + QString(width, '-') + '+';
    QStringList framed { border };
    for (const QString& row : rows)
        framed << '|' + row + '|';
    framed << border;
    return framed;
}

QStringList belowGrid(const OverlayState& overlay, int count)
{
    QStringList lines;
    lines << QStringLiteral("overlay: %1").arg(overlay.overlay_visible ? "shown" : "hidden");
    for (const auto& [handle, text] : overlay.texts.fixed())
        if (!isStatusLineText(text) || !text.visible || !onGrid(text, count))
            lines << QStringLiteral("fixed %1: ").arg(text.id) + describe(text);
    for (const auto& [handle, text] : overlay.texts.created())
        if (!text.visible || !onGrid(text, count))
            lines << QStringLiteral("text %1: ").arg(handle) + describe(text);
    for (const TempText& temp : overlay.temp_texts)
        lines << QStringLiteral("temp text %1, colours %2 on %3, at (%4, %5), duration %6")
                     .arg(CallLog::format_value(temp.text))
                     .arg(temp.foreground)
                     .arg(temp.background)
                     .arg(temp.column)
                     .arg(temp.line)
                     .arg(temp.duration);
    QStringList counter;
    for (const QVariant& value : overlay.videocounter)
        counter << CallLog::format_value(value);
    lines << QStringLiteral("videocounter: %1 [%2]")
                 .arg(overlay.videocounter_active ? "active" : "stopped", counter.join(", "));
    return lines;
}

} // namespace

QString renderScreen(const OverlayState& overlay)
{
    const int width = std::clamp(overlay.width(), 0, MAX_EXTENT);
    const int count = std::clamp(overlay.count(), 0, MAX_EXTENT);
    return (grid(overlay, width, count) + belowGrid(overlay, count)).join('\n') + '\n';
}
