// The command table: every (command id, group id) pair the PC application
// speaks, with its handler. The irregular ids are the protocol and stay as
// they are (meter counter 3 is read under 0x3B but set under 0x3C, 0x3E is a
// resolution query in group 1 and a unit position in group 2, ...).
#include "RS232Handler.h"

#define ROW(group, first, last, handler) { group, first, last, &RS232Handler::handler, #handler }

namespace {
const RS232Handler::TableRow TABLE[] = {
    // Group 0: actions and switches.
    ROW(0, 0x20, 0x21, fh_set_inclination_direction),
    ROW(0, 0x22, 0x23, fh_set_inclination_status),
    ROW(0, 0x24, 0x24, fh_init_inclination),
    ROW(0, 0x30, 0x32, fh_sys_visibility),
    ROW(0, 0x36, 0x3B, fh_sys_visibility),
    ROW(0, 0x40, 0x42, fh_sys_visibility),
    ROW(0, 0x50, 0x52, fh_sys_visibility),
    ROW(0, 0x70, 0x72, fh_sys_visibility),
    ROW(0, 0x73, 0x75, fh_cmd_videocounter),
    ROW(0, 0x80, 0x81, fh_overlay_visibility),
    ROW(0, 0x88, 0x88, fh_clear_screen),
    ROW(0, 0x90, 0x9B, fh_sta_visibility),
    ROW(0, 0xA0, 0xAB, fh_sta_bgcolor),
    ROW(0, 0xB8, 0xBD, fh_sys_visibility),
    ROW(0, 0xCC, 0xCE, fh_sys_visibility),
    ROW(0, 0xD4, 0xD6, fh_cmd_3d_measurement),
    ROW(0, 0xDA, 0xDF, fh_sys_visibility),
    ROW(0, 0xF0, 0xFE, fh_sys_visibility),

    // Group 1: queries; the handler replies.
    ROW(1, 0x01, 0x01, fh_get_codec),
    ROW(1, 0x11, 0x11, fh_get_device_data),
    ROW(1, 0x30, 0x30, fh_get_metercounter_1),
    ROW(1, 0x36, 0x36, fh_get_metercounter_2),
    ROW(1, 0x3B, 0x3B, fh_get_metercounter_3),
    ROW(1, 0x34, 0x34, fh_get_metercounter_wheel_length),
    ROW(1, 0x39, 0x39, fh_get_metercounter_wheel_length),
    ROW(1, 0x3D, 0x3D, fh_get_metercounter_wheel_length),
    ROW(1, 0x35, 0x35, fh_get_metercounter_resolution),
    ROW(1, 0x3A, 0x3A, fh_get_metercounter_resolution),
    ROW(1, 0x3E, 0x3E, fh_get_metercounter_resolution),
    ROW(1, 0x31, 0x31, fh_get_unit_state),
    ROW(1, 0x37, 0x37, fh_get_unit_state),
    ROW(1, 0x3C, 0x3C, fh_get_unit_state),
    ROW(1, 0x41, 0x41, fh_get_unit_state),
    ROW(1, 0x51, 0x51, fh_get_unit_state),
    ROW(1, 0x71, 0x71, fh_get_unit_state),
    ROW(1, 0xC1, 0xC1, fh_get_unit_state),
    ROW(1, 0xC3, 0xC3, fh_get_unit_state),
    ROW(1, 0xC5, 0xC5, fh_get_unit_state),
    ROW(1, 0xC7, 0xC7, fh_get_unit_state),
    ROW(1, 0xF1, 0xF1, fh_get_unit_state),
    ROW(1, 0xF4, 0xF4, fh_get_unit_state),
    ROW(1, 0xF7, 0xF8, fh_get_unit_state),
    ROW(1, 0xFA, 0xFA, fh_get_unit_state),
    ROW(1, 0xFC, 0xFC, fh_get_unit_state),
    ROW(1, 0x40, 0x40, fh_get_date_time),
    ROW(1, 0x50, 0x50, fh_get_date_time),
    ROW(1, 0x70, 0x70, fh_get_videocounter),
    ROW(1, 0x90, 0x90, fh_get_statusline),
    ROW(1, 0x92, 0x92, fh_get_statusline_state),
    ROW(1, 0x98, 0x98, fh_get_line),
    ROW(1, 0xB1, 0xB1, fh_get_adconverter),
    ROW(1, 0xC0, 0xC0, fh_get_device_value),
    ROW(1, 0xC2, 0xC2, fh_get_device_value),
    ROW(1, 0xC4, 0xC4, fh_get_device_value),
    ROW(1, 0xC6, 0xC6, fh_get_device_value),
    ROW(1, 0xF0, 0xF0, fh_get_device_value),
    ROW(1, 0xF3, 0xF3, fh_get_device_value),
    ROW(1, 0xF5, 0xF6, fh_get_device_value),
    ROW(1, 0xF9, 0xF9, fh_get_device_value),
    ROW(1, 0xFB, 0xFB, fh_get_device_value),
    ROW(1, 0xD4, 0xD4, fh_get_3d_measurement_data),
    ROW(1, 0xFE, 0xFE, fh_get_softwareversion),
    ROW(1, 0xFF, 0xFF, fh_get_softwareid),

    // Group 2: settings.
    ROW(2, 0x01, 0x01, fh_set_codec),
    ROW(2, 0x20, 0x20, fh_set_inclination_distance),
    ROW(2, 0x30, 0x30, fh_set_metercounter_1),
    ROW(2, 0x36, 0x36, fh_set_metercounter_2),
    ROW(2, 0x3C, 0x3C, fh_set_metercounter_3),
    ROW(2, 0x40, 0x40, fh_set_date_time),
    ROW(2, 0x50, 0x50, fh_set_date_time),
    ROW(2, 0x32, 0x32, fh_set_unit_position),
    ROW(2, 0x38, 0x38, fh_set_unit_position),
    ROW(2, 0x3E, 0x3E, fh_set_unit_position),
    ROW(2, 0x42, 0x42, fh_set_unit_position),
    ROW(2, 0x52, 0x52, fh_set_unit_position),
    ROW(2, 0x72, 0x72, fh_set_unit_position),
    ROW(2, 0xC0, 0xC0, fh_set_unit_position),
    ROW(2, 0xC2, 0xC2, fh_set_unit_position),
    ROW(2, 0xC4, 0xC4, fh_set_unit_position),
    ROW(2, 0xC6, 0xC6, fh_set_unit_position),
    ROW(2, 0xF0, 0xF0, fh_set_unit_position),
    ROW(2, 0xF3, 0xF3, fh_set_unit_position),
    ROW(2, 0xF6, 0xF6, fh_set_unit_position),
    ROW(2, 0xF9, 0xF9, fh_set_unit_position),
    ROW(2, 0xFB, 0xFC, fh_set_unit_position),
    ROW(2, 0x62, 0x62, fh_set_cursor),
    ROW(2, 0x70, 0x70, fh_set_videocounter),
    ROW(2, 0x90, 0x90, fh_set_statusline),
    ROW(2, 0x92, 0x92, fh_set_line_color),
    ROW(2, 0x95, 0x95, fh_set_text),
    ROW(2, 0x98, 0x98, fh_set_line),
    ROW(2, 0x99, 0x99, fh_set_statusline_color),
    ROW(2, 0xD4, 0xD4, fh_set_3d_measurement_start_position),
    ROW(2, 0xD5, 0xD5, fh_set_3d_measurement_start_orientation),
    ROW(2, 0xD7, 0xD7, fh_start_temp_text),
    ROW(2, 0xE5, 0xE5, fh_set_device_color),
};
}

const RS232Handler::TableRow* RS232Handler::command_table(int* rows)
{
    *rows = int(sizeof TABLE / sizeof TABLE[0]);
    return TABLE;
}
