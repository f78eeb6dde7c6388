// SPDX-License-Identifier: BSD-2-Clause
#include "BusCall.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

void limit_call_time(QDBusAbstractInterface& proxy)
{
    proxy.setTimeout(BUS_CALL_TIMEOUT_MS);
}

void BusCommand::note_error(const QDBusError& error)
{
    // A sibling that hangs gives NoReply when the call's time-out passes.
    m_bSiblingSilent = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout;
    if (m_bSiblingSilent)
        m_bTimedOut = true;
}

void wait_until_sent(const QDBusConnection& bus)
{
    const QDBusMessage ping = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    bus.call(ping, QDBus::Block, BUS_CALL_TIMEOUT_MS);
}

QVariantList to_variant_list(const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantList)
        return value.toList();
    if (value.userType() != qMetaTypeId<QDBusArgument>())
        return QVariantList();

    const QDBusArgument argument = value.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType)
        return QVariantList();

    QVariantList list;
    argument.beginArray();
    while (!argument.atEnd()) {
        QVariant element;
        argument >> element;
        // An element of an "av" array arrives wrapped; unwrap it.
        if (element.userType() == qMetaTypeId<QDBusVariant>())
            element = element.value<QDBusVariant>().variant();
        list.append(element);
    }
    argument.endArray();
    return list;
}

QVariantList BusCommand::waited_list(const QDBusPendingCall& call)
{
    if (m_bTimedOut)
        return QVariantList();
    QDBusPendingCall pending(call);
    pending.waitForFinished();
    note_error(pending.error());
    const QDBusMessage reply = pending.reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return QVariantList();
    return to_variant_list(reply.arguments().first());
}
