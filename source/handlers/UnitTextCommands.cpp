// SPDX-License-Identifier: BSD-2-Clause
// Unit text commands: the sixteen unit texts are fixed overlay texts, each
// next to a value the PC can query (meter counters, date, time, video
// counter, device values). The PC reads a unit text's format, visibility and
// position, moves it and colours it; it never changes its content.
//
// The state query and the position command pick the unit text by their
// command id, the colour command by an index byte (UNIT_TEXTS).
#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CommandCatalogue.h"
#include "OverlayColors.h"
#include "RS232Handler.h"

#include <QVariantList>

namespace {
// A position list element as one byte; an element the list lacks (the
// overlay did not answer) reads as 0.
char positionByte(const QVariantList& position, int index)
{
    return index < position.size() ? char(position.at(index).toInt()) : char(0);
}
} // namespace

RS232Handler::Reply RS232Handler::fh_get_unit_state(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_unit_state");
    const UnitText* unit = unit_text_where(&UnitText::state, request.get_command_id());
    if (!unit)
        return no_reply();

    CQuorendVideoOverlayInterface* overlay = self.m_pVideoOverlay;
    const int handle = self.text_handle_by_id(unit->text_id);
    const int format = waited(overlay->get_text_format(handle));
    const QVariantList position = waited_list(overlay->get_text_position(handle));
    const bool visible = waited(overlay->is_text_visible(handle));

    QByteArray reply;
    reply.append(char(format & 0xFF));
    reply.append(char(visible ? 1 : 0));
    reply.append(positionByte(position, 0));
    reply.append(positionByte(position, 1));
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "sending");
    return reply_with(reply);
}

RS232Handler::Reply RS232Handler::fh_set_unit_position(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_unit_position");
    const UnitText* unit = unit_text_where(&UnitText::position, request.get_command_id());
    if (!unit)
        return no_reply();

    const int handle = self.text_handle_by_id(unit->text_id);
    self.m_pVideoOverlay->set_text_position(handle, request.data_byte(0), request.data_byte(1));
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_set_device_color(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_set_device_color");
    // Byte 1 the second colour, byte 2 the first, as in the status line.
    EOverlayTextColor foreground;
    EOverlayTextColor background;
    GetColorsFromChar(ColorCodeFromPair(request.data_byte(2), request.data_byte(1)), foreground, background);

    const UnitText* unit = unit_text_where(&UnitText::colour_index, request.data_byte(0));
    if (!unit)
        return no_reply();
    const int handle = self.text_handle_by_id(unit->text_id);
    self.m_pVideoOverlay->set_text_colors(handle, foreground, background);
    return no_reply();
}
