#ifndef BUSCALL_H
#define BUSCALL_H

// How the service talks to its sibling services: queries wait for their
// answer, and an answer that failed or has another type reads as the type's
// zero value; settings are sent and never waited for.

#include <QDBusAbstractInterface>
#include <QDBusPendingReply>
#include <QVariant>
#include <QVariantList>

// Waits for a typed query; a failed or mistyped reply gives T().
template <typename T>
T waited(QDBusPendingReply<T> reply)
{
    reply.waitForFinished();
    return reply.isValid() ? reply.value() : T();
}

// Waits for a query whose answer is a list of variants. The list may arrive
// as a plain variant list or as a D-Bus array still to be read; both work.
// Any other answer (an error, another type) gives an empty list.
QVariantList waited_list(const QDBusPendingCall& call);
QVariantList to_variant_list(const QVariant& value);

// Calls a method by name and waits; the first result, or an invalid variant.
QVariant waited_by_name(QDBusAbstractInterface& proxy, const QString& method,
                        const QVariantList& args = QVariantList());

// Sends a setting by name without waiting for, or ever seeing, a reply.
void send_by_name(QDBusAbstractInterface& proxy, const QString& method,
                  const QVariantList& args = QVariantList());

#endif
