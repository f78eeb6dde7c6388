// SPDX-License-Identifier: BSD-2-Clause
#ifndef CLOG_H
#define CLOG_H

#include <string>

// One coloured console line on standard output, written when the builder goes
// out of scope: "<file> [?] (function): text...... ------", in fixed columns
// so that lines stack up as a table on the board's console.
class CLog
{
public:
    // The slot of the line number always shows "?": the column is kept, the
    // number is not printed.
    CLog(const char* path, int line, const char* function);
    ~CLog();
    CLog(const CLog&) = delete;
    CLog& operator=(const CLog&) = delete;

    CLog& operator<<(const char* text);
    CLog& operator<<(const std::string& text);

private:
    std::string m_sFilename;
    std::string m_sFunction;
    std::string m_sText;
};

#endif
