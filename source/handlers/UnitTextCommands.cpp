// Unit text commands: the sixteen unit texts are fixed overlay texts, each
// next to a value the PC can query (meter counters, date, time, video
// counter, device values). The PC reads a unit text's format, visibility and
// position, moves it and colours it; it never changes its content.
//
// The state query and the position command pick the unit text by their
// command id, the colour command by an index byte. The ids are the PC
// application's protocol and irregular on purpose: mostly the position id is
// the state id minus or plus one, but unit 87 uses 0xFC for both, unit 101
// 0x3C and 0x3E, unit 103 0xF8 and 0xFB.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "OverlayColors.h"
#include "RS232Handler.h"

#include <QVariantList>

namespace {
struct UnitText {
    int text_id;
    unsigned char state_command_id; // group 1
    unsigned char position_command_id; // group 2
    unsigned char color_index; // data byte 0 of command 0xE5, group 2
};

const UnitText UNIT_TEXTS[] = {
    // text id  state  position  colour index
    { 84, 0xC1, 0xC0, 17 },
    { 85, 0xC3, 0xC2, 18 },
    { 86, 0xC5, 0xC4, 19 },
    { 87, 0xFC, 0xFC, 14 },
    { 88, 0xC7, 0xC6, 20 },
    { 89, 0x41, 0x42, 3 },
    { 90, 0x51, 0x52, 2 },
    { 95, 0x31, 0x32, 0 },
    { 96, 0xFA, 0xF9, 15 },
    { 97, 0xF7, 0xF6, 13 },
    { 98, 0xF4, 0xF3, 11 },
    { 99, 0xF1, 0xF0, 10 },
    { 100, 0x37, 0x38, 1 },
    { 101, 0x3C, 0x3E, 21 },
    { 102, 0x71, 0x72, 12 },
    { 103, 0xF8, 0xFB, 16 },
};
// Colour indices 4 to 9 and above 21 address no unit text.

// The unit text whose `key` column holds `value`; null if none does.
const UnitText* findUnitText(unsigned char UnitText::*key, unsigned char value)
{
    for (const UnitText& row : UNIT_TEXTS) {
        if (row.*key == value)
            return &row;
    }
    return nullptr;
}

// A position list element as one byte; an element the list lacks (the
// overlay did not answer) reads as 0.
char positionByte(const QVariantList& position, int index)
{
    return index < position.size() ? char(position.at(index).toInt()) : char(0);
}
}

RS232Handler::Reply RS232Handler::fh_get_unit_state(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_INFO, "RS232Handler::fh_get_unit_state");
    const UnitText* unit = findUnitText(&UnitText::state_command_id, request.get_command_id());
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
    const UnitText* unit = findUnitText(&UnitText::position_command_id, request.get_command_id());
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

    const UnitText* unit = findUnitText(&UnitText::color_index, request.data_byte(0));
    if (!unit)
        return no_reply();
    const int handle = self.text_handle_by_id(unit->text_id);
    self.m_pVideoOverlay->set_text_colors(handle, foreground, background);
    return no_reply();
}
