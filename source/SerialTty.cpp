// SPDX-License-Identifier: BSD-2-Clause
#include "SerialTty.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace SerialTty {

namespace {
// "what: reason", with the reason of the last failed system call.
QString failure(const char* what)
{
    return QString::fromLatin1(what) + ": " + QString::fromLocal8Bit(std::strerror(errno));
}

void setRaw9600(termios& settings)
{
    ::cfmakeraw(&settings);
    // 8 data bits, no parity, one stop bit; the receiver on; carrier and
    // other modem lines ignored (a PC cable often wires none of them).
    settings.c_cflag &= ~tcflag_t(CSIZE | PARENB | CSTOPB | CRTSCTS | HUPCL);
    settings.c_cflag |= CS8 | CREAD | CLOCAL;
    // No software flow control either: 0x11 and 0x13 are data bytes here.
    settings.c_iflag &= ~tcflag_t(IXON | IXOFF | IXANY);
    // A read returns what has arrived; the descriptor never blocks anyway.
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::cfsetispeed(&settings, B9600);
    ::cfsetospeed(&settings, B9600);
}
} // namespace

QString devicePath(const QString& device)
{
    return device.startsWith('/') ? device : "/dev/" + device;
}

int openLine(const QString& path, QString& error)
{
    int fd;
    do
        fd = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return -1;
    }

    termios settings {};
    const char* step = nullptr;
    // Exclusive: a second opener (a terminal program, a second service)
    // would take bytes from this one's reads.
    if (::ioctl(fd, TIOCEXCL) != 0)
        step = "not a terminal (TIOCEXCL)";
    else if (::tcgetattr(fd, &settings) != 0)
        step = "cannot read the terminal settings";
    else {
        setRaw9600(settings);
        if (::tcsetattr(fd, TCSANOW, &settings) != 0)
            step = "cannot set 9600 8N1 raw";
    }
    if (step) {
        error = failure(step);
        closeLine(fd);
        return -1;
    }
    return fd;
}

void closeLine(int fd)
{
    if (fd < 0)
        return;
    ::ioctl(fd, TIOCNXCL);
    ::close(fd);
}

} // namespace SerialTty
