// SPDX-License-Identifier: BSD-2-Clause
#ifndef BUSCALL_H
#define BUSCALL_H

// How the service talks to its sibling services: queries wait for their
// answer, and an answer that failed or has another type reads as the type's
// zero value; settings are sent and never waited for.
//
// The whole service runs on one thread, so a query that waits blocks the
// serial line too. Every call therefore has a short time-out of its own, and
// a command stops waiting after its first time-out: a hung sibling costs the
// line at most one time-out per command.

#include <QDBusAbstractInterface>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusPendingReply>
#include <QVariant>
#include <QVariantList>

// How long a query waits for a sibling's answer. Long enough for a busy
// controller, short enough that the PC (which waits 3 s for a reply) still
// gets one, with zero values, when a sibling hangs.
const int BUS_CALL_TIMEOUT_MS = 750;

// Makes every call through the proxy give up after BUS_CALL_TIMEOUT_MS.
void limit_call_time(QDBusAbstractInterface& proxy);

// One command's calls: a frame's handler, a typed character, a read at
// start-up. begin() starts one; once a query of it has timed out, its later
// queries read as zero without waiting, and may_send() tells the callers to
// skip the settings that would act on such zeros. The registry keeps one and
// lends it to everything that calls the siblings.
class BusCommand
{
public:
    void begin() { m_bTimedOut = false; }
    bool timed_out() const { return m_bTimedOut; }
    // Whether a setting of this command may still go out. Settings are never
    // waited for.
    bool may_send() const { return !m_bTimedOut; }
    // Notes the outcome of a finished query (a time-out stops the command).
    void note_error(const QDBusError& error);
    // Whether the latest query that went out timed out, in this command or
    // an earlier one: from then on until a sibling answers again, what the
    // overlay shows may differ from what was sent to it (it hangs, or was
    // replaced), and what the service keeps of it is checked.
    bool sibling_silent() const { return m_bSiblingSilent; }

    // Waits for a typed query; a failed or mistyped reply gives T().
    template <typename T> T waited(QDBusPendingReply<T> reply)
    {
        if (m_bTimedOut)
            return T();
        reply.waitForFinished();
        note_error(reply.error());
        return reply.isValid() ? reply.value() : T();
    }

    // Waits for a query whose answer is a list of variants. The list may
    // arrive as a plain variant list or as a D-Bus array still to be read;
    // both work. Any other answer (an error, another type) gives an empty list.
    QVariantList waited_list(const QDBusPendingCall& call);

private:
    bool m_bTimedOut = false;
    bool m_bSiblingSilent = false;
};

QVariantList to_variant_list(const QVariant& value);

// Returns once everything sent on the connection so far has left the
// process (settings are handed to the bus library's thread and would be
// lost if the process ended first): the bus daemon answers a ping only
// after it has read what came before. At most BUS_CALL_TIMEOUT_MS.
void wait_until_sent(const QDBusConnection& bus);

#endif
