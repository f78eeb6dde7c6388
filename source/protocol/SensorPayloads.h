// SPDX-License-Identifier: BSD-2-Clause
#ifndef SENSORPAYLOADS_H
#define SENSORPAYLOADS_H

#include <QByteArray>

// The payloads of the crawler's and camera's devices and of the 3D sensor.
// Floats and doubles travel as RS232Message encodes them.

// "device data" asks by a pair of selector bytes; only (1, 1), the camera
// module type, is known.
struct DeviceSelector {
    int first = 0, second = 0;

    bool operator==(const DeviceSelector& other) const { return first == other.first && second == other.second; }
};
constexpr DeviceSelector CAMERA_MODULE_TYPE = { 1, 1 };
QByteArray encodeDeviceSelector(const DeviceSelector& selector);
DeviceSelector decodeDeviceSelector(const QByteArray& request);

// Its reply: the selector pair as asked, a status, the value (0 when the
// selector is unknown).
const int DEVICE_DATA_ANSWERED = 0;
const int DEVICE_DATA_UNKNOWN_SELECTOR = 1;
struct DeviceData {
    DeviceSelector selector;
    int status = DEVICE_DATA_UNKNOWN_SELECTOR, value = 0;
};
QByteArray encodeDeviceData(const DeviceData& data);
DeviceData decodeDeviceData(const QByteArray& reply);

// The reply to "adconverter get": the channel as asked, then its value.
struct ConverterReading {
    int channel = 0;
    float value = 0.0f;
};
QByteArray encodeConverterReading(const ConverterReading& reading);
ConverterReading decodeConverterReading(const QByteArray& reply);

// The 3D sensor's data as the query answers them: doubles x, y, z, then the
// distance counter as a float.
struct Measurement3D {
    double x = 0.0, y = 0.0, z = 0.0;
    float distanceCounter = 0.0f;
};
QByteArray encodeMeasurement3D(const Measurement3D& measurement);
Measurement3D decodeMeasurement3D(const QByteArray& reply);

// "3d position": the start position as three doubles.
struct Position3D {
    double x = 0.0, y = 0.0, z = 0.0;
};
QByteArray encodeStartPosition(const Position3D& position);
Position3D decodeStartPosition(const QByteArray& request);

// "3d orientation": the start orientation as two floats (the sensor service
// takes doubles).
struct Orientation3D {
    float first = 0.0f, second = 0.0f;
};
QByteArray encodeStartOrientation(const Orientation3D& orientation);
Orientation3D decodeStartOrientation(const QByteArray& request);

#endif
