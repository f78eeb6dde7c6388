// SPDX-License-Identifier: BSD-2-Clause
// The catalogue of readable command names. Most commands are single rows;
// the families with one command id per item (unit texts, status line items,
// meter counters, device values) are small tables expanded here, because
// their ids are irregular on purpose and are best read side by side.
#include "CommandCatalogue.h"

const UnitText UNIT_TEXTS[UNIT_TEXT_COUNT] = {
    // text id  show  state  position  colour index
    { 84, 0xB8, 0xC1, 0xC0, 17 },  { 85, 0xBB, 0xC3, 0xC2, 18 },  { 86, 0xDD, 0xC5, 0xC4, 19 },
    { 87, 0xFC, 0xFC, 0xFC, 14 },  { 88, 0xCC, 0xC7, 0xC6, 20 },  { 89, 0x40, 0x41, 0x42, 3 },
    { 90, 0x50, 0x51, 0x52, 2 },   { 95, 0x30, 0x31, 0x32, 0 },   { 96, 0xF9, 0xFA, 0xF9, 15 },
    { 97, 0xF6, 0xF7, 0xF6, 13 },  { 98, 0xF3, 0xF4, 0xF3, 11 },  { 99, 0xF0, 0xF1, 0xF0, 10 },
    { 100, 0x36, 0x37, 0x38, 1 },  { 101, 0x39, 0x3C, 0x3E, 21 }, { 102, 0x70, 0x71, 0x72, 12 },
    { 103, 0xDA, 0xF8, 0xFB, 16 },
};

const int STATUS_LINE_TEXT_IDS[STATUS_LINE_ITEMS] = { 94, 93, 92, 91 };

