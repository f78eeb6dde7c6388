// SPDX-License-Identifier: BSD-2-Clause
#ifndef PROTOCOLREFERENCE_H
#define PROTOCOLREFERENCE_H

#include <QString>

// The protocol reference for PC developers, generated from the catalogue so
// that it cannot drift from what the client sends (docs/protocol.md).
QString protocolReferenceMarkdown();

// Every command with its arguments and effect, for --list.
QString commandList();

#endif
