// SPDX-License-Identifier: BSD-2-Clause
#ifndef TEXTCHARSET_H
#define TEXTCHARSET_H

#include <QByteArray>
#include <QString>

class QTextCodec;

// The character set of texts on the line, as the controller's character
// set selector chooses it: 0 the controller's locale codec, 1 UTF-8,
// 2 UTF-16 (with a byte-order mark). The client cannot ask the controller
// for its locale codec, so it is named on the command line.
class TextCharset
{
public:
    enum Selector { Locale = 0, Utf8 = 1, Utf16 = 2 };

    // "locale", "utf8" or "utf16" (also 0, 1, 2); false for anything else.
    static bool parse(const QString& name, Selector* selector);
    static QString describe(int selector);

    // False if the locale codec is unknown to this machine.
    bool setLocaleCodec(const QString& name);
    void select(Selector selector) { m_selector = selector; }
    Selector selected() const { return m_selector; }

    QByteArray encode(const QString& text) const;
    QString decode(const QByteArray& bytes) const;

private:
    QTextCodec* codec() const;

    Selector m_selector = Locale;
    QTextCodec* m_localeCodec = nullptr;
};

#endif