namespace {

using R = RequestKind;
using A = ReplyKind;
using F = CommandFamily;

struct Single {
    CommandFamily family;
    const char* handler;
    const char* name;
    int command;
    int group;
    const char* arguments;
    RequestKind request;
    ReplyKind reply;
    const char* subject;
    const char* effect;
};

const Single SINGLES[] = {
    // Group 0: actions and switches.
    { F::Measurement, "fh_set_inclination_direction", "inclination up", 0x20, 0, "", R::None, A::Ack, "",
      "Inclination recording counts the meter counter up." },
    { F::Measurement, "fh_set_inclination_direction", "inclination down", 0x21, 0, "", R::None, A::Ack, "",
      "Inclination recording counts the meter counter down." },
    { F::Measurement, "fh_set_inclination_status", "inclination start", 0x22, 0, "", R::None, A::Ack, "",
      "Starts inclination recording at the current meter counter." },
    { F::Measurement, "fh_set_inclination_status", "inclination stop", 0x23, 0, "", R::None, A::Ack, "",
      "Stops inclination recording." },
    { F::Measurement, "fh_init_inclination", "inclination reset", 0x24, 0, "", R::None, A::Ack, "",
      "Stops inclination recording, direction down, inclination 0, start mark at the current meter counter." },
    { F::VideoCounter, "fh_cmd_videocounter", "videocounter start", 0x73, 0, "", R::None, A::Ack, "",
      "Starts the video counter on the overlay." },
    { F::VideoCounter, "fh_cmd_videocounter", "videocounter stop", 0x74, 0, "", R::None, A::Ack, "",
      "Stops the video counter." },
    { F::VideoCounter, "fh_cmd_videocounter", "videocounter start-again", 0x75, 0, "", R::None, A::Ack, "",
      "A second start command: asks whether the counter runs, ignores the answer and starts it." },
    { F::TextScreen, "fh_overlay_visibility", "overlay show", 0x80, 0, "", R::None, A::Ack, "",
      "Shows the whole overlay." },
    { F::TextScreen, "fh_overlay_visibility", "overlay hide", 0x81, 0, "", R::None, A::Ack, "",
      "Hides the whole overlay." },
    { F::TextScreen, "fh_clear_screen", "screen clear", 0x88, 0, "", R::None, A::Ack, "",
      "Clears the character screen; the cursor stays where it is." },
    { F::Measurement, "fh_cmd_3d_measurement", "3d command 1", 0xD4, 0, "", R::None, A::Ack, "",
      "Sends the 3D sensor command (1, 1)." },
    { F::Measurement, "fh_cmd_3d_measurement", "3d command 2", 0xD5, 0, "", R::None, A::Ack, "",
      "Sends the 3D sensor command (1, 2)." },
    { F::Measurement, "fh_cmd_3d_measurement", "3d command 0", 0xD6, 0, "", R::None, A::Ack, "",
      "Sends the 3D sensor command (1, 0)." },

    // Group 1: queries.
    { F::System, "fh_get_codec", "codec get", 0x01, 1, "", R::None, A::Codec, "character set",
      "Reads the character set of texts on the line." },
    { F::DeviceValue, "fh_get_device_data", "device data", 0x11, 1, "[<selector> <selector>]", R::Selector,
      A::DeviceData, "device data", "Reads a device item; only the selector pair 1 1 (camera module type) is known." },
    { F::System, "fh_get_date_time", "date get", 0x40, 1, "", R::None, A::Date, "date",
      "Reads the controller's date." },
    { F::System, "fh_get_date_time", "time get", 0x50, 1, "", R::None, A::Time, "time",
      "Reads the controller's time." },
    { F::VideoCounter, "fh_get_videocounter", "videocounter get", 0x70, 1, "", R::None, A::VideoCounter,
      "video counter", "Reads the video counter from the overlay." },
    { F::StatusLine, "fh_get_statusline", "statusline get", 0x90, 1, "<item 1-4>", R::Byte, A::StatusLineText,
      "status line", "Reads the text of a status line item (other values are taken as overlay text ids)." },
    { F::StatusLine, "fh_get_statusline_state", "statusline state", 0x92, 1, "<item 1-4>", R::Byte, A::StatusLineState,
      "status line", "Reads colours and visibility of a status line item; no reply for other items." },
    { F::TextScreen, "fh_get_line", "line get", 0x98, 1, "<line>", R::Byte, A::LineText, "line",
      "Reads a line of the character screen (1-based)." },
    { F::DeviceValue, "fh_get_adconverter", "adconverter get", 0xB1, 1, "<channel>", R::Byte, A::Converter, "converter",
      "Reads an analogue converter channel; channel 0 is the inclination, the others read 0." },
    { F::Measurement, "fh_get_3d_measurement_data", "3d data", 0xD4, 1, "", R::None, A::Measurement3D, "3D data",
      "Reads the latest 3D sensor data." },
    { F::System, "fh_get_softwareversion", "version", 0xFE, 1, "", R::None, A::Text, "software version",
      "Reads the software version text." },
    { F::System, "fh_get_softwareid", "id", 0xFF, 1, "", R::None, A::Text, "software id",
      "Reads the software identity text." },

    // Group 2: settings.
    { F::System, "fh_set_codec", "codec set", 0x01, 2, "locale|utf8|utf16", R::Codec, A::Ack, "",
      "Selects the character set of texts on the line (talvox-pc follows it in a script)." },
    { F::Measurement, "fh_set_inclination_distance", "inclination distance", 0x20, 2, "<number>", R::Integer, A::Ack,
      "", "Sets the inclination distance (the controller reads the upper 16 bits only, so it stores 0)." },
    { F::System, "fh_set_date_time", "date set", 0x40, 2, "<YYYY-MM-DD>", R::Date, A::Ack, "",
      "Sets the controller's date and its hardware clock." },
    { F::System, "fh_set_date_time", "time set", 0x50, 2, "<HH:MM:SS>", R::Time, A::Ack, "",
      "Sets the controller's time and its hardware clock." },
    { F::TextScreen, "fh_set_cursor", "cursor set", 0x62, 2, "<column> <line>", R::Cursor, A::Ack, "",
      "Moves the cursor of the character screen (both 0-based)." },
    { F::VideoCounter, "fh_set_videocounter", "videocounter set", 0x70, 2, "<hours> <minutes> <seconds> <frames>",
      R::VideoCounter, A::Ack, "", "Sets the video counter." },
    { F::StatusLine, "fh_set_statusline", "statusline set", 0x90, 2, "<item 1-4> [<text>]", R::ByteText, A::Ack, "",
      "Writes the text of a status line item (items 5-255 are taken as overlay text ids, 0 does nothing)." },
    { F::TextScreen, "fh_set_line_color", "line color", 0x92, 2, "<line>|cursor <foreground> <background>",
      R::LineColour, A::Ack, "",
      "Colours a line of the character screen (1-based), or with \"cursor\" the cursor's line and all later writing." },
    { F::TextScreen, "fh_set_text", "screen write", 0x95, 2, "<text>", R::Text, A::Ack, "",
      "Writes a text at the cursor and moves the cursor on." },
    { F::TextScreen, "fh_set_line", "line set", 0x98, 2, "<line> [<text>]", R::ByteText, A::Ack, "",
      "Replaces a line of the character screen (1-based); without text it clears the line." },
    { F::StatusLine, "fh_set_statusline_color", "statusline color", 0x99, 2, "<item 1-4> <foreground> <background>",
      R::ItemColours, A::Ack, "", "Sets the colours of a status line item." },
    { F::Measurement, "fh_set_3d_measurement_start_position", "3d position", 0xD4, 2, "<x> <y> <z>", R::StartPosition,
      A::Ack, "", "Sets the 3D sensor's start position." },
    { F::Measurement, "fh_set_3d_measurement_start_orientation", "3d orientation", 0xD5, 2, "<a> <b>",
      R::StartOrientation, A::Ack, "", "Sets the 3D sensor's start orientation." },
    { F::TextScreen, "fh_start_temp_text", "screen temp", 0xD7, 2, "<first line> <duration> <text>...", R::TempText,
      A::Ack, "", "Shows up to five temporary lines (colours 1 on 13) that the overlay removes after the duration." },
    { F::UnitText, "fh_set_device_color", "text color", 0xE5, 2, "<unit text id> <foreground> <background>",
      R::UnitColour, A::Ack, "", "Sets the colours of a unit text." },
};

// Show, hide and toggle of status line item n are 0x90 + 3 (n - 1) and the
// two after it.
const int STATUS_LINE_SWITCH_BASE = 0x90;
// Twelve background colour switches, 0xA0 to 0xAB, accepted but not
// implemented by the controller.
const int STATUS_BGCOLOR_BASE = 0xA0;
const int STATUS_BGCOLOR_COUNT = 12;

// The three meter counters; counter 3 is read under 0x3B but set under 0x3C.
struct MeterCounter {
    int number;
    int get;
    int set;
    int wheelLength;
    int resolution;
};

const MeterCounter METER_COUNTERS[] = {
    { 1, 0x30, 0x30, 0x34, 0x35 },
    { 2, 0x36, 0x36, 0x39, 0x3A },
    { 3, 0x3B, 0x3C, 0x3D, 0x3E },
};

struct DeviceValue {
    int command;
    const char* subject;
};

const DeviceValue DEVICE_VALUES[] = {
    { 0xC0, "crawler temperature" },
    { 0xC2, "crawler pressure 1" },
    { 0xC4, "crawler roll" },
    { 0xC6, "no value (always 0)" },
    { 0xF0, "camera pan position" },
    { 0xF3, "camera tilt position" },
    { 0xF5, "extension module object temperature" },
    { 0xF6, "camera temperature" },
    { 0xF9, "camera pressure 1" },
    { 0xFB, "inclination (gradient in percent)" },
};

QString hex(int value)
{
    return "0x" + QString::number(value, 16).toUpper().rightJustified(2, QLatin1Char('0'));
}

void addUnitTexts(QVector<CatalogueEntry>& entries)
{
    static const char* const ACTIONS[] = { "show", "hide", "toggle" };
    static const char* const EFFECTS[] = { "Shows", "Hides", "Shows or hides (toggles)" };
    for (const UnitText& unit : UNIT_TEXTS) {
        const QString id = QString::number(unit.text_id);
        for (int action = 0; action < 3; ++action) {
            entries.append({ QStringLiteral("text %1 %2").arg(ACTIONS[action], id), unit.show + action, 0, QString(),
                             R::None, A::Ack, QString(), QStringLiteral("%1 unit text %2.").arg(EFFECTS[action], id),
                             F::UnitText, "fh_sys_visibility" });
        }
        entries.append({ "text state " + id, unit.state, 1, QString(), R::None, A::UnitState, "unit text " + id,
                         "Reads format, visibility and position of unit text " + id + ".", F::UnitText,
                         "fh_get_unit_state" });
        entries.append({ "text position " + id, unit.position, 2, "<x> <y>", R::Position, A::Ack, QString(),
                         "Moves unit text " + id + ".", F::UnitText, "fh_set_unit_position" });
    }
}

void addStatusLineSwitches(QVector<CatalogueEntry>& entries)
{
    static const char* const ACTIONS[] = { "show", "hide", "toggle" };
    static const char* const EFFECTS[] = { "Shows", "Hides", "Shows or hides (toggles)" };
    for (int item = 1; item <= 4; ++item) {
        const QString text = QString::number(STATUS_LINE_TEXT_IDS[item - 1]);
        for (int action = 0; action < 3; ++action) {
            entries.append(
                { QStringLiteral("statusline %1 %2").arg(ACTIONS[action]).arg(item),
                  STATUS_LINE_SWITCH_BASE + 3 * (item - 1) + action, 0, QString(), R::None, A::Ack, QString(),
                  QStringLiteral("%1 status line item %2 (overlay text %3).").arg(EFFECTS[action]).arg(item).arg(text),
                  F::StatusLine, "fh_sta_visibility" });
        }
    }
    for (int n = 1; n <= STATUS_BGCOLOR_COUNT; ++n) {
        entries.append({ QStringLiteral("statusline bgcolor %1").arg(n), STATUS_BGCOLOR_BASE + n - 1, 0, QString(),
                         R::None, A::Ack, QString(),
                         "Not implemented by the controller: acknowledged, nothing changes.", F::StatusLine,
                         "fh_sta_bgcolor" });
    }
}

void addMeterCounters(QVector<CatalogueEntry>& entries)
{
    static const char* const GET[] = { "fh_get_metercounter_1", "fh_get_metercounter_2", "fh_get_metercounter_3" };
    static const char* const SET[] = { "fh_set_metercounter_1", "fh_set_metercounter_2", "fh_set_metercounter_3" };
    for (const MeterCounter& counter : METER_COUNTERS) {
        const QString n = QString::number(counter.number);
        entries.append({ "metercounter get " + n, counter.get, 1, QString(), R::None, A::Metres, "meter counter " + n,
                         "Reads meter counter " + n + " in metres (feet under a US locale).", F::MeterCounter,
                         GET[counter.number - 1] });
        entries.append({ "metercounter set " + n, counter.set, 2, "<value>", R::Float, A::Ack, QString(),
                         "Sets meter counter " + n + " in metres (feet under a US locale).", F::MeterCounter,
                         SET[counter.number - 1] });
        entries.append({ "metercounter wheel " + n, counter.wheelLength, 1, QString(), R::None, A::Float,
                         "wheel length", "Reads the wheel length: always 200, never converted to feet.",
                         F::MeterCounter, "fh_get_metercounter_wheel_length" });
        entries.append({ "metercounter resolution " + n, counter.resolution, 1, QString(), R::None, A::Integer,
                         "resolution",
                         "Reads the resolution: the constant 20 in the two-byte integer form, which reads as 0.",
                         F::MeterCounter, "fh_get_metercounter_resolution" });
    }
}

void addDeviceValues(QVector<CatalogueEntry>& entries)
{
    for (const DeviceValue& value : DEVICE_VALUES) {
        entries.append({ "device value " + hex(value.command), value.command, 1, QString(), R::None, A::Float,
                         value.subject, QStringLiteral("Reads the %1.").arg(value.subject), F::DeviceValue,
                         "fh_get_device_value" });
    }
}

QVector<CatalogueEntry> build()
{
    QVector<CatalogueEntry> entries;
    for (const Single& single : SINGLES) {
        entries.append({ single.name, single.command, single.group, single.arguments, single.request, single.reply,
                         single.subject, single.effect, single.family, single.handler });
    }
    addUnitTexts(entries);
    addStatusLineSwitches(entries);
    addMeterCounters(entries);
    addDeviceValues(entries);
    return entries;
}

} // namespace

