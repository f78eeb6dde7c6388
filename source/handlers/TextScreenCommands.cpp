// SPDX-License-Identifier: BSD-2-Clause
// Character screen commands: clear, place the cursor, write at the cursor,
// read and replace whole lines, colour a line or the cursor, temporary lines,
// the whole overlay on and off, and single fixed overlay texts on and off.
// Line numbers on the line are 1-based, except in the cursor command.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CTextLinesManager.h"
#include "OverlayColors.h"
#include "RS232Handler.h"

#include <QList>

namespace {
const unsigned char CMD_SHOW_OVERLAY = 0x80;

// Temporary lines: always five, at column 0, in the manager's starting
// colours, whatever the cursor colours are now.
const int TEMP_TEXT_COUNT = 5;
const int TEMP_TEXT_FOREGROUND = 1;
const int TEMP_TEXT_BACKGROUND = 13;
const int TEMP_TEXT_COLUMN = 0;
const int TEMP_TEXT_FIRST_TEXT_BYTE = 3;

// The screen line of a 1-based line byte; byte 0 addresses line 255.
unsigned char screenLine(unsigned char oneBasedLine)
{
    return static_cast<unsigned char>(oneBasedLine - 1);
}

// Fixed overlay texts that the PC switches by command id: three consecutive
// ids per text, in the order show, hide, toggle. The status line rows
// (144 to 155) are reached through the status line visibility command; the
// rows from 160 only look the handle up and do nothing with it.
enum VisibilityActions { SHOW_HIDE_TOGGLE, HANDLE_ONLY };

struct VisibilityRow {
    unsigned char first_command_id;
    int text_id;
    VisibilityActions actions;
};

const VisibilityRow VISIBILITY_TEXTS[] = {
    // ids            text id
    { 48, 95, SHOW_HIDE_TOGGLE },   // 48, 49, 50
    { 54, 100, SHOW_HIDE_TOGGLE },  // 54, 55, 56
    { 57, 101, SHOW_HIDE_TOGGLE },  // 57, 58, 59
    { 64, 89, SHOW_HIDE_TOGGLE },   // 64, 65, 66
    { 80, 90, SHOW_HIDE_TOGGLE },   // 80, 81, 82
    { 112, 102, SHOW_HIDE_TOGGLE }, // 112, 113, 114
    { 144, 94, SHOW_HIDE_TOGGLE },  // status line item 1, screen line 0
    { 147, 93, SHOW_HIDE_TOGGLE },  // screen line 1
    { 150, 92, SHOW_HIDE_TOGGLE },  // screen line 2
    { 153, 91, SHOW_HIDE_TOGGLE },  // last screen line
    { 160, 94, HANDLE_ONLY },       // 160, 161, 162
    { 163, 93, HANDLE_ONLY },       // 163, 164, 165
    { 166, 92, HANDLE_ONLY },       // 166, 167, 168
    { 169, 91, HANDLE_ONLY },       // 169, 170, 171
    { 184, 84, SHOW_HIDE_TOGGLE },  // 184, 185, 186
    { 187, 85, SHOW_HIDE_TOGGLE },  // 187, 188, 189
    { 204, 88, SHOW_HIDE_TOGGLE },  // 204, 205, 206
    { 218, 103, SHOW_HIDE_TOGGLE }, // 218, 219, 220
    { 221, 86, SHOW_HIDE_TOGGLE },  // 221, 222, 223
    { 240, 99, SHOW_HIDE_TOGGLE },  // 240, 241, 242
    { 243, 98, SHOW_HIDE_TOGGLE },  // 243, 244, 245
    { 246, 97, SHOW_HIDE_TOGGLE },  // 246, 247, 248
    { 249, 96, SHOW_HIDE_TOGGLE },  // 249, 250, 251
    { 252, 87, SHOW_HIDE_TOGGLE },  // 252, 253, 254
};
const int IDS_PER_TEXT = 3;
enum VisibilityAction { ACTION_SHOW = 0, ACTION_HIDE = 1, ACTION_TOGGLE = 2 };

const VisibilityRow* visibilityRow(unsigned char commandId)
{
    for (const VisibilityRow& row : VISIBILITY_TEXTS) {
        if (commandId >= row.first_command_id && commandId < row.first_command_id + IDS_PER_TEXT)
            return &row;
    }
    return nullptr;
}
} // namespace

