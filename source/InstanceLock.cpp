// SPDX-License-Identifier: BSD-2-Clause
#include "InstanceLock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
bool sameFile(int fd, const QByteArray& path)
{
    struct stat held {
    };
    struct stat named {
    };
    return ::fstat(fd, &held) == 0 && ::stat(path.constData(), &named) == 0 && held.st_dev == named.st_dev
        && held.st_ino == named.st_ino;
}
} // namespace

InstanceLock::InstanceLock(const QString& directory, const QString& device)
    : m_path(directory + "/tvx-" + device + ".lock")
    , m_encodedPath(QFile::encodeName(m_path))
{
}

InstanceLock::~InstanceLock()
{
    release();
}

InstanceLock::Outcome InstanceLock::take()
{
    int fd;
    for (;;) {
        // A link planted in the shared /tmp is never followed.
        fd = ::open(m_encodedPath.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd < 0)
            return Outcome::NotCreatable;
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            ::close(fd);
            return error == EWOULDBLOCK ? Outcome::HeldByAnother : Outcome::NotCreatable;
        }
        // A holder removes the file before it lets go of the lock; whoever
        // got the lock on the removed file tries again on a new one.
        if (sameFile(fd, m_encodedPath))
            break;
        ::close(fd);
    }
    m_fd = fd;
    // Only for those who look: a pid left unwritten changes nothing else.
    if (::ftruncate(m_fd, 0) == 0) {
        const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
        [[maybe_unused]] const ssize_t written = ::write(m_fd, pid.constData(), size_t(pid.size()));
    }
    return Outcome::Taken;
}

void InstanceLock::release()
{
    if (m_fd < 0)
        return;
    ::unlink(m_encodedPath.constData());
    ::close(m_fd);
    m_fd = -1;
}
