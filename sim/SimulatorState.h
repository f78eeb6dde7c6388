// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include "CallLog.h"
#include "OverlayState.h"

#include <QMap>

// Values of crawler and camera that the device status service answers.
struct DeviceValues {
    int camera_module_type = 0;
    int camera_pressure1 = 0;
    int crawler_pressure1 = 0;
    double crawler_roll = 0.0;
};

// The three meter counters of the system management service, in metres.
struct MeterCounters {
    double counter = 0.0;
    double sat = 0.0;
    double abs = 0.0;
};

// All state of the simulated sibling services, shared by their bus objects
// and the control object.
struct SimulatorState {
    CallLog calls;
    OverlayState overlay;
    DeviceValues devices;
    MeterCounters meters;
    QString locale = QStringLiteral("de_DE");
    // The last arguments of each sibling signal pushed through the control
    // interface (pitch, pan, tilt, temperatures, 3D data, ...), by signal name.
    QMap<QString, QVariantList> pushed;
};
