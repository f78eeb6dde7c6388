// SPDX-License-Identifier: BSD-2-Clause
#ifndef CTERMINATIONSIGNALS_H
#define CTERMINATIONSIGNALS_H

#include <QObject>

class QSocketNotifier;

// SIGTERM, SIGINT and SIGHUP end the service in order: the signal handler
// only writes the signal's number into a socket pair, and the event loop
// reads it and quits, so the lock file is removed and the port closed on the
// loop's thread, never inside a signal handler.
class CTerminationSignals : public QObject
{
    Q_OBJECT

public:
    // Installs the handlers; false (and a log line) if that is impossible.
    bool install();

private slots:
    void onSignal();

private:
    QSocketNotifier* m_pNotifier = nullptr;
};

#endif
