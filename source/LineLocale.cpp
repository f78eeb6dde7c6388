// SPDX-License-Identifier: BSD-2-Clause
#include "LineLocale.h"

#include <QLocale>

void LineLocale::setLocale(const QString& localeCode)
{
    // A code that is no locale gives the C locale: metric, ISO-8859-15.
    const QLocale locale(localeCode);
    QLocale::setDefault(locale);
    m_metric = locale.country() != QLocale::UnitedStates;
    m_charset.setLocaleCountry(locale.country());
}
