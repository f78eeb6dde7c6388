// SPDX-License-Identifier: BSD-2-Clause
#include "CharsetNames.h"

namespace {
struct CharsetWords {
    TextCharset::Selector selector;
    const char* name;
    const char* alias;
    const char* description;
};

// In selector order.
const CharsetWords CHARSETS[] = {
    { TextCharset::Locale, "locale", "locale", "the controller's locale codec (0)" },
    { TextCharset::Utf8, "utf8", "utf-8", "UTF-8 (1)" },
    { TextCharset::Utf16, "utf16", "utf-16", "UTF-16 (2)" },
};
} // namespace

bool parseCharsetName(const QString& name, TextCharset::Selector* selector)
{
    const QString key = name.toLower();
    for (const CharsetWords& row : CHARSETS) {
        if (key == QLatin1String(row.name) || key == QLatin1String(row.alias) || key == QString::number(row.selector)) {
            *selector = row.selector;
            return true;
        }
    }
    return false;
}

QString charsetName(TextCharset::Selector selector)
{
    return QLatin1String(CHARSETS[selector].name);
}

QString describeCharset(int selector)
{
    if (TextCharset::isSelector(selector))
        return QLatin1String(CHARSETS[selector].description);
    return QStringLiteral("unknown selector %1 (the controller treats it as its locale codec)").arg(selector);
}
