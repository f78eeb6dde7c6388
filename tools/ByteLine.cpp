// SPDX-License-Identifier: BSD-2-Clause
#include "ByteLine.h"

#include "NetworkLine.h"
#include "SerialPortLine.h"

std::unique_ptr<ByteLine> makeByteLine(const QString& device, int timeoutMs)
{
    if (device.startsWith(QLatin1String("rfc2217://")))
        return std::make_unique<NetworkLine>(NetworkLine::Rfc2217, device.mid(10), timeoutMs);
    if (device.startsWith(QLatin1String("tcp://")))
        return std::make_unique<NetworkLine>(NetworkLine::RawTcp, device.mid(6), timeoutMs);
    return std::make_unique<SerialPortLine>(device);
}
