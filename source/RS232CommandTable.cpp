// SPDX-License-Identifier: BSD-2-Clause
// The dispatch table: every row of Commands.def binds its (command id, group
// id) to its handler, called with the row's family and argument. A handler
// that does not exist, or whose signature does not fit the row, fails the
// build; a pair bound twice or outside the groups fails it too.
#include "RS232Handler.h"

#include "handlers/DeviceValueCommands.h"
#include "handlers/Handlers.h"
#include "handlers/MeasurementCommands.h"
#include "handlers/MeterCounterCommands.h"
#include "handlers/StatusLineCommands.h"
#include "handlers/SystemCommands.h"
#include "handlers/TextScreenCommands.h"
#include "handlers/UnitTextCommands.h"
#include "handlers/VideoCounterCommands.h"

#include <type_traits>

template <typename Family> Family& RS232Handler::family()
{
    if constexpr (std::is_same_v<Family, SystemCommands>)
        return *m_system;
    else if constexpr (std::is_same_v<Family, TextScreenCommands>)
        return *m_textScreen;
    else if constexpr (std::is_same_v<Family, StatusLineCommands>)
        return *m_statusLine;
    else if constexpr (std::is_same_v<Family, UnitTextCommands>)
        return *m_unitTexts;
    else if constexpr (std::is_same_v<Family, MeterCounterCommands>)
        return *m_meterCounters;
    else if constexpr (std::is_same_v<Family, DeviceValueCommands>)
        return *m_deviceValues;
    else if constexpr (std::is_same_v<Family, VideoCounterCommands>)
        return *m_videoCounter;
    else
        return *m_measurement;
}

namespace {
struct Binding {
    int command;
    int group;
    Reply (*handler)(RS232Handler& registry, const RS232Message& request);
};

constexpr bool validPairs(const Binding* bindings, int count)
{
    for (int i = 0; i < count; ++i) {
        const Binding& one = bindings[i];
        if (one.group < 0 || one.group >= Protocol::GROUP_COUNT || one.command <= 0 || one.command > 255)
            return false;
        for (int j = i + 1; j < count; ++j) {
            if (bindings[j].command == one.command && bindings[j].group == one.group)
                return false;
        }
    }
    return true;
}
} // namespace

void RS232Handler::bind_command_table()
{
    static constexpr Binding BINDINGS[] = {
#define COMMAND(Family, handler, argument, command, group, ...)                                                        \
    { command, group, [](RS232Handler& registry, const RS232Message& request) {                                        \
         return handler(registry.family<Family>(), request, argument);                                                 \
     } },
#include "Commands.def"
#undef COMMAND
    };
    static_assert(validPairs(BINDINGS, int(sizeof BINDINGS / sizeof BINDINGS[0])),
                  "every (command id, group id) once, command ids 1 to 255, groups 0 to 2");

    for (const Binding& binding : BINDINGS)
        m_aHandlers[binding.group][binding.command] = binding.handler;
}
