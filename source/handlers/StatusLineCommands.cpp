// SPDX-License-Identifier: BSD-2-Clause
// Status line commands: the four status line fields are fixed overlay texts
// that the PC addresses by an item byte 1 to 4. It writes and reads their
// text, sets their colours, reads colours and visibility, and shows or hides
// them.
//
// Unknown items are treated differently on purpose, as the PC application
// expects: reading passes any item other than 1 to 4 through as an overlay
// text identifier (item 0 reads text 0), writing ignores item 0 but passes
// items 5 to 255 through, and the colour and state commands ignore them.
#include "StatusLineCommands.h"

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

#include <QVariantList>

Reply fh_get_statusline(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_statusline");
    const unsigned char item = request.data_byte(0);
    const int handle = status.fixedTexts.handle(statusLineTextId(item));
    const QString text = status.bus.waited(status.overlay.get_text_string(handle));
    return reply_with(encodeStatusLineText(item, text, status.lineLocale.charset()));
}

Reply fh_set_statusline(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_statusline");
    const NumberedText item = decodeNumberedText(request.data(), status.lineLocale.charset());
    if (item.number == 0)
        return no_reply();
    status.overlay.set_text_string(status.fixedTexts.handle(statusLineTextId(item.number)), item.text);
    return no_reply();
}

Reply fh_get_statusline_state(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_statusline_state");
    const unsigned char item = request.data_byte(0);
    if (!isStatusLineItem(item))
        return no_reply();

    const int handle = status.fixedTexts.handle(statusLineTextId(item));
    const QVariantList colors = status.bus.waited_list(status.overlay.get_text_colors(handle));
    if (colors.size() != 2)
        return no_reply();
    const bool visible = status.bus.waited(status.overlay.is_text_visible(handle));

    return reply_with(
        encodeStatusLineState({ item, ColorCodeFromPair(colors.at(0).toInt(), colors.at(1).toInt()), visible }));
}

Reply fh_set_statusline_color(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_statusline_color");
    const ColourSetting setting = decodeColourSetting(request.data());
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(setting.colourCode(), foreground, background);
    if (!isStatusLineItem(setting.target))
        return no_reply();
    status.overlay.set_text_colors(status.fixedTexts.handle(statusLineTextId(setting.target)), foreground, background);
    return no_reply();
}

Reply fh_sta_visibility(StatusLineCommands& status, const RS232Message&, TextSwitch what)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_sta_visibility");
    // Switched like every other fixed overlay text, and logged as such too.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_sys_visibility");
    status.fixedTexts.switchText(what);
    return no_reply();
}

Reply fh_sta_bgcolor(StatusLineCommands&, const RS232Message&, NoArgument)
{
    // The PC application has these ids, but the overlay never got a separate
    // background colour for the status line: acknowledged and dropped.
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_sta_bgcolor : not implemented");
    return no_reply();
}
