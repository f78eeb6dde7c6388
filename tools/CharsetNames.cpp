// SPDX-License-Identifier: BSD-2-Clause
#include "CharsetNames.h"

bool parseCharsetName(const QString& name, TextCharset::Selector* selector)
{
    const QString key = name.toLower();
    if (key == QLatin1String("locale") || key == QLatin1String("0"))
        *selector = TextCharset::Locale;
    else if (key == QLatin1String("utf8") || key == QLatin1String("utf-8") || key == QLatin1String("1"))
        *selector = TextCharset::Utf8;
    else if (key == QLatin1String("utf16") || key == QLatin1String("utf-16") || key == QLatin1String("2"))
        *selector = TextCharset::Utf16;
    else
        return false;
    return true;
}

QString charsetName(TextCharset::Selector selector)
{
    switch (selector) {
    case TextCharset::Utf8:
        return QStringLiteral("utf8");
    case TextCharset::Utf16:
        return QStringLiteral("utf16");
    case TextCharset::Locale:
        break;
    }
    return QStringLiteral("locale");
}

QString describeCharset(int selector)
{
    switch (selector) {
    case TextCharset::Locale:
        return QStringLiteral("the controller's locale codec (0)");
    case TextCharset::Utf8:
        return QStringLiteral("UTF-8 (1)");
    case TextCharset::Utf16:
        return QStringLiteral("UTF-16 (2)");
    }
    return QStringLiteral("unknown selector %1 (the controller treats it as its locale codec)").arg(selector);
}
