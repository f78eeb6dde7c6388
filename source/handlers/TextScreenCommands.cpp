// SPDX-License-Identifier: BSD-2-Clause
// Character screen commands: clear, place the cursor, write at the cursor,
// read and replace whole lines, colour a line or the cursor, temporary lines,
// the whole overlay on and off, and single fixed overlay texts on and off.
// Line numbers on the line are 1-based, except in the cursor command.
#include "TextScreenCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "FixedTexts.h"
#include "Handlers.h"
#include "LineLocale.h"
#include "OverlayColors.h"
#include "RS232Message.h"

#include <QList>

namespace {
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

} // namespace

Reply fh_clear_screen(TextScreenCommands& screen, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_clear_screen");
    screen.lines.clearScreen();
    return no_reply();
}

Reply fh_set_cursor(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_cursor");
    // Column and line as they stand: this one command counts lines from 0.
    screen.lines.setCursorPos(request.data_byte(0), request.data_byte(1));
    return no_reply();
}

Reply fh_set_line_color(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_line_color");
    // One byte: the cursor colours. Two: a 1-based line, then its colours.
    const bool cursorOnly = request.get_data_length() == 1;
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(static_cast<char>(request.data_byte(cursorOnly ? 0 : 1)), foreground, background);

    CTextLinesManager& lines = screen.lines;
    if (cursorOnly)
        lines.setCursorColor(foreground, background);
    else
        lines.setTextLineColor(screenLine(request.data_byte(0)), foreground, background);
    return no_reply();
}

Reply fh_get_line(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_line");
    const unsigned char line = request.data_byte(0);
    const QString text = screen.lines.getTextLineStr(screenLine(line));

    // The line byte as received, then the text, no length and no terminator.
    QByteArray reply(1, static_cast<char>(line));
    reply += screen.lineLocale.encode(text);
    return reply_with(reply);
}

Reply fh_set_line(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_line");
    const unsigned char line = screenLine(request.data_byte(0));
    const QByteArray& data = request.data();

    // A line number alone clears the line.
    if (data.size() > 1)
        screen.lines.setTextLineStr(line, screen.lineLocale.decode(data.mid(1)));
    else
        screen.lines.clearTextLine(line);
    return no_reply();
}

Reply fh_set_text(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_text");
    if (request.data().isEmpty())
        return no_reply();
    screen.lines.writeText(screen.lineLocale.decode(request.data()));
    return no_reply();
}

TextScreenCommands::TextScreenCommands(CQuorendVideoOverlayInterface& overlay, FixedTexts& fixedTexts,
                                       const LineLocale& lineLocale, BusCommand& bus)
    : overlay(overlay)
    , fixedTexts(fixedTexts)
    , lineLocale(lineLocale)
    , bus(bus)
    , lines(overlay, bus, fixedTexts)
{
}

void TextScreenCommands::add_char_to_line(char byte)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::add_char_to_line");
    // Typed characters are written only while the locale codec is selected.
    if (!lineLocale.localeCodecSelected())
        return;
    const QChar character = lineLocale.typedChar(static_cast<unsigned char>(byte));
    bus.begin();
    lines.writeChar(character);
}

Reply fh_start_temp_text(TextScreenCommands& screen, const RS232Message& request, NoArgument)
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
        const QString text = i < pieces.size() ? screen.lineLocale.decode(pieces.at(i)) : QString();
        screen.overlay.draw_temp_text(text, TEMP_TEXT_FOREGROUND, TEMP_TEXT_BACKGROUND, TEMP_TEXT_COLUMN,
                                      firstLine - 1 + i, duration);
    }
    return no_reply();
}

Reply fh_overlay_visibility(TextScreenCommands& screen, const RS232Message&, Switch action)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_overlay_visibility");
    if (action == Switch::Show)
        screen.overlay.show_overlay();
    else
        screen.overlay.hide_overlay();
    return no_reply();
}

Reply fh_sys_visibility(TextScreenCommands& screen, const RS232Message&, TextSwitch what)
{
    // Logged at debug level, one below the other screen commands.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_sys_visibility");
    screen.fixedTexts.switchText(what);
    return no_reply();
}
