// SPDX-License-Identifier: BSD-2-Clause
#include "VideoOverlayObject.h"

#include "SimulatorState.h"

VideoOverlayObject::VideoOverlayObject(SimulatorState& state, QObject* parent)
    : QObject(parent)
    , m_state(state)
{
}

int VideoOverlayObject::get_max_text_line_width()
{
    m_state.calls.record("get_max_text_line_width");
    return m_state.overlay.width();
}

int VideoOverlayObject::get_max_text_line_count()
{
    m_state.calls.record("get_max_text_line_count");
    return m_state.overlay.count();
}

int VideoOverlayObject::create_text()
{
    m_state.calls.record("create_text");
    return m_state.overlay.texts.create();
}

void VideoOverlayObject::destroy_text(int handle)
{
    m_state.calls.record("destroy_text", { handle });
    m_state.overlay.texts.destroy(handle);
}

int VideoOverlayObject::get_text_handle_by_id(int id)
{
    m_state.calls.record("get_text_handle_by_id", { id });
    return m_state.overlay.texts.handle_of_id(id);
}

QString VideoOverlayObject::get_text_string(int handle)
{
    m_state.calls.record("get_text_string", { handle });
    const OverlayText* text = m_state.overlay.texts.find(handle);
    return text ? text->text : QString();
}

void VideoOverlayObject::set_text_string(int handle, const QString& text)
{
    m_state.calls.record("set_text_string", { handle, text });
    if (OverlayText* found = m_state.overlay.texts.find(handle))
        found->text = text;
}

QVariantList VideoOverlayObject::get_text_position(int handle)
{
    m_state.calls.record("get_text_position", { handle });
    const OverlayText* text = m_state.overlay.texts.find(handle);
    QVariantList position;
    if (text)
        position = { text->column, text->line, text->column + int(text->text.size()) };
    return list_reply("get_text_position", position);
}

void VideoOverlayObject::set_text_position(int handle, int column, int line)
{
    m_state.calls.record("set_text_position", { handle, column, line });
    if (OverlayText* text = m_state.overlay.texts.find(handle)) {
        text->column = column;
        text->line = line;
    }
}

QVariantList VideoOverlayObject::get_text_colors(int handle)
{
    m_state.calls.record("get_text_colors", { handle });
    const OverlayText* text = m_state.overlay.texts.find(handle);
    QVariantList colors;
    if (text)
        colors = { text->foreground, text->background };
    return list_reply("get_text_colors", colors);
}

void VideoOverlayObject::set_text_colors(int handle, int foreground, int background)
{
    m_state.calls.record("set_text_colors", { handle, foreground, background });
    if (OverlayText* text = m_state.overlay.texts.find(handle)) {
        text->foreground = foreground;
        text->background = background;
    }
}

int VideoOverlayObject::get_text_format(int handle)
{
    m_state.calls.record("get_text_format", { handle });
    const OverlayText* text = m_state.overlay.texts.find(handle);
    return text ? text->format : 0;
}

bool VideoOverlayObject::is_text_visible(int handle)
{
    m_state.calls.record("is_text_visible", { handle });
    const OverlayText* text = m_state.overlay.texts.find(handle);
    return text && text->visible;
}

void VideoOverlayObject::show_text(int handle)
{
    m_state.calls.record("show_text", { handle });
    if (OverlayText* text = m_state.overlay.texts.find(handle))
        text->visible = true;
}

void VideoOverlayObject::hide_text(int handle)
{
    m_state.calls.record("hide_text", { handle });
    if (OverlayText* text = m_state.overlay.texts.find(handle))
        text->visible = false;
}

void VideoOverlayObject::show_overlay()
{
    m_state.calls.record("show_overlay");
    m_state.overlay.overlay_visible = true;
}

void VideoOverlayObject::hide_overlay()
{
    m_state.calls.record("hide_overlay");
    m_state.overlay.overlay_visible = false;
}

void VideoOverlayObject::draw_temp_text(const QString& text, int foreground, int background, int column, int line,
                                        int duration)
{
    m_state.calls.record("draw_temp_text", { text, foreground, background, column, line, duration });
    m_state.overlay.add_temp_text({ text, foreground, background, column, line, duration });
}

bool VideoOverlayObject::is_videocounter_active()
{
    m_state.calls.record("is_videocounter_active");
    return m_state.overlay.videocounter_active;
}

void VideoOverlayObject::videocounter_start(int counter)
{
    m_state.calls.record("videocounter_start", { counter });
    m_state.overlay.videocounter_active = true;
}

void VideoOverlayObject::videocounter_stop(int counter)
{
    m_state.calls.record("videocounter_stop", { counter });
    m_state.overlay.videocounter_active = false;
}

QVariantList VideoOverlayObject::get_videocounter()
{
    m_state.calls.record("get_videocounter");
    return list_reply("get_videocounter", m_state.overlay.videocounter);
}

void VideoOverlayObject::set_videocounter(int lead, int hours, int minutes, int seconds, int frames)
{
    m_state.calls.record("set_videocounter", { lead, hours, minutes, seconds, frames });
    m_state.overlay.videocounter = { lead, hours, minutes, seconds, frames };
}

QVariantList VideoOverlayObject::list_reply(const char* method, const QVariantList& answer) const
{
    const auto found = m_state.overlay.replies.constFind(QLatin1String(method));
    return found != m_state.overlay.replies.cend() ? *found : answer;
}
