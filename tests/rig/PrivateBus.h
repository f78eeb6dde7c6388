// SPDX-License-Identifier: BSD-2-Clause
#ifndef PRIVATEBUS_H
#define PRIVATEBUS_H

#include "QtCompat.h"

#include <QString>

#include <memory>

// A child that dies with the test program, also on a crash or a time-out kill. The death signal
// survives exec, so it reaches talvox behind run-isolated too.
class ChildProcess : public QtCompat::SetupProcess
{
protected:
    void childSetup() override;
};

// A private, permissive "system" bus (sim-env/bus.conf.in) for the simulated siblings. It listens on an
// abstract socket, which has no file: a program in another mount namespace reaches it too. Needs no root.
// The daemon ends with this object.
class PrivateBus
{
public:
    ~PrivateBus();
    // Writes the config to `dir` (the daemon's log goes there too) and starts the daemon on the abstract
    // socket `socketName`; empty when it listens, otherwise what went wrong.
    QString start(const QString& dir, const QString& socketName);
    QString address() const { return m_address; }
    // The daemon dies: every connection to it breaks.
    bool kill();

private:
    std::unique_ptr<QProcess> m_daemon;
    QString m_address;
};

#endif
