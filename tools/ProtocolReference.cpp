// SPDX-License-Identifier: BSD-2-Clause
#include "ProtocolReference.h"

#include "CommandCatalogue.h"
#include "LocaleCodecs.h"
#include "ReplyDecoder.h"
#include "RequestEncoder.h"

#include <QFile>

#include <algorithm>

namespace {

const char* const GROUP_TITLES[] = {
    "Group 0: actions and switches",
    "Group 1: queries (the controller replies with the request's ids)",
    "Group 2: settings",
};

QString hex(int value)
{
    return "0x" + QString::number(value, 16).toUpper().rightJustified(2, QLatin1Char('0'));
}

QString cell(QString text)
{
    return text.replace(QLatin1Char('|'), QLatin1String("\\|"));
}

QVector<const CatalogueEntry*> sortedEntries()
{
    QVector<const CatalogueEntry*> entries;
    for (const CatalogueEntry& entry : catalogue())
        entries.append(&entry);
    std::sort(entries.begin(), entries.end(), [](const CatalogueEntry* a, const CatalogueEntry* b) {
        return a->group != b->group ? a->group < b->group : a->command < b->command;
    });
    return entries;
}

QString usage(const CatalogueEntry& entry)
{
    return entry.arguments.isEmpty() ? entry.name : entry.name + QLatin1Char(' ') + entry.arguments;
}

QString unitTextTable()
{
    QString text = QStringLiteral(
        "\n## Unit texts\n\nThe overlay's unit texts (ids 84-90, 95-103) are switched, queried and moved by command id "
        "(`text show|hide|toggle|state|position <id>`), but coloured by `text color` (0xE5, group 2) with a colour "
        "index in the first data byte:\n\n| Unit text | Colour index |\n|---|---|\n");
    for (int id = 84; id <= 103; ++id) {
        if (unitColourIndex(id) >= 0)
            text += QStringLiteral("| %1 | %2 |\n").arg(id).arg(unitColourIndex(id));
    }
    return text;
}

QString localeCodecs()
{
    // "ISO-8859-15; ISO-8859-5 for Belarus, ...; ISO-8859-2 for Slovakia": the default, then by codec.
    QString text = DEFAULT_LOCALE_CODEC;
    const char* codec = nullptr;
    for (const CountryCodec& row : COUNTRY_CODECS) {
        text += qstrcmp(row.codec, codec) == 0 ? QStringLiteral(", ") : QStringLiteral("; %1 for ").arg(row.codec);
        text += row.country_name;
        codec = row.codec;
    }
    return text;
}

QString statusLineTextIds()
{
    QStringList ids;
    for (const int id : STATUS_LINE_TEXT_IDS)
        ids << QString::number(id);
    return ids.mid(0, ids.size() - 1).join(", ") + " and " + ids.last();
}

QString commandTables()
{
    QString text
        = QStringLiteral("\n## Commands\n\nAll %1 (command id, group id) pairs of the controller's command table.\n")
              .arg(catalogue().size());
    int group = -1;
    for (const CatalogueEntry* entry : sortedEntries()) {
        if (entry->group != group) {
            group = entry->group;
            text += QStringLiteral(
                        "\n### %1\n\n| Id | talvox-pc | Request data | Reply data | Effect |\n|---|---|---|---|---|\n")
                        .arg(GROUP_TITLES[group]);
        }
        text += QStringLiteral("| %1 | `%2` | %3 | %4 | %5 |\n")
                    .arg(hex(entry->command), cell(usage(*entry)), cell(describeRequest(entry->request)),
                         cell(describeReply(entry->reply)), cell(entry->effect));
    }
    return text;
}

} // namespace

QString protocolReferenceMarkdown()
{
    // The prose is a template beside this file, compiled in as a resource.
    QFile file(QStringLiteral(":/protocol.md.in"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll())
        .replace(QLatin1String("@LOCALE_CODECS@"), localeCodecs())
        .replace(QLatin1String("@STATUS_LINE_TEXT_IDS@"), statusLineTextIds())
        .replace(QLatin1String("@COMMANDS@"), commandTables())
        .replace(QLatin1String("@UNIT_TEXTS@"), unitTextTable());
}

QString commandList()
{
    QString text;
    for (const CatalogueEntry* entry : sortedEntries()) {
        text += QStringLiteral("%1\n    %2 (command %3, group %4)\n")
                    .arg(usage(*entry), entry->effect, hex(entry->command))
                    .arg(entry->group);
    }
    return text
        + QStringLiteral("raw <command id> <group id> [data bytes]\n    Sends any frame and prints what comes back.\n");
}
