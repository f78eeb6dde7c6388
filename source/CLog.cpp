// SPDX-License-Identifier: BSD-2-Clause
#include "CLog.h"

#include <cstdio>
#include <cstring>

namespace {
const char* const DARK = "\x1b[1;30m";
const char* const WHITE = "\x1b[0;37m";
const char* const BRIGHT = "\x1b[1;37m";
const char* const BLUE = "\x1b[0;34m";

const std::size_t FILE_COLUMN = 20;
const std::size_t FUNCTION_COLUMN = 26;
const std::size_t TEXT_COLUMN = 74;

// Keeps the last `width` characters of a long text, pads a short one.
std::string fitColumn(std::string text, std::size_t width)
{
    if (text.size() > width)
        return text.substr(text.size() - width);
    text.append(width - text.size(), ' ');
    return text;
}

const char* basenameOf(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// "static int R::init(bool)" shows as "int R::init": the arguments and the
// first word go.
std::string functionName(const char* signature)
{
    std::string function(signature);
    const std::size_t paren = function.find('(');
    if (paren != std::string::npos)
        function.erase(paren);
    const std::size_t space = function.find(' ');
    if (space != std::string::npos)
        function.erase(0, space + 1);
    return function;
}
} // namespace

CLog::CLog(const char* path, int, const char* function)
    : m_sFilename(fitColumn(basenameOf(path), FILE_COLUMN))
    , m_sFunction(fitColumn(functionName(function), FUNCTION_COLUMN))
{
}

CLog::~CLog()
{
    std::string text = m_sText.substr(0, TEXT_COLUMN);
    text.append(TEXT_COLUMN - text.size(), '.');
    std::printf("%s%s<%s%s%s> [%s?%s] (%s%s%s): %s%s%s%s%s------%s\n", DARK, WHITE, DARK, m_sFilename.c_str(), WHITE,
                DARK, WHITE, DARK, m_sFunction.c_str(), WHITE, WHITE, BRIGHT, text.c_str(), WHITE, BLUE, WHITE);
    std::fflush(stdout);
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
