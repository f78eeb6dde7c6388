// SPDX-License-Identifier: BSD-2-Clause
#ifndef HANDLERS_H
#define HANDLERS_H

// Every handler, declared from its rows in Commands.def:
//
//   Reply handler(Family& family, const RS232Message& request, Argument argument);
//
// A family's file defines its handlers with exactly this signature; one that
// does not match is a second function and the dispatch table fails to link.

#include "CommandArguments.h"
#include "Reply.h"

class RS232Message;
class SystemCommands;
class TextScreenCommands;
class StatusLineCommands;
class UnitTextCommands;
class MeterCounterCommands;
class DeviceValueCommands;
class VideoCounterCommands;
class MeasurementCommands;

#define COMMAND(Family, handler, argument, ...) Reply handler(Family&, const RS232Message&, decltype(argument));
#include "Commands.def"
#undef COMMAND

#endif
