// SPDX-License-Identifier: BSD-2-Clause
#ifndef COMMANDARGUMENTS_H
#define COMMANDARGUMENTS_H

// What a command row tells its handler beyond the request bytes: which unit
// text, which counter, which value, which action. Several (command id, group
// id) pairs share one handler; the row says which of them arrived, so that no
// handler keeps a second table of command ids.

struct NoArgument {
};

enum class Switch { Show, Hide, Toggle };

// One of the overlay's fixed texts, switched by a command of its own.
struct TextSwitch {
    constexpr TextSwitch(int id, Switch what)
        : textId(id)
        , action(what)
    {
    }
    int textId;
    Switch action;
};

// One of the sixteen unit texts, by its overlay text id.
struct UnitTextId {
    constexpr explicit UnitTextId(int id)
        : textId(id)
    {
    }
    int textId;
};

enum class MeterCounter { Counter1 = 1, Counter2 = 2, Counter3 = 3 };

enum class ClockField { Date, Time };

enum class VideoCounterAction { Start, Stop, StartAgain };

// A command pair of the 3D sensor, as the device bus service takes it.
struct SensorCommand {
    constexpr SensorCommand(unsigned char sensorCommand, unsigned char sensorParameter)
        : command(sensorCommand)
        , parameter(sensorParameter)
    {
    }
    unsigned char command;
    unsigned char parameter;
};

enum class DeviceValue {
    CrawlerTemperature,
    CrawlerPressure1,
    CrawlerRoll,
    Unused,
    CameraPanPosition,
    CameraTiltPosition,
    ExtensionModuleObjectTemperature,
    CameraTemperature,
    CameraPressure1,
    Inclination
};

#endif
