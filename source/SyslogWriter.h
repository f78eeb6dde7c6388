// SPDX-License-Identifier: BSD-2-Clause
#ifndef SYSLOGWRITER_H
#define SYSLOGWRITER_H

#include <ctime>
#include <mutex>
#include <string>
#include <sys/types.h>

// One log line to the system's syslog daemon and a copy on standard error,
// in the very bytes the C library's syslog() with LOG_PID | LOG_PERROR
// sends and prints:
//     daemon:          "<PRI>Mmm dd hh:mm:ss ident[pid]: text"
//     standard error:  "ident[pid]: text\n"
// Written here because the line is on the path of every frame: the C
// library formats the time and the header with printf and strftime on each
// call and prints the copy through a stdio stream (about 6.8k instructions
// and five system calls a line); this costs two system calls, the send and
// the write, and formats the time once a second.
//
// A daemon that is not there costs no more than the write: the socket is
// reconnected at most once a second, and lines nobody receives are not
// copied anywhere else (there is no console fallback).
//
// Under systemd, standard error is itself a stream into the journal, and
// /dev/log is the journal's too: both would store every line twice. There
// the line goes to standard error alone, as "<N>text", N its priority. The
// stream, not the socket, because journald knows the stream's unit from
// when systemd connected it, while a datagram's unit is looked up by the
// sender's pid when journald gets to it: a line written just before an exit
// (the lost bus, exit 9) would lose its unit and escape journalctl -u.
class SyslogWriter
{
public:
    // `facility` as LOG_LOCAL2; `socketPath` is /dev/log on a controller.
    // Whether standard error is the journal is decided here, once.
    SyslogWriter(const char* ident, int facility, const char* socketPath = "/dev/log");
    ~SyslogWriter();
    SyslogWriter(const SyslogWriter&) = delete;
    SyslogWriter& operator=(const SyslogWriter&) = delete;

    // Safe from any thread; lines from two threads never interleave.
    void write(int priority, const char* text);

private:
    // True if standard error is the journal stream that systemd connected it
    // to (JOURNAL_STREAM names its device and inode).
    static bool standardErrorIsJournal();
    void writeToJournalStream(int priority, const char* text);
    void connectToDaemon(std::time_t now);
    bool sendToDaemon(const char* line, std::size_t size);
    void closeSocket();
    const char* timestamp(std::time_t now);

    std::mutex m_lock;
    std::string m_sHeader; // "ident[pid]: "
    int m_iFacility;
    std::string m_sPath;
    int m_iSocket = -1;
    bool m_bStream = false; // a stream socket wants each line ended by a NUL
    bool m_bJournalStream;
    std::time_t m_tRetryAt = 0;
    std::time_t m_tStampSecond = -1;
    char m_acStamp[32] = {};
};

#endif
