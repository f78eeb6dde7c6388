// SPDX-License-Identifier: BSD-2-Clause
#ifndef SERVICEMANAGER_H
#define SERVICEMANAGER_H

// The service manager's notification protocol (systemd's Type=notify and
// WatchdogSec=). Every call is a no-op when the service was not started by a
// service manager (no NOTIFY_SOCKET).
namespace ServiceManager {

// Start-up is done: the line is open and the bus proxies are up. Also starts
// feeding the watchdog from the event loop, when the manager asks for one,
// and says STOPPING=1 when the event loop is told to quit.
void notifyReady();

} // namespace ServiceManager

#endif
