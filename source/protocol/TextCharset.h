// SPDX-License-Identifier: BSD-2-Clause
#ifndef TEXTCHARSET_H
#define TEXTCHARSET_H

#include <QByteArray>
#include <QChar>
#include <QLocale>
#include <QString>

#include <array>
#include <bitset>

class QTextCodec;

// The character set of texts on the line, as the PC chooses it with the
// codec setting: 0 the controller's locale codec, 1 UTF-8, 2 UTF-16 (a
// byte-order mark, then the sender's byte order). Both ends must follow the
// same setting, or every text after it is garbled; typed characters always
// travel as single bytes in the locale codec.
//
// The controller takes its locale codec from the country of its locale. The
// PC cannot ask for it, so talvox-pc is told its name.
class TextCharset
{
public:
    enum Selector { Locale = 0, Utf8 = 1, Utf16 = 2 };

    TextCharset();

    // The codec setting's byte: 0 to 2 select a character set; the
    // controller ignores any other byte and so does selectByte (false).
    static bool isSelector(int byte) { return byte >= Locale && byte <= Utf16; }
    bool selectByte(unsigned char selector);
    void select(Selector selector) { m_selector = selector; }
    Selector selected() const { return m_selector; }

    // False if this machine does not know the codec. Without one (also
    // before a locale is known) the locale selector means Latin-1.
    bool setLocaleCodec(const QString& name);
    void setLocaleCountry(QLocale::Country country);

    QByteArray encode(const QString& text) const;
    QString decode(const QByteArray& bytes) const;
    // A byte typed outside a frame as the locale codec reads it on its own
    // (null if it reads as nothing). Each byte is decoded once per locale
    // codec: a decode opens the codec's converter, which costs more than
    // the rest of a typed character on the controller.
    QChar typedChar(unsigned char byte) const;

private:
    Selector m_selector = Locale;
    QTextCodec* m_localeCodec = nullptr;
    // Looked up once: a lookup by name takes a lock and walks every codec.
    QTextCodec* m_utf8;
    QTextCodec* m_utf16;
    // The typed bytes decoded so far with the current locale codec.
    mutable std::array<QChar, 256> m_typedChars;
    mutable std::bitset<256> m_typedCharsKnown;
};

#endif
