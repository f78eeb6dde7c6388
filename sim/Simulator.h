// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include "ControlObject.h"
#include "HolvardObjects.h"
#include "SimulatorState.h"
#include "TravendObjects.h"
#include "VideoOverlayObject.h"

#include <QDBusConnection>

// The three sibling services "local.vemo.holvard", "local.vemo.quorend" and
// "local.vemo.travend" plus the control service "local.talvox.simulator", all
// on one bus connection: talvox listens to signals by service name, and the
// bus delivers them only from the connection that owns that name.
class Simulator
{
public:
    explicit Simulator(const QDBusConnection& connection);

    // Registers the objects, then the sibling names, then the control name,
    // so the control name on the bus means the simulator is ready.
    bool start(QString& error);

    SimulatorState& state() { return m_state; }
    bool emit_sibling_signal(const QString& name, const QVariantList& args);
    // Releases or re-acquires one sibling name, as if that service stopped or started.
    void set_service_present(const QString& service, bool present);

private:
    QDBusConnection m_connection;
    SimulatorState m_state;
    MeterCounterObject m_meter_counter { m_state };
    SysLocaleObject m_sys_locale { m_state };
    VideoOverlayObject m_video_overlay { m_state };
    DeviceStatusObject m_device_status { m_state };
    DeviceEventsObject m_device_events;
    DeviceControlObject m_device_control { m_state };
    ControlObject m_control { *this };
    QList<QObject*> m_signal_emitters; // the sibling adaptors
};
