// SPDX-License-Identifier: BSD-2-Clause
#ifndef INSTANCELOCK_H
#define INSTANCELOCK_H

#include <QByteArray>
#include <QString>

// One service per serial device: the lock file "tvx-DEVICE.lock" in a
// directory that every instance sees ("/tmp" on the controller), held with
// flock(2) while the service runs. The kernel lets go of the lock when its
// holder dies, so a file left by a killed instance or a power loss does not
// block the next start. The holder's pid is written into it for the people
// and tools that look.
class InstanceLock
{
public:
    enum class Outcome { Taken, HeldByAnother, NotCreatable };

    // The device as given on the command line: a path puts its slashes into
    // the file's name (whose directory then does not exist).
    InstanceLock(const QString& directory, const QString& device);
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // Neither failure touches a file that is there.
    Outcome take();
    // Removes the file while it is still held, so that no later start takes
    // a dying lock, then lets go. Nothing when the lock is not held.
    void release();

    const QString& path() const { return m_path; }

private:
    QString m_path;
    QByteArray m_encodedPath;
    int m_fd = -1;
};

#endif
