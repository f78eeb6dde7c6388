// SPDX-License-Identifier: BSD-2-Clause
#ifndef REPLY_H
#define REPLY_H

#include "CEventLogger.h"

#include <QByteArray>
#include <QString>

// What a handler answers: for a query, the data of its reply frame, which
// carries the request's ids; for actions and settings, nothing. The registry
// turns it into the frame, and the link logs `logged_after` once the frame is
// on its way (the "... done." lines).
struct Reply {
    bool exists = false;
    QByteArray data;
    QString logged_after;
    CEventLogger::ELogLevel logged_after_level = CEventLogger::LOG_LEVEL_EMERGENCY;
};

inline Reply no_reply()
{
    return Reply();
}

inline Reply reply_with(const QByteArray& data, const QString& loggedAfter = QString(),
                        CEventLogger::ELogLevel level = CEventLogger::LOG_LEVEL_EMERGENCY)
{
    return Reply { true, data, loggedAfter, level };
}

#endif
