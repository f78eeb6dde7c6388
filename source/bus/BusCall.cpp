#include "BusCall.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

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

QVariantList waited_list(const QDBusPendingCall& call)
{
    QDBusPendingCall pending(call);
    pending.waitForFinished();
    const QDBusMessage reply = pending.reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return QVariantList();
    return to_variant_list(reply.arguments().first());
}

QVariant waited_by_name(QDBusAbstractInterface& proxy, const QString& method, const QVariantList& args)
{
    const QDBusMessage reply = proxy.callWithArgumentList(QDBus::Block, method, args);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return QVariant();
    return reply.arguments().first();
}

void send_by_name(QDBusAbstractInterface& proxy, const QString& method, const QVariantList& args)
{
    proxy.callWithArgumentList(QDBus::NoBlock, method, args);
}
