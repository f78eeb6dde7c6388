// SPDX-License-Identifier: BSD-2-Clause
#include "CallLog.h"

#include <QLocale>

void CallLog::record(const char* method, const QVariantList& args)
{
    QStringList formatted;
    formatted.reserve(args.size());
    for (const QVariant& arg : args)
        formatted << format_value(arg);
    m_entries << QString::fromLatin1(method) + '(' + formatted.join(QStringLiteral(", ")) + ')';
    if (on_record)
        on_record();
}

QString CallLog::format_value(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QString: {
        QString escaped = value.toString();
        escaped.replace('\\', QStringLiteral("\\\\")).replace('"', QStringLiteral("\\\""));
        return '"' + escaped + '"';
    }
    case QMetaType::UChar:
        return QString::number(value.value<uchar>());
    default:
        return value.toString();
    }
}
