// SPDX-License-Identifier: BSD-2-Clause
#ifndef SYSTEMCLOCK_H
#define SYSTEMCLOCK_H

#include <QDateTime>
#include <QString>

// The controller's clock as the clock commands see it: read directly, set by
// running the system's own programs (date, hwclock) through the shell. Start-up
// passes this one; a test passes one that records instead of setting anything.
class SystemClock
{
public:
    virtual ~SystemClock() = default;
    virtual QDateTime now() const;
    // The result is not looked at: a failure shows in the clock, not on the line.
    virtual void run(const QString& command);
};

#endif
