// SPDX-License-Identifier: BSD-2-Clause
#ifndef LINELOCALE_H
#define LINELOCALE_H

#include <QByteArray>
#include <QString>

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

private:
    int m_selector = 0;
    bool m_metric = true;
    QTextCodec* m_localeCodec = nullptr;
};

#endif
