// SPDX-License-Identifier: BSD-2-Clause
#include "LineLocale.h"

#include "LocaleCodecs.h"
#include "QtCompat.h"

#include <QLocale>
#include <QTextCodec>

namespace {
const int SELECTOR_UTF8 = 1;
const int SELECTOR_UTF16 = 2;

// Codecs are looked up by name: some are not found by MIB number until they
// were once looked up by name.
QTextCodec* codecNamed(const char* name)
{
    return QTextCodec::codecForName(name);
}
} // namespace

void LineLocale::select(int selector)
{
    if (selector >= 0 && selector <= SELECTOR_UTF16)
        m_selector = selector;
}

void LineLocale::setLocale(const QString& localeCode)
{
    // A code that is no locale gives the C locale: metric, ISO-8859-15.
    const QLocale locale(localeCode);
    QLocale::setDefault(locale);
    m_metric = locale.country() != QLocale::UnitedStates;
    m_localeCodec = codecNamed(locale_codec_name(locale.country()));
    m_typedCharsKnown.reset();
}

bool LineLocale::localeCodecSelected() const
{
    return m_selector != SELECTOR_UTF8 && m_selector != SELECTOR_UTF16;
}

QByteArray LineLocale::encode(const QString& text) const
{
    if (m_selector == SELECTOR_UTF8)
        return codecNamed("UTF-8")->fromUnicode(text);
    if (m_selector == SELECTOR_UTF16)
        return QtCompat::encodeWithByteOrderMark(codecNamed("UTF-16"), text);
    return m_localeCodec ? m_localeCodec->fromUnicode(text) : text.toLatin1();
}

QString LineLocale::decode(const QByteArray& bytes) const
{
    if (m_selector == SELECTOR_UTF8)
        return codecNamed("UTF-8")->toUnicode(bytes);
    if (m_selector == SELECTOR_UTF16)
        return codecNamed("UTF-16")->toUnicode(bytes);
    return m_localeCodec ? m_localeCodec->toUnicode(bytes) : QString::fromLatin1(bytes);
}

QChar LineLocale::typedChar(unsigned char byte) const
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
