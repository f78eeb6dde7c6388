// SPDX-License-Identifier: BSD-2-Clause
// The command handlers under the names the command catalogue gives them
// (CommandCatalogue.cpp): the catalogue says which (command id, group id)
// each one serves, this table only binds the names to the functions.
#include "RS232Handler.h"

// clang-format off
#define HANDLER(name) { #name, &RS232Handler::name }
// clang-format on

namespace {
const RS232Handler::NamedHandler HANDLERS[] = {
    HANDLER(fh_clear_screen),
    HANDLER(fh_cmd_3d_measurement),
    HANDLER(fh_cmd_videocounter),
    HANDLER(fh_get_3d_measurement_data),
    HANDLER(fh_get_adconverter),
    HANDLER(fh_get_codec),
    HANDLER(fh_get_date_time),
    HANDLER(fh_get_device_data),
    HANDLER(fh_get_device_value),
    HANDLER(fh_get_line),
    HANDLER(fh_get_metercounter_1),
    HANDLER(fh_get_metercounter_2),
    HANDLER(fh_get_metercounter_3),
    HANDLER(fh_get_metercounter_resolution),
    HANDLER(fh_get_metercounter_wheel_length),
    HANDLER(fh_get_softwareid),
    HANDLER(fh_get_softwareversion),
    HANDLER(fh_get_statusline),
    HANDLER(fh_get_statusline_state),
    HANDLER(fh_get_unit_state),
    HANDLER(fh_get_videocounter),
    HANDLER(fh_init_inclination),
    HANDLER(fh_overlay_visibility),
    HANDLER(fh_set_3d_measurement_start_orientation),
    HANDLER(fh_set_3d_measurement_start_position),
    HANDLER(fh_set_codec),
    HANDLER(fh_set_cursor),
    HANDLER(fh_set_date_time),
    HANDLER(fh_set_device_color),
    HANDLER(fh_set_inclination_direction),
    HANDLER(fh_set_inclination_distance),
    HANDLER(fh_set_inclination_status),
    HANDLER(fh_set_line),
    HANDLER(fh_set_line_color),
    HANDLER(fh_set_metercounter_1),
    HANDLER(fh_set_metercounter_2),
    HANDLER(fh_set_metercounter_3),
    HANDLER(fh_set_statusline),
    HANDLER(fh_set_statusline_color),
    HANDLER(fh_set_text),
    HANDLER(fh_set_unit_position),
    HANDLER(fh_set_videocounter),
    HANDLER(fh_sta_bgcolor),
    HANDLER(fh_sta_visibility),
    HANDLER(fh_start_temp_text),
    HANDLER(fh_sys_visibility),
};
}

RS232Handler::Handler RS232Handler::handler_named(const char* name)
{
    for (const NamedHandler& handler : HANDLERS) {
        if (qstrcmp(handler.name, name) == 0)
            return handler.handler;
    }
    return nullptr;
}

int RS232Handler::handler_count()
{
    return int(sizeof HANDLERS / sizeof HANDLERS[0]);
}
