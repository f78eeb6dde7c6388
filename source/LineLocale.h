// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINELOCALE_H
#define LINELOCALE_H

#include <QByteArray>
#include <QChar>
#include <QString>

#include <array>
#include <bitset>

class QTextCodec;

// How texts and lengths cross the line: the character set the PC selected
// (selector 1 UTF-8, 2 UTF-16, anything else the controller's locale codec)
// and whether meter counters go out in metres or, under a US locale, in feet.
// The system commands set it; the text and counter commands read it.
class LineLocale
{
public:
    int selector() const { return m_selector; }
    // Selectors above 2 are ignored: the PC keeps what it had.
    void select(int selector);
    // Follows the controller's locale: its codec, and metres or feet.
    void setLocale(const QString& localeCode);

    bool localeCodecSelected() const;
    bool metric() const { return m_metric; }
    QByteArray encode(const QString& text) const;
    QString decode(const QByteArray& bytes) const;
    // A byte typed outside a frame as the locale codec reads it on its own
    // (null if it reads as nothing). Each byte is decoded once per locale:
    // a decode opens the codec's converter, which costs more than the rest
    // of a typed character.
    QChar typedChar(unsigned char byte) const;

private:
    int m_selector = 0;
    bool m_metric = true;
    QTextCodec* m_localeCodec = nullptr;
    // The typed bytes decoded so far under the current locale.
    mutable std::array<QChar, 256> m_typedChars;
    mutable std::bitset<256> m_typedCharsKnown;
};

#endif
