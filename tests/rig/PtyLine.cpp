#include "PtyLine.h"

#include <QElapsedTimer>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

PtyLine::~PtyLine()
{
    hangUp();
}

bool PtyLine::open(QString* error)
{
    termios raw {};
    cfmakeraw(&raw);
    char name[128] = {};
    if (openpty(&m_master, &m_slave, name, &raw, nullptr) != 0) {
        *error = QString("openpty failed: %1").arg(std::strerror(errno));
        return false;
    }
    // The master is raw too, and neither end leaks into the processes
    // started later. The slave stays open here so that bytes written before
    // the service opens it are kept, not dropped with a last close.
    tcsetattr(m_master, TCSANOW, &raw);
    fcntl(m_master, F_SETFD, FD_CLOEXEC);
    fcntl(m_slave, F_SETFD, FD_CLOEXEC);
    fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
    m_device = QString::fromLocal8Bit(name).remove(QStringLiteral("/dev/"));
    return true;
}

void PtyLine::write(const QByteArray& bytes)
{
    const char* data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0 && m_master >= 0) {
        const ssize_t written = ::write(m_master, data, size_t(left));
        if (written > 0) {
            data += written;
            left -= written;
        } else if (written < 0 && errno == EAGAIN) {
            pollfd out { m_master, POLLOUT, 0 };
            if (poll(&out, 1, 1000) <= 0)
                return;
        } else if (errno != EINTR) {
            return;
        }
    }
}

bool PtyLine::waitReadable(int timeoutMs)
{
    if (m_master < 0)
        return false;
    pollfd in { m_master, POLLIN, 0 };
    int ready;
    do {
        ready = poll(&in, 1, timeoutMs < 0 ? 0 : timeoutMs);
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && (in.revents & POLLIN);
}

QByteArray PtyLine::read(int n, int timeoutMs)
{
    QByteArray bytes;
    QElapsedTimer timer;
    timer.start();
    while (bytes.size() < n) {
        if (!waitReadable(timeoutMs - int(timer.elapsed())))
            break;
        char buffer[512];
        const ssize_t got = ::read(m_master, buffer, std::min<size_t>(sizeof buffer, size_t(n - bytes.size())));
        if (got > 0)
            bytes.append(buffer, int(got));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            break;
    }
    return bytes;
}

QByteArray PtyLine::readAll(int quietMs)
{
    QByteArray bytes;
    while (waitReadable(quietMs)) {
        char buffer[512];
        const ssize_t got = ::read(m_master, buffer, sizeof buffer);
        if (got > 0)
            bytes.append(buffer, int(got));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            break;
    }
    return bytes;
}

void PtyLine::hangUp()
{
    if (m_master >= 0)
        ::close(m_master);
    if (m_slave >= 0)
        ::close(m_slave);
    m_master = m_slave = -1;
}
