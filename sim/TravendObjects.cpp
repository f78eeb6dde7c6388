// SPDX-License-Identifier: BSD-2-Clause
#include "TravendObjects.h"

#include "SimulatorState.h"

DeviceStatusObject::DeviceStatusObject(SimulatorState& state, QObject* parent)
    : QObject(parent)
    , m_state(state)
{
}

int DeviceStatusObject::get_camera_module_type()
{
    m_state.calls.record("get_camera_module_type");
    return m_state.devices.camera_module_type;
}

int DeviceStatusObject::get_camera_pressure1()
{
    m_state.calls.record("get_camera_pressure1");
    return m_state.devices.camera_pressure1;
}

int DeviceStatusObject::get_crawler_pressure1()
{
    m_state.calls.record("get_crawler_pressure1");
    return m_state.devices.crawler_pressure1;
}

double DeviceStatusObject::get_crawler_roll()
{
    m_state.calls.record("get_crawler_roll");
    return m_state.devices.crawler_roll;
}

DeviceControlObject::DeviceControlObject(SimulatorState& state, QObject* parent)
    : QObject(parent)
    , m_state(state)
{
}

void DeviceControlObject::set_sensor_3d_cmd(uchar command, uchar parameter)
{
    m_state.calls.record("set_sensor_3d_cmd", { int(command), int(parameter) });
}

void DeviceControlObject::set_sensor_3d_start_position(double x, double y, double z)
{
    m_state.calls.record("set_sensor_3d_start_position", { x, y, z });
}

void DeviceControlObject::set_sensor_3d_start_orientation(double first, double second)
{
    m_state.calls.record("set_sensor_3d_start_orientation", { first, second });
}
