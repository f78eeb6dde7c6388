// SPDX-License-Identifier: BSD-2-Clause
// The catalogue of readable command names, built from the rows of
// Commands.def; the handler, family and argument columns belong to the
// service and are left out here.
#include "CommandCatalogue.h"

const int STATUS_LINE_TEXT_IDS[STATUS_LINE_ITEMS] = { 94, 93, 92, 91 };

namespace {

using R = RequestKind;
using A = ReplyKind;

struct Row {
    int command;
    int group;
    const char* name;
    const char* arguments;
    RequestKind request;
    ReplyKind reply;
    const char* subject;
    const char* effect;
};

const Row ROWS[] = {
#define COMMAND(family, handler, argument, command, group, name, arguments, request, reply, subject, effect)           \
    { command, group, name, arguments, R::request, A::reply, subject, effect },
#include "Commands.def"
#undef COMMAND
};

// The colour index byte of "text color" for each unit text: a numbering of
// the PC application's own, unrelated to the text ids and the command ids.
struct UnitColour {
    int text_id;
    int colour_index;
};
const UnitColour UNIT_COLOURS[] = {
    { 84, 17 }, { 85, 18 }, { 86, 19 }, { 87, 14 }, { 88, 20 }, { 89, 3 },   { 90, 2 },   { 95, 0 },
    { 96, 15 }, { 97, 13 }, { 98, 11 }, { 99, 10 }, { 100, 1 }, { 101, 21 }, { 102, 12 }, { 103, 16 },
};

QVector<CatalogueEntry> build()
{
    QVector<CatalogueEntry> entries;
    entries.reserve(int(sizeof ROWS / sizeof ROWS[0]));
    for (const Row& row : ROWS) {
        entries.append({ QString::fromUtf8(row.name), row.command, row.group, QString::fromUtf8(row.arguments),
                         row.request, row.reply, QString::fromUtf8(row.subject), QString::fromUtf8(row.effect) });
    }
    return entries;
}

} // namespace

const QVector<CatalogueEntry>& catalogue()
{
    static const QVector<CatalogueEntry> entries = build();
    return entries;
}
const CatalogueEntry* findEntry(const QStringList& words, int* consumed)
{
    const CatalogueEntry* best = nullptr;
    int bestLength = 0;
    for (const CatalogueEntry& entry : catalogue()) {
        const QStringList name = entry.name.split(QLatin1Char(' '));
        if (name.size() <= bestLength || name.size() > words.size())
            continue;
        bool match = true;
        for (int i = 0; i < name.size() && match; ++i)
            match = name[i].compare(words[i], Qt::CaseInsensitive) == 0;
        if (match) {
            best = &entry;
            bestLength = name.size();
        }
    }
    *consumed = bestLength;
    return best;
}

const CatalogueEntry* findEntry(int command, int group)
{
    for (const CatalogueEntry& entry : catalogue()) {
        if (entry.command == command && entry.group == group)
            return &entry;
    }
    return nullptr;
}

int unitColourIndex(int textId)
{
    for (const UnitColour& unit : UNIT_COLOURS) {
        if (unit.text_id == textId)
            return unit.colour_index;
    }
    return -1;
}

int unitTextOfColourIndex(int colourIndex)
{
    for (const UnitColour& unit : UNIT_COLOURS) {
        if (unit.colour_index == colourIndex)
            return unit.text_id;
    }
    return 0;
}
