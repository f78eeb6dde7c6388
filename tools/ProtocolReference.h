#ifndef PROTOCOLREFERENCE_H
#define PROTOCOLREFERENCE_H

#include <QString>

// The protocol reference for PC developers, generated from the catalogue so
// that it cannot drift from what the client sends (docs/protocol.md).
QString protocolReferenceMarkdown();

// One line per command, "0x30 1 metercounter get 1", sorted by group and id.
QString commandPairs();

// Every command with its arguments and effect, for --list.
QString commandList();

#endif
