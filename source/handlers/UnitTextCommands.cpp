// SPDX-License-Identifier: BSD-2-Clause
// Unit text commands: the sixteen unit texts are fixed overlay texts, each
// next to a value the PC can query (meter counters, date, time, video
// counter, device values). The PC reads a unit text's format, visibility and
// position, moves it and colours it; it never changes its content.
//
// The state query and the position command name the unit text by their
// command id (the row's argument), the colour command by an index byte.
#include "UnitTextCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CommandCatalogue.h"
#include "FixedTexts.h"
#include "Handlers.h"
#include "OverlayColors.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"

#include <QVariantList>

namespace {
// A position list element; an element the list lacks (the overlay did not
// answer) reads as 0.
int positionValue(const QVariantList& position, int index)
{
    return index < position.size() ? position.at(index).toInt() : 0;
}
} // namespace

Reply fh_get_unit_state(UnitTextCommands& units, const RS232Message&, UnitTextId unit)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_unit_state");
    CQuorendVideoOverlayInterface& overlay = units.overlay;
    const int handle = units.fixedTexts.handle(unit.textId);
    const int format = units.bus.waited(overlay.get_text_format(handle));
    const QVariantList position = units.bus.waited_list(overlay.get_text_position(handle));
    const bool visible = units.bus.waited(overlay.is_text_visible(handle));

    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "sending");
    return reply_with(encodeUnitState({ format, visible, positionValue(position, 0), positionValue(position, 1) }));
}

Reply fh_set_unit_position(UnitTextCommands& units, const RS232Message& request, UnitTextId unit)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_unit_position");
    const int handle = units.fixedTexts.handle(unit.textId);
    units.overlay.set_text_position(handle, request.data_byte(0), request.data_byte(1));
    return no_reply();
}

Reply fh_set_device_color(UnitTextCommands& units, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_device_color");
    const ColourSetting setting = decodeColourSetting(request.data());
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(setting.colourCode(), foreground, background);

    const int textId = unitTextOfColourIndex(setting.target);
    if (textId == 0)
        return no_reply();
    units.overlay.set_text_colors(units.fixedTexts.handle(textId), foreground, background);
    return no_reply();
}
