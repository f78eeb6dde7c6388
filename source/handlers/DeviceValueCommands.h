// SPDX-License-Identifier: BSD-2-Clause
#ifndef DEVICEVALUECOMMANDS_H
#define DEVICEVALUECOMMANDS_H

#include <QObject>

class BusCommand;
class CTravendDeviceEventsInterface;
class CTravendDeviceStatusInterface;

// Device data and values of crawler and camera, and the inclination derived
// from the crawler's pitch. Most values are pushed by the device bus service
// and kept here; pressures, roll and the camera module type are asked for.
class DeviceValueCommands : public QObject
{
    Q_OBJECT

public:
    DeviceValueCommands(CTravendDeviceStatusInterface& deviceStatus, CTravendDeviceEventsInterface& deviceEvents,
                        BusCommand& bus);

    CTravendDeviceStatusInterface& deviceStatus;
    BusCommand& bus;

    // Gradient in percent; the inclination commands reset it.
    float inclination = 0.0f;
    float cameraPanPosition = 0.0f;
    float cameraTiltPosition = 0.0f;
    float extensionModuleObjectTemperature = 0.0f;
    qint32 cameraTemperature = 0;
    qint32 crawlerTemperature = 0;

private slots:
    void onCrawlerPitch(double dPitch);
    void onCameraPanPos(int iPanPos);
    void onCameraTiltPos(int iTiltPos);
    void onExtModuleObjectTemperature(double dTemperature);
    void onCameraTemperature(int iTemperature);
    void onCrawlerTemperature(int iTemperature);
};

#endif
