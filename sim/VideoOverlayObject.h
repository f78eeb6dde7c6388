// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QObject>
#include <QVariantList>

struct SimulatorState;

// /videooverlay of "local.vemo.quorend": overlay text objects, temporary
// texts, overlay visibility and the video counter, kept as real state.
// Unknown handles answer empty values and ignore settings.
class VideoOverlayObject : public QObject
{
    Q_OBJECT
public:
    VideoOverlayObject(SimulatorState& state, QObject* parent = nullptr);

    int get_max_text_line_width();
    int get_max_text_line_count();
    int create_text();
    void destroy_text(int handle);
    int get_text_handle_by_id(int id);
    QString get_text_string(int handle);
    void set_text_string(int handle, const QString& text);
    QVariantList get_text_position(int handle);
    void set_text_position(int handle, int column, int line);
    QVariantList get_text_colors(int handle);
    void set_text_colors(int handle, int foreground, int background);
    int get_text_format(int handle);
    bool is_text_visible(int handle);
    void show_text(int handle);
    void hide_text(int handle);
    void show_overlay();
    void hide_overlay();
    void draw_temp_text(const QString& text, int foreground, int background, int column, int line, int duration);
    bool is_videocounter_active();
    void videocounter_start(int counter);
    void videocounter_stop(int counter);
    QVariantList get_videocounter();
    void set_videocounter(int lead, int hours, int minutes, int seconds, int frames);

private:
    // The override set through the control interface, if any, else the answer.
    QVariantList list_reply(const char* method, const QVariantList& answer) const;

    SimulatorState& m_state;
};