RS232Handler::Reply RS232Handler::fh_clear_screen(RS232Handler& self, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_clear_screen");
    self.m_pTextLines->clearScreen();
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_cursor(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_cursor");
    // Column and line as they stand: this one command counts lines from 0.
    self.m_pTextLines->setCursorPos(request.data_byte(0), request.data_byte(1));
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_line_color(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_line_color");
    // One byte: the cursor colours. Two: a 1-based line, then its colours.
    const bool cursorOnly = request.get_data_length() == 1;
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(static_cast<char>(request.data_byte(cursorOnly ? 0 : 1)), foreground, background);

    CTextLinesManager* screen = self.m_pTextLines;
    if (cursorOnly)
        screen->setCursorColor(foreground, background);
    else
        screen->setTextLineColor(screenLine(request.data_byte(0)), foreground, background);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_get_line(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_line");
    const unsigned char line = request.data_byte(0);
    const QString text = self.m_pTextLines->getTextLineStr(screenLine(line));

    // The line byte as received, then the text, no length and no terminator.
    QByteArray reply(1, static_cast<char>(line));
    reply += self.encode_text(text);
    return reply_with(reply);
}

RS232Handler::Reply RS232Handler::fh_set_line(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_line");
    const unsigned char line = screenLine(request.data_byte(0));
    const QByteArray& data = request.data();

    // A line number alone clears the line.
    if (data.size() > 1)
        self.m_pTextLines->setTextLineStr(line, self.decode_text(data.mid(1)));
    else
        self.m_pTextLines->clearTextLine(line);
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_text(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_text");
    if (request.data().isEmpty())
        return no_reply();
    self.m_pTextLines->writeText(self.decode_text(request.data()));
    return no_reply();
}

void RS232Handler::add_char_to_line(char byte)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::add_char_to_line");
    // Typed characters are written only while the locale codec is selected.
    if (!locale_codec_selected())
        return;
    const QString text = decode_text(QByteArray::fromRawData(&byte, 1));
    begin_bus_command();
    m_pTextLines->writeChar(text.isEmpty() ? QChar() : text.at(0));
}

RS232Handler::Reply RS232Handler::fh_start_temp_text(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_start_temp_text");
    // Byte 0 the 1-based first line, byte 1 the display duration, byte 2
    // unused, then the texts separated by zero bytes.
    const int firstLine = request.data_byte(0);
    const int duration = request.data_byte(1);
    const QList<QByteArray> pieces = request.data().mid(TEMP_TEXT_FIRST_TEXT_BYTE).split('\0');

    // Always five lines; missing texts are empty, further ones ignored. The
    // line is a plain int: a first line of 0 draws at line -1.
    for (int i = 0; i < TEMP_TEXT_COUNT; ++i) {
        const QString text = i < pieces.size() ? self.decode_text(pieces.at(i)) : QString();
        self.m_pVideoOverlay->draw_temp_text(text, TEMP_TEXT_FOREGROUND, TEMP_TEXT_BACKGROUND, TEMP_TEXT_COLUMN,
                                             firstLine - 1 + i, duration);
    }
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_overlay_visibility(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_overlay_visibility");
    CQuorendVideoOverlayInterface* overlay = self.m_pVideoOverlay;
    if (request.get_command_id() == CMD_SHOW_OVERLAY)
        overlay->show_overlay();
    else
        overlay->hide_overlay();
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_sys_visibility(RS232Handler& self, const RS232Message& request)
{
    // Logged at debug level, one below the other screen commands.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_sys_visibility");
    const VisibilityRow* row = visibilityRow(request.get_command_id());
    if (!row)
        return no_reply();

    const int handle = self.text_handle_by_id(row->text_id);
    if (handle == 0 || row->actions == HANDLE_ONLY)
        return no_reply();

    CQuorendVideoOverlayInterface* overlay = self.m_pVideoOverlay;
    switch (request.get_command_id() - row->first_command_id) {
    case ACTION_SHOW:
        overlay->show_text(handle);
        break;
    case ACTION_HIDE:
        overlay->hide_text(handle);
        break;
    case ACTION_TOGGLE:
        // A failed visibility query counts as hidden: the text is shown.
        if (waited(overlay->is_text_visible(handle)))
            overlay->hide_text(handle);
        else
            overlay->show_text(handle);
        break;
    }
    return no_reply();
}
