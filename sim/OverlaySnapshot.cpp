// SPDX-License-Identifier: BSD-2-Clause
#include "OverlaySnapshot.h"

#include "SimulatorState.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonObject textObject(int handle, const OverlayText& text)
{
    return QJsonObject { { "handle", handle },
                         { "id", text.id },
                         { "text", text.text },
                         { "column", text.column },
                         { "line", text.line },
                         { "foreground", text.foreground },
                         { "background", text.background },
                         { "visible", text.visible },
                         { "format", text.format } };
}

} // namespace

QString overlayJson(const SimulatorState& state)
{
    const OverlayState& overlay = state.overlay;
    QJsonArray texts;
    for (const auto& [handle, text] : overlay.texts.fixed())
        texts.append(textObject(handle, text));
    for (const auto& [handle, text] : overlay.texts.created())
        texts.append(textObject(handle, text));
    QJsonArray tempTexts;
    for (const TempText& temp : overlay.temp_texts)
        tempTexts.append(QJsonObject { { "text", temp.text },
                                       { "column", temp.column },
                                       { "line", temp.line },
                                       { "foreground", temp.foreground },
                                       { "background", temp.background },
                                       { "duration", temp.duration } });
    QJsonObject pushed;
    for (auto it = state.pushed.cbegin(); it != state.pushed.cend(); ++it)
        pushed.insert(it.key(), QJsonArray::fromVariantList(it.value()));
    const QJsonObject root {
        { "width", overlay.width() },
        { "count", overlay.count() },
        { "overlay_visible", overlay.overlay_visible },
        { "texts", texts },
        { "temp_texts", tempTexts },
        { "videocounter",
          QJsonObject { { "active", overlay.videocounter_active },
                        { "values", QJsonArray::fromVariantList(overlay.videocounter) } } },
        { "meters",
          QJsonObject {
              { "counter", state.meters.counter }, { "sat", state.meters.sat }, { "abs", state.meters.abs } } },
        { "locale", state.locale },
        { "devices",
          QJsonObject { { "camera_module_type", state.devices.camera_module_type },
                        { "camera_pressure1", state.devices.camera_pressure1 },
                        { "crawler_pressure1", state.devices.crawler_pressure1 },
                        { "crawler_roll", state.devices.crawler_roll } } },
        { "pushed", pushed },
    };
    return QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Compact));
}