const QVector<CatalogueEntry>& catalogue()
{
    static const QVector<CatalogueEntry> entries = build();
    return entries;
}

const UnitText* unit_text_where(int UnitText::*column, int value)
{
    for (const UnitText& unit : UNIT_TEXTS) {
        if (unit.*column == value)
            return &unit;
    }
    return nullptr;
}

const CatalogueEntry* findEntry(const QStringList& words, int* consumed)
{
    const CatalogueEntry* best = nullptr;
    int bestLength = 0;
    for (const CatalogueEntry& entry : catalogue()) {
        const QStringList name = entry.name.split(QLatin1Char(' '));
        if (name.size() <= bestLength || name.size() > words.size())
            continue;
        bool match = true;
        for (int i = 0; i < name.size() && match; ++i)
            match = name[i].compare(words[i], Qt::CaseInsensitive) == 0;
        if (match) {
            best = &entry;
            bestLength = name.size();
        }
    }
    *consumed = bestLength;
    return best;
}

const CatalogueEntry* findEntry(int command, int group)
{
    for (const CatalogueEntry& entry : catalogue()) {
        if (entry.command == command && entry.group == group)
            return &entry;
    }
    return nullptr;
}

int unitColourIndex(int textId)
{
    const UnitText* unit = unit_text_where(&UnitText::text_id, textId);
    return unit ? unit->colour_index : -1;
}
