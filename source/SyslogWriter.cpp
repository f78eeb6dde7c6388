// SPDX-License-Identifier: BSD-2-Clause
#include "SyslogWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {
const char* const MONTHS[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };

void writeAll(int fd, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        bytes += written;
        size -= std::size_t(written);
    }
}
} // namespace

SyslogWriter::SyslogWriter(const char* ident, int facility, const char* socketPath)
    : m_sHeader(std::string(ident) + "[" + std::to_string(getpid()) + "]: ")
    , m_iFacility(facility)
    , m_sPath(socketPath)
    , m_bJournalStream(standardErrorIsJournal())
{
    if (!m_bJournalStream)
        connectToDaemon(std::time(nullptr));
}

bool SyslogWriter::standardErrorIsJournal()
{
    const char* stream = std::getenv("JOURNAL_STREAM");
    unsigned long long device = 0;
    unsigned long long inode = 0;
    struct stat status {
    };
    return stream && std::sscanf(stream, "%llu:%llu", &device, &inode) == 2 && ::fstat(STDERR_FILENO, &status) == 0
        && status.st_dev == device && status.st_ino == inode;
}

SyslogWriter::~SyslogWriter()
{
    closeSocket();
}

void SyslogWriter::closeSocket()
{
    if (m_iSocket >= 0)
        ::close(m_iSocket);
    m_iSocket = -1;
}

void SyslogWriter::connectToDaemon(std::time_t now)
{
    closeSocket();
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, m_sPath.c_str(), sizeof address.sun_path - 1);
    // Daemons listen on a datagram socket; a few on a stream socket.
    for (const int type : { SOCK_DGRAM, SOCK_STREAM }) {
        m_iSocket = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
        if (m_iSocket < 0)
            break;
        if (::connect(m_iSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            m_bStream = type == SOCK_STREAM;
            return;
        }
        const bool wrongType = errno == EPROTOTYPE;
        closeSocket();
        if (!wrongType)
            break;
    }
    m_tRetryAt = now + 1;
}

bool SyslogWriter::sendToDaemon(const char* line, std::size_t size)
{
    return m_iSocket >= 0 && ::send(m_iSocket, line, size + (m_bStream ? 1 : 0), MSG_NOSIGNAL) >= 0;
}

// "Mmm dd hh:mm:ss" in local time, the day padded with a space; month names
// are English whatever the locale.
const char* SyslogWriter::timestamp(std::time_t now)
{
    if (now != m_tStampSecond) {
        std::tm local {};
        localtime_r(&now, &local);
        std::snprintf(m_acStamp, sizeof m_acStamp, "%s %2d %02d:%02d:%02d", MONTHS[local.tm_mon % 12], local.tm_mday,
                      local.tm_hour, local.tm_min, local.tm_sec);
        m_tStampSecond = now;
    }
    return m_acStamp;
}

// "<N>text\n": journald takes N as the line's priority; the identifier and
// the facility are the unit's (SyslogIdentifier=, SyslogFacility=).
void SyslogWriter::writeToJournalStream(int priority, const char* text)
{
    const std::size_t textSize = std::strlen(text);
    const bool endsLine = textSize > 0 && text[textSize - 1] == '\n';
    const char prefix[] = { '<', char('0' + (priority & LOG_PRIMASK)), '>' };
    iovec pieces[] = { { const_cast<char*>(prefix), sizeof prefix },
                       { const_cast<char*>(text), textSize },
                       { const_cast<char*>("\n"), endsLine ? 0U : 1U } };
    const std::lock_guard<std::mutex> guard(m_lock);
    const ssize_t written = ::writev(STDERR_FILENO, pieces, 3);
    // Interrupted, or taken in part: the rest follows in order.
    std::size_t skip = written > 0 ? std::size_t(written) : 0;
    for (const iovec& piece : pieces) {
        if (skip >= piece.iov_len) {
            skip -= piece.iov_len;
            continue;
        }
        writeAll(STDERR_FILENO, static_cast<const char*>(piece.iov_base) + skip, piece.iov_len - skip);
        skip = 0;
    }
}

void SyslogWriter::write(int priority, const char* text)
{
    if (m_bJournalStream) {
        writeToJournalStream(priority, text);
        return;
    }
    int pri = priority & (LOG_PRIMASK | LOG_FACMASK);
    if ((pri & LOG_FACMASK) == 0)
        pri |= m_iFacility;

    const std::lock_guard<std::mutex> guard(m_lock);
    const std::time_t now = std::time(nullptr);
    // "<PRI>Mmm dd hh:mm:ss "
    char head[32];
    int headSize = 0;
    head[headSize++] = '<';
    for (int unit = pri >= 100 ? 100 : pri >= 10 ? 10 : 1; unit > 0; unit /= 10)
        head[headSize++] = char('0' + pri / unit % 10);
    head[headSize++] = '>';
    std::memcpy(head + headSize, timestamp(now), 15);
    headSize += 15;
    head[headSize++] = ' ';
    const std::size_t textSize = std::strlen(text);
    const bool endsLine = textSize > 0 && text[textSize - 1] == '\n';

    // head | header text [\n] [\0]: the daemon's line, then the copy's end.
    const std::size_t size = std::size_t(headSize) + m_sHeader.size() + textSize;
    char onStack[1024];
    std::string onHeap;
    char* line = onStack;
    if (size + 2 > sizeof onStack) {
        onHeap.resize(size + 2);
        line = &onHeap[0];
    }
    std::memcpy(line, head, std::size_t(headSize));
    std::memcpy(line + headSize, m_sHeader.data(), m_sHeader.size());
    std::memcpy(line + headSize + m_sHeader.size(), text, textSize);
    line[size] = '\n';
    line[size + 1] = '\0';

    writeAll(STDERR_FILENO, line + headSize, size - std::size_t(headSize) + (endsLine ? 0 : 1));
    line[size] = '\0'; // a stream daemon reads up to the NUL
    if (m_iSocket < 0 && now >= m_tRetryAt)
        connectToDaemon(now);
    if (sendToDaemon(line, size))
        return;
    // The daemon may have restarted: one new connection, one more try.
    if (m_iSocket >= 0) {
        connectToDaemon(now);
        if (sendToDaemon(line, size))
            return;
    }
    closeSocket();
    m_tRetryAt = now + 1;
}
