// SPDX-License-Identifier: BSD-2-Clause
#include "Simulator.h"

#include "SignalEmitter.h"
#include "control_adaptor.h"
#include "devicecontrol_adaptor.h"
#include "deviceevents_adaptor.h"
#include "devicestatus_adaptor.h"
#include "metercounter_adaptor.h"
#include "syslocale_adaptor.h"
#include "videooverlay_adaptor.h"

#include <QDBusConnectionInterface>
#include <QDBusError>

namespace {

const QStringList SIBLING_SERVICES { QStringLiteral("local.vemo.holvard"), QStringLiteral("local.vemo.quorend"),
                                     QStringLiteral("local.vemo.travend") };
const QString CONTROL_SERVICE = QStringLiteral("local.talvox.simulator");

} // namespace

Simulator::Simulator(const QDBusConnection& connection)
    : m_connection(connection)
{
    // Each adaptor is owned by its object and serves it under its path.
    m_signal_emitters << new MeterCounterAdaptor(&m_meter_counter) << new SysLocaleAdaptor(&m_sys_locale)
                      << new VideoOverlayAdaptor(&m_video_overlay) << new DeviceStatusAdaptor(&m_device_status)
                      << new DeviceEventsAdaptor(&m_device_events) << new DeviceControlAdaptor(&m_device_control);
    new ControlAdaptor(&m_control);
    m_state.calls.on_record = [this] { m_control.notify_changed(); };
}

bool Simulator::start(QString& error)
{
    if (!m_connection.isConnected()) {
        error = QStringLiteral("no system bus: ") + m_connection.lastError().message();
        return false;
    }
    const QList<QPair<QString, QObject*>> objects { { "/metercounter", &m_meter_counter },
                                                    { "/syslocale", &m_sys_locale },
                                                    { "/videooverlay", &m_video_overlay },
                                                    { "/devicestatus", &m_device_status },
                                                    { "/deviceevents", &m_device_events },
                                                    { "/devicecontrol", &m_device_control },
                                                    { "/control", &m_control } };
    for (const auto& [path, object] : objects) {
        if (!m_connection.registerObject(path, object)) {
            error = QStringLiteral("cannot register object ") + path;
            return false;
        }
    }
    for (const QString& service : SIBLING_SERVICES + QStringList { CONTROL_SERVICE }) {
        if (!m_connection.registerService(service)) {
            const QDBusError bus_error = m_connection.lastError();
            error = QStringLiteral("cannot own ") + service + ": "
                + (bus_error.isValid() ? bus_error.message() : QStringLiteral("the name has another owner"));
            return false;
        }
    }
    return true;
}

bool Simulator::emit_sibling_signal(const QString& name, const QVariantList& args)
{
    if (!emitSignalByName(m_signal_emitters, name, args))
        return false;
    m_state.pushed.insert(name, args);
    // What the service pushes is its value from now on.
    const double value = args.value(0).toDouble();
    if (name == QLatin1String("meter_counter_changed"))
        m_state.meters.counter = value;
    else if (name == QLatin1String("meter_counter_sat_changed"))
        m_state.meters.sat = value;
    else if (name == QLatin1String("meter_counter_abs_changed"))
        m_state.meters.abs = value;
    else if (name == QLatin1String("locale_changed"))
        m_state.locale = args.value(0).toString();
    m_control.notify_changed();
    return true;
}

void Simulator::set_service_present(const QString& service, bool present)
{
    if (!SIBLING_SERVICES.contains(service)) {
        qWarning("talvox-sim: set_service_present of unknown service \"%s\"", qPrintable(service));
        return;
    }
    const bool done = present ? m_connection.registerService(service) : m_connection.unregisterService(service);
    if (!done)
        qWarning("talvox-sim: cannot %s %s", present ? "own" : "release", qPrintable(service));
}
