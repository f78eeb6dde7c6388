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
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "TextPayloads.h"

namespace {
// Temporary lines: at column 0, in the manager's starting colours, whatever
// the cursor colours are now.
const int TEMP_TEXT_FOREGROUND = 1;
const int TEMP_TEXT_BACKGROUND = 13;
const int TEMP_TEXT_COLUMN = 0;

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
    const LineColourSetting setting = decodeLineColourSetting(request.data());
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(static_cast<char>(setting.colourCode), foreground, background);

    CTextLinesManager& lines = screen.lines;
    if (setting.atCursor)
        lines.setCursorColor(foreground, background);
    else
        lines.setTextLineColor(screenLine(static_cast<unsigned char>(setting.line)), foreground, background);
    return no_reply();
}

Reply fh_get_line(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_line");
    const unsigned char line = request.data_byte(0);
    const QString text = screen.lines.getTextLineStr(screenLine(line));
    return reply_with(encodeNumberedText({ line, text }, screen.lineLocale.charset()));
}

Reply fh_set_line(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_line");
    const NumberedText line = decodeNumberedText(request.data(), screen.lineLocale.charset());
    const unsigned char onScreen = screenLine(static_cast<unsigned char>(line.number));

    // A line number alone clears the line.
    if (request.get_data_length() > 1)
        screen.lines.setTextLineStr(onScreen, line.text);
    else
        screen.lines.clearTextLine(onScreen);
    return no_reply();
}

Reply fh_set_text(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_text");
    if (request.data().isEmpty())
        return no_reply();
    screen.lines.writeText(screen.lineLocale.charset().decode(request.data()));
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
    if (lineLocale.charset().selected() != TextCharset::Locale)
        return;
    const QChar character = lineLocale.charset().typedChar(static_cast<unsigned char>(byte));
    bus.begin();
    lines.writeChar(character);
}

Reply fh_start_temp_text(TextScreenCommands& screen, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_start_temp_text");
    const TempTexts temp = decodeTempTexts(request.data(), screen.lineLocale.charset());

    // Always five lines; missing texts are empty, further ones ignored. The
    // line is a plain int: a first line of 0 draws at line -1.
    for (int i = 0; i < TEMP_TEXT_LINES; ++i) {
        screen.overlay.draw_temp_text(temp.texts.value(i), TEMP_TEXT_FOREGROUND, TEMP_TEXT_BACKGROUND, TEMP_TEXT_COLUMN,
                                      temp.firstLine - 1 + i, temp.duration);
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
