// SPDX-License-Identifier: BSD-2-Clause
#include "SystemClock.h"

#include <cstdlib>

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

void SystemClock::run(const QString& command)
{
    const int status = std::system(command.toLatin1().constData());
    Q_UNUSED(status);
}
