// SPDX-License-Identifier: BSD-2-Clause
#include "TextCharset.h"

#include "LocaleCodecs.h"
#include "QtCompat.h"

#include <QTextCodec>

// Codecs are looked up by name: some are not found by their MIB number until
// they were once looked up by name.
TextCharset::TextCharset()
    : m_utf8(QTextCodec::codecForName("UTF-8"))
    , m_utf16(QTextCodec::codecForName("UTF-16"))
{
}

bool TextCharset::selectByte(unsigned char selector)
{
    if (!isSelector(selector))
        return false;
    m_selector = static_cast<Selector>(selector);
    return true;
}

bool TextCharset::setLocaleCodec(const QString& name)
{
    m_localeCodec = QTextCodec::codecForName(name.toLatin1());
    m_typedCharsKnown.reset();
    return m_localeCodec != nullptr;
}

void TextCharset::setLocaleCountry(QLocale::Country country)
{
    m_localeCodec = QTextCodec::codecForName(locale_codec_name(country));
    m_typedCharsKnown.reset();
}

QByteArray TextCharset::encode(const QString& text) const
{
    switch (m_selector) {
    case Utf8:
        return m_utf8->fromUnicode(text);
    case Utf16:
        return QtCompat::encodeWithByteOrderMark(m_utf16, text);
    case Locale:
        break;
    }
    return m_localeCodec ? m_localeCodec->fromUnicode(text) : text.toLatin1();
}

QString TextCharset::decode(const QByteArray& bytes) const
{
    switch (m_selector) {
    case Utf8:
        return m_utf8->toUnicode(bytes);
    case Utf16:
        return m_utf16->toUnicode(bytes);
    case Locale:
        break;
    }
    return m_localeCodec ? m_localeCodec->toUnicode(bytes) : QString::fromLatin1(bytes);
}

QChar TextCharset::typedChar(unsigned char byte) const
{
    if (!m_typedCharsKnown.test(byte)) {
        const char raw = char(byte);
        const QByteArray bytes = QByteArray::fromRawData(&raw, 1);
        const QString text = m_localeCodec ? m_localeCodec->toUnicode(bytes) : QString::fromLatin1(bytes);
        m_typedChars[byte] = text.isEmpty() ? QChar() : text.at(0);
        m_typedCharsKnown.set(byte);
    }
    return m_typedChars[byte];
}
