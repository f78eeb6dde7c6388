// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QObject>

struct SimulatorState;

// /devicestatus of "local.vemo.travend": answers the values set through the
// control interface (0 until then).
class DeviceStatusObject : public QObject
{
    Q_OBJECT
public:
    DeviceStatusObject(SimulatorState& state, QObject* parent = nullptr);

    int get_camera_module_type();
    int get_camera_pressure1();
    int get_crawler_pressure1();
    double get_crawler_roll();

private:
    SimulatorState& m_state;
};

// /deviceevents of "local.vemo.travend": signals only, pushed on request of
// the control interface through the adaptor.
class DeviceEventsObject : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
};

// /devicecontrol of "local.vemo.travend": settings are only logged.
class DeviceControlObject : public QObject
{
    Q_OBJECT
public:
    DeviceControlObject(SimulatorState& state, QObject* parent = nullptr);

    void set_sensor_3d_cmd(uchar command, uchar parameter);
    void set_sensor_3d_start_position(double x, double y, double z);
    void set_sensor_3d_start_orientation(double first, double second);

private:
    SimulatorState& m_state;
};
