// SPDX-License-Identifier: BSD-2-Clause
#include "ControlObject.h"

#include "OverlaySnapshot.h"
#include "ScreenRenderer.h"
#include "Simulator.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace {

// A value arrives as the variant's content; an array of variants inside a
// variant arrives still marshalled.
QVariantList toList(const QVariant& value)
{
    if (value.canConvert<QDBusArgument>())
        return qdbus_cast<QVariantList>(value.value<QDBusArgument>());
    return value.toList();
}

QString describe(const OverlayText* text, int& column, int& line, int& foreground, int& background, bool& visible,
                 int& format, bool& exists)
{
    const OverlayText none;
    const OverlayText& shown = text ? *text : none;
    column = text ? shown.column : 0;
    line = text ? shown.line : 0;
    foreground = text ? shown.foreground : 0;
    background = text ? shown.background : 0;
    visible = text && shown.visible;
    format = shown.format;
    exists = text != nullptr;
    return shown.text;
}

} // namespace

ControlObject::ControlObject(Simulator& simulator, QObject* parent)
    : QObject(parent)
    , m_simulator(simulator)
{
    m_change_pending.setSingleShot(true);
    m_change_pending.setInterval(0);
    connect(&m_change_pending, &QTimer::timeout, this, &ControlObject::changed);
}

void ControlObject::notify_changed()
{
    m_change_pending.start();
}

QString ControlObject::overlay()
{
    return overlayJson(m_simulator.state());
}

QStringList ControlObject::calls()
{
    return m_simulator.state().calls.entries();
}

void ControlObject::clear_calls()
{
    m_simulator.state().calls.clear();
}

void ControlObject::set_locale(const QString& code)
{
    m_simulator.state().locale = code;
    notify_changed();
}

void ControlObject::set_screen_size(int width, int count)
{
    m_simulator.state().overlay.set_screen_size(width, count);
    notify_changed();
}

void ControlObject::set_value(const QString& name, const QDBusVariant& value)
{
    SimulatorState& state = m_simulator.state();
    const QVariant content = value.variant();
    if (name == QLatin1String("camera_module_type"))
        state.devices.camera_module_type = content.toInt();
    else if (name == QLatin1String("camera_pressure1"))
        state.devices.camera_pressure1 = content.toInt();
    else if (name == QLatin1String("crawler_pressure1"))
        state.devices.crawler_pressure1 = content.toInt();
    else if (name == QLatin1String("crawler_roll"))
        state.devices.crawler_roll = content.toDouble();
    else if (name == QLatin1String("videocounter_active"))
        state.overlay.videocounter_active = content.toBool();
    else if (name == QLatin1String("videocounter"))
        state.overlay.videocounter = toList(content);
    else
        qWarning("talvox-sim: set_value of unknown value \"%s\"", qPrintable(name));
    notify_changed();
}

void ControlObject::set_reply(const QString& method, const QVariantList& values)
{
    m_simulator.state().overlay.replies.insert(method, values);
}

void ControlObject::clear_replies()
{
    m_simulator.state().overlay.replies.clear();
}

bool ControlObject::emit_signal(const QString& name, const QVariantList& args)
{
    return m_simulator.emit_sibling_signal(name, args);
}

void ControlObject::set_service_present(const QString& service, bool present)
{
    m_simulator.set_service_present(service, present);
}

QString ControlObject::screen()
{
    return renderScreen(m_simulator.state().overlay);
}

QString ControlObject::text(int handle, int& column, int& line, int& foreground, int& background, bool& visible,
                            int& format, bool& exists)
{
    const OverlayText* text = m_simulator.state().overlay.texts.find(handle);
    return describe(text, column, line, foreground, background, visible, format, exists);
}

QString ControlObject::text_by_id(int id, int& column, int& line, int& foreground, int& background, bool& visible,
                                  int& format, bool& exists)
{
    const OverlayTexts& texts = m_simulator.state().overlay.texts;
    const OverlayText* text = texts.find(texts.handle_of_id(id));
    return describe(text, column, line, foreground, background, visible, format, exists);
}

QList<int> ControlObject::texts_on_line(int line)
{
    return m_simulator.state().overlay.texts.created_on_line(line);
}

int ControlObject::created_text_count()
{
    return int(m_simulator.state().overlay.texts.created().size());
}
