// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINELOCALE_H
#define LINELOCALE_H

#include "TextCharset.h"

#include <QString>

// How texts and lengths cross the line: the character set the PC selected
// (the controller's locale codec, UTF-8 or UTF-16), and whether meter
// counters go out in metres or, under a US locale, in feet. The system
// commands set it; the text and counter commands read it.
class LineLocale
{
public:
    // Follows the controller's locale: its codec, and metres or feet.
    void setLocale(const QString& localeCode);

    TextCharset& charset() { return m_charset; }
    const TextCharset& charset() const { return m_charset; }
    bool metric() const { return m_metric; }

private:
    TextCharset m_charset;
    bool m_metric = true;
};

#endif
