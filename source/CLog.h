// SPDX-License-Identifier: BSD-2-Clause
#ifndef CLOG_H
#define CLOG_H

#include <string>

// One coloured console line, "<file> [?] (function): text...... status",
// written to standard output when the builder goes out of scope.
class CLog
{
public:
    enum ELogValuation {
        LOG_VAL_NONE = 0,
        LOG_VAL_DEFAULT = 1,
        LOG_VAL_WARN = 2,
        LOG_VAL_ERROR = 3,
        LOG_VAL_EXIT = 4,  // ends the process with exit(22) after printing
        LOG_VAL_THROW = 5, // throws the line's text after printing
        LOG_VAL_OK = 6,
        LOG_VAL_PASSED = 7
    };

    CLog(const char* path, int line, const char* function);
    // A line with the "throw" status ends by throwing its text, as its callers ask for.
    ~CLog() noexcept(false); // NOLINT(bugprone-exception-escape)

    CLog& operator<<(const char* text);
    CLog& operator<<(const std::string& text);
    CLog& operator<<(bool value);
    CLog& operator<<(int value);
    CLog& operator<<(double value);
    CLog& operator<<(ELogValuation valuation);

    void setFilename(const char* name);
    void setFunction(const char* signature);

private:
    void printPrefix();
    void printText();
    void printStatus();
    void printPostfix();

    std::string m_sFilename;
    [[maybe_unused]] int m_iLine; // kept, not printed: the line shows "?"
    std::string m_sFunction;
    std::string m_sText;
    ELogValuation m_eValuation;
};

#endif
