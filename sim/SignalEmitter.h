// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QList>
#include <QVariantList>

class QObject;

// Emits the signal called `name` declared by one of the emitters (the sibling
// interfaces' adaptors, whose signals are those of the interface XML), with
// the arguments converted to the declared types. False for an unknown name,
// a wrong argument count or an argument that does not convert.
bool emitSignalByName(const QList<QObject*>& emitters, const QString& name, QVariantList args);
