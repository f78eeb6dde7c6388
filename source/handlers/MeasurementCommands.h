// SPDX-License-Identifier: BSD-2-Clause
#ifndef MEASUREMENTCOMMANDS_H
#define MEASUREMENTCOMMANDS_H

#include <QObject>

class BusCommand;
class CTravendDeviceControlInterface;
class CTravendDeviceEventsInterface;

// The 3D measurement sensor: driven through the device bus service, which
// pushes its data as a signal.
class MeasurementCommands : public QObject
{
    Q_OBJECT

public:
    MeasurementCommands(CTravendDeviceControlInterface& deviceControl, CTravendDeviceEventsInterface& deviceEvents,
                        BusCommand& bus);

    CTravendDeviceControlInterface& deviceControl;
    BusCommand& bus;

    double distanceCounter = 0.0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

private slots:
    void onSensor3DData(double dDistCtr, double dXValue, double dYValue, double dZValue);
};

#endif
