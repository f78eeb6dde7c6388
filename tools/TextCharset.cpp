// SPDX-License-Identifier: BSD-2-Clause
#include "TextCharset.h"

#include "QtCompat.h"

#include <QTextCodec>

bool TextCharset::parse(const QString& name, Selector* selector)
{
    const QString key = name.toLower();
    if (key == QLatin1String("locale") || key == QLatin1String("0"))
        *selector = Locale;
    else if (key == QLatin1String("utf8") || key == QLatin1String("utf-8") || key == QLatin1String("1"))
        *selector = Utf8;
    else if (key == QLatin1String("utf16") || key == QLatin1String("utf-16") || key == QLatin1String("2"))
        *selector = Utf16;
    else
        return false;
    return true;
}

QString TextCharset::describe(int selector)
{
    switch (selector) {
    case Locale:
        return QStringLiteral("the controller's locale codec (0)");
    case Utf8:
        return QStringLiteral("UTF-8 (1)");
    case Utf16:
        return QStringLiteral("UTF-16 (2)");
    }
    return QStringLiteral("unknown selector %1 (the controller treats it as its locale codec)").arg(selector);
}

bool TextCharset::setLocaleCodec(const QString& name)
{
    // By name: some codecs are not found by their MIB number until then.
    m_localeCodec = QTextCodec::codecForName(name.toLatin1());
    return m_localeCodec != nullptr;
}

QTextCodec* TextCharset::codec() const
{
    switch (m_selector) {
    case Utf8:
        return QTextCodec::codecForName("UTF-8");
    case Utf16:
        return QTextCodec::codecForName("UTF-16");
    case Locale:
        break;
    }
    return m_localeCodec ? m_localeCodec : QTextCodec::codecForName("ISO-8859-15");
}

QByteArray TextCharset::encode(const QString& text) const
{
    return m_selector == Utf16 ? QtCompat::encodeWithByteOrderMark(codec(), text) : codec()->fromUnicode(text);
}

QString TextCharset::decode(const QByteArray& bytes) const
{
    return codec()->toUnicode(bytes);
}
