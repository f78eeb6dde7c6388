// SPDX-License-Identifier: BSD-2-Clause
#include "SignalEmitter.h"

#include "QtCompat.h"

#include <QMetaMethod>
#include <QObject>
#include <array>

namespace {

constexpr int MAX_ARGUMENTS = 10; // what QMetaMethod::invoke takes

bool emitWithArguments(QObject* emitter, const QMetaMethod& signal, QVariantList& args)
{
    if (args.size() != signal.parameterCount() || args.size() > MAX_ARGUMENTS)
        return false;
    for (int i = 0; i < args.size(); ++i)
        if (!QtCompat::convertTo(args[i], signal.parameterType(i)))
            return false;
    // Built only after all conversions, so the data pointers stay valid.
    std::array<QGenericArgument, MAX_ARGUMENTS> generic;
    const QList<QByteArray> typeNames = signal.parameterTypes();
    for (int i = 0; i < args.size(); ++i)
        generic[i] = QGenericArgument(typeNames.at(i).constData(), args.at(i).constData());
    return signal.invoke(emitter, Qt::DirectConnection, generic[0], generic[1], generic[2], generic[3], generic[4],
                         generic[5], generic[6], generic[7], generic[8], generic[9]);
}

} // namespace

bool emitSignalByName(const QList<QObject*>& emitters, const QString& name, QVariantList args)
{
    const QByteArray wanted = name.toLatin1();
    for (QObject* emitter : emitters) {
        const QMetaObject* meta = emitter->metaObject();
        // From the offset on: the interface's own signals, not QObject's.
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            if (method.methodType() == QMetaMethod::Signal && method.name() == wanted)
                return emitWithArguments(emitter, method, args);
        }
    }
    return false;
}
