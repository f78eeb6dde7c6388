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
#include "CommandCatalogue.h"
#include "FixedTexts.h"
#include "Handlers.h"
#include "LineLocale.h"
#include "OverlayColors.h"
#include "RS232Message.h"

#include <QVariantList>

namespace {
// The text identifier of a status line item; false for any other item.
bool statusTextId(unsigned char item, int* textId)
{
    if (item < 1 || item > STATUS_LINE_ITEMS)
        return false;
    *textId = STATUS_LINE_TEXT_IDS[item - 1];
    return true;
}
} // namespace

Reply fh_get_statusline(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_statusline");
    const unsigned char item = request.data_byte(0);

    QByteArray reply;
    int textId = item;
    if (statusTextId(item, &textId))
        reply.append(char(item));

    const int handle = status.fixedTexts.handle(textId);
    const QString text = status.bus.waited(status.overlay.get_text_string(handle));
    reply.append(status.lineLocale.encode(text));
    return reply_with(reply);
}

Reply fh_set_statusline(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_statusline");
    const unsigned char item = request.data_byte(0);
    if (item == 0)
        return no_reply();

    int textId = item;
    statusTextId(item, &textId);
    const int handle = status.fixedTexts.handle(textId);
    const QString text = status.lineLocale.decode(request.data().mid(1));
    status.overlay.set_text_string(handle, text);
    return no_reply();
}

Reply fh_get_statusline_state(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_statusline_state");
    const unsigned char item = request.data_byte(0);
    int textId = 0;
    if (!statusTextId(item, &textId))
        return no_reply();

    const int handle = status.fixedTexts.handle(textId);
    const QVariantList colors = status.bus.waited_list(status.overlay.get_text_colors(handle));
    if (colors.size() != 2)
        return no_reply();
    const bool visible = status.bus.waited(status.overlay.is_text_visible(handle));

    QByteArray reply;
    reply.append(char(item));
    reply.append(ColorCodeFromPair(colors.at(0).toInt(), colors.at(1).toInt()));
    reply.append(char(visible ? 1 : 0));
    reply.append(char(0)); // reserved
    reply.append(char(0)); // reserved
    return reply_with(reply);
}

Reply fh_set_statusline_color(StatusLineCommands& status, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_statusline_color");
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    // Byte 1 the second colour, byte 2 the first.
    GetColorsFromChar(ColorCodeFromPair(request.data_byte(2), request.data_byte(1)), foreground, background);

    int textId = 0;
    if (!statusTextId(request.data_byte(0), &textId))
        return no_reply();
    status.overlay.set_text_colors(status.fixedTexts.handle(textId), foreground, background);
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
