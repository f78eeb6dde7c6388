// SPDX-License-Identifier: BSD-2-Clause
#include "CLog.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
const char* const DARK = "\x1b[1;30m";
const char* const WHITE = "\x1b[0;37m";
const char* const BRIGHT = "\x1b[1;37m";

const std::size_t FILE_COLUMN = 20;
const std::size_t FUNCTION_COLUMN = 26;
const std::size_t TEXT_COLUMN = 74;

// Keeps the last `width` characters of a long text, pads a short one.
std::string fitColumn(std::string text, std::size_t width, char pad)
{
    if (text.size() > width)
        return text.substr(text.size() - width);
    text.append(width - text.size(), pad);
    return text;
}

const char* basenameOf(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}
} // namespace

CLog::CLog(const char* path, int line, const char* function)
    : m_iLine(line)
    , m_eValuation(LOG_VAL_DEFAULT)
{
    setFilename(basenameOf(path));
    setFunction(function);
}

CLog::~CLog() noexcept(false) // NOLINT(bugprone-exception-escape): see the declaration
{
    printPrefix();
    printText();
    printStatus();
    printPostfix();
}

CLog& CLog::operator<<(const char* text)
{
    m_sText += text;
    return *this;
}
CLog& CLog::operator<<(const std::string& text)
{
    m_sText += text;
    return *this;
}
CLog& CLog::operator<<(bool value)
{
    m_sText += value ? " true " : " false ";
    return *this;
}
// Numbers are deliberately not formatted.
CLog& CLog::operator<<(int)
{
    m_sText += "???";
    return *this;
}
CLog& CLog::operator<<(double)
{
    m_sText += "???";
    return *this;
}
CLog& CLog::operator<<(ELogValuation valuation)
{
    m_eValuation = valuation;
    return *this;
}

void CLog::setFilename(const char* name)
{
    m_sFilename = fitColumn(name, FILE_COLUMN, ' ');
}

void CLog::setFunction(const char* signature)
{
    std::string function(signature);
    const std::size_t paren = function.find('(');
    if (paren != std::string::npos)
        function.erase(paren);
    const std::size_t space = function.find(' ');
    if (space != std::string::npos)
        function.erase(0, space + 1);
    m_sFunction = fitColumn(function, FUNCTION_COLUMN, ' ');
}

void CLog::printPrefix()
{
    // The line number is not printed: the slot always shows "?".
    std::printf("%s%s<%s%s%s> [%s?%s] (%s%s%s): %s", DARK, WHITE, DARK, m_sFilename.c_str(), WHITE, DARK, WHITE, DARK,
                m_sFunction.c_str(), WHITE, WHITE);
}

void CLog::printText()
{
    std::string text = m_sText.size() > TEXT_COLUMN ? m_sText.substr(0, TEXT_COLUMN) : m_sText;
    text.append(TEXT_COLUMN - text.size(), '.');
    std::printf("%s%s%s", BRIGHT, text.c_str(), WHITE);
}

void CLog::printStatus()
{
    switch (m_eValuation) {
    case LOG_VAL_WARN:
        std::fputs("\x1b[0;31m  Warn\x1b[0;37m", stdout);
        break;
    case LOG_VAL_ERROR:
        std::fputs("\x1b[0;31m Error\x1b[0;37m", stdout);
        break;
    case LOG_VAL_EXIT:
        std::fputs("\x1b[0;31mEError\x1b[0;37m", stdout);
        std::fflush(stdout);
        std::exit(22);
    case LOG_VAL_THROW:
        std::fputs("\x1b[0;31mTError\x1b[0;37m", stdout);
        std::fflush(stdout);
        {
            // The text must outlive this object, which unwinding destroys.
            static std::string s_sThrownText;
            s_sThrownText = m_sText;
            throw s_sThrownText.c_str();
        }
    case LOG_VAL_OK:
        std::fputs("\x1b[0;32m    Ok\x1b[0;37m", stdout);
        break;
    case LOG_VAL_PASSED:
        std::fputs("\x1b[0;32mPassed\x1b[0;37m", stdout);
        break;
    default:
        std::fputs("\x1b[0;34m------\x1b[0;37m", stdout);
        break;
    }
}

void CLog::printPostfix()
{
    std::fputc('\n', stdout);
    std::fflush(stdout);
}
