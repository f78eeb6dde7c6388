// SPDX-License-Identifier: BSD-2-Clause
#include "RS232Handler.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CHolvardMeterCounterInterface.h"
#include "CHolvardSysLocaleInterface.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CTravendDeviceControlInterface.h"
#include "CTravendDeviceEventsInterface.h"
#include "CTravendDeviceStatusInterface.h"
#include "FixedTexts.h"
#include "handlers/DeviceValueCommands.h"
#include "handlers/MeasurementCommands.h"
#include "handlers/MeterCounterCommands.h"
#include "handlers/StatusLineCommands.h"
#include "handlers/SystemCommands.h"
#include "handlers/TextScreenCommands.h"
#include "handlers/UnitTextCommands.h"
#include "handlers/VideoCounterCommands.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

namespace {
const char* const HOLVARD = "local.vemo.holvard";
const char* const QUOREND = "local.vemo.quorend";
const char* const TRAVEND = "local.vemo.travend";

// The bus library's own signal when the connection to the bus daemon breaks.
const char* const LOCAL_PATH = "/org/freedesktop/DBus/Local";
const char* const LOCAL_INTERFACE = "org.freedesktop.DBus.Local";

template <typename Proxy>
Proxy* createProxy(const QDBusConnection& bus, const char* service, const char* path, QObject* parent,
                   const char* failureText)
{
    Proxy* proxy = new Proxy(service, path, bus, parent);
    limit_call_time(*proxy);
    if (!proxy->isValid())
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_ERROR, failureText);
    return proxy;
}
} // namespace

RS232Handler::RS232Handler(const QDBusConnection& connection, SystemClock& clock)
{
    QDBusConnection bus = connection;
    bus.connect(QString(), LOCAL_PATH, LOCAL_INTERFACE, "Disconnected", this, SLOT(onBusDisconnected()));

    // Watched before anything is read from them, so that no restart between
    // a read and the watch goes unnoticed. The device bus service is not
    // watched: nothing read from it is kept.
    auto* siblings = new QDBusServiceWatcher(QUOREND, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    siblings->addWatchedService(HOLVARD);
    connect(siblings, &QDBusServiceWatcher::serviceOwnerChanged, this, &RS232Handler::onSiblingOwnerChanged);

    m_pMeterCounter = createProxy<CHolvardMeterCounterInterface>(
        bus, HOLVARD, "/metercounter", this, "Could not create dbus interface 'local.vemo.holvard/metercounter'!");
    m_meterCounters = std::make_unique<MeterCounterCommands>(*m_pMeterCounter, m_lineLocale, m_bus);

    // There is no slot of this name, so this connection is refused and the
    // video counter is always asked for on demand, as the PC has always got
    // it: a pushed value must not start answering in its place. (By name, as
    // only a name can miss.)
    bus.connect(QUOREND, "/videooverlay", CQuorendVideoOverlayInterface::staticInterfaceName(), "videocounter_changed",
                this, SLOT(onVideoCounterChanged(int, int, int, int)));

    m_pSysLocale = createProxy<CHolvardSysLocaleInterface>(
        bus, HOLVARD, "/syslocale", this, "Could not create dbus interface 'local.vemo.holvard/syslocale'!");
    m_system = std::make_unique<SystemCommands>(*m_pSysLocale, m_lineLocale, clock, m_bus);

    m_pVideoOverlay = createProxy<CQuorendVideoOverlayInterface>(
        bus, QUOREND, "/videooverlay", this, "Could not create dbus interface 'local.vemo.quorend/videooverlay'!");
    m_fixedTexts = std::make_unique<FixedTexts>(*m_pVideoOverlay, m_bus);
    // The screen reads its size from the overlay right away.
    m_bus.begin();
    m_textScreen = std::make_unique<TextScreenCommands>(*m_pVideoOverlay, *m_fixedTexts, m_lineLocale, m_bus);
    m_statusLine = std::make_unique<StatusLineCommands>(*m_pVideoOverlay, *m_fixedTexts, m_lineLocale, m_bus);
    m_unitTexts = std::make_unique<UnitTextCommands>(*m_pVideoOverlay, *m_fixedTexts, m_bus);
    m_videoCounter = std::make_unique<VideoCounterCommands>(*m_pVideoOverlay, m_bus);

    m_pDeviceStatus = createProxy<CTravendDeviceStatusInterface>(
        bus, TRAVEND, "/devicestatus", this, "Could not create dbus interface 'local.vemo.travend/devicestatus'!");
    m_pDeviceEvents = createProxy<CTravendDeviceEventsInterface>(
        bus, TRAVEND, "/deviceevents", this, "Could not create dbus interface 'local.vemo.travend/deviceevents'!");
    // The device control proxy has no failure text of its own.
    m_pDeviceControl = createProxy<CTravendDeviceControlInterface>(
        bus, TRAVEND, "/devicecontrol", this, "Could not create dbus interface 'local.vemo.travend/deviceevents'!");
    m_deviceValues = std::make_unique<DeviceValueCommands>(*m_pDeviceStatus, *m_pDeviceEvents, m_bus);
    m_measurement = std::make_unique<MeasurementCommands>(*m_pDeviceControl, *m_pDeviceEvents, m_bus);

    m_system->readLocale();
}

// Out of line, where the families are complete types.
RS232Handler::~RS232Handler() = default;

void RS232Handler::init()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start RS232Handler::init()");
    bind_command_table();
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end RS232Handler::init()");
}

QString RS232Handler::create_id(int commandId, int groupId)
{
    return QString("0x%1|0x%2").arg(commandId, 0, 16).arg(groupId, 0, 16);
}

int RS232Handler::registered_count() const
{
    int count = 0;
    for (const auto& group : m_aHandlers) {
        for (const Handler handler : group)
            count += handler ? 1 : 0;
    }
    return count;
}

RS232Handler::ReplyFrame RS232Handler::exec_func(const RS232Message& request)
{
    // Characters typed before this frame reach the overlay before it is
    // handled, as if each had been sent on its own.
    m_textScreen->lines.flushTypedText();
    const unsigned char group = request.get_group_id();
    const Handler handler = group < Protocol::GROUP_COUNT ? m_aHandlers[group][request.get_command_id()] : nullptr;
    if (!handler)
        return ReplyFrame();

    // The dispatch line has always ended in " 30" (48 in hexadecimal), and
    // scripts that read the controller's log match it as it stands.
    if (CEventLogger::wouldLog(CEventLogger::LOG_LEVEL_DEBUG))
        TVX_LOG(CEventLogger::LOG_LEVEL_DEBUG,
                "handling " + create_id(request.get_command_id(), group) + QString(" %1").arg(48, 0, 16));
    m_bus.begin();
    const Reply answer = handler(*this, request);
    ReplyFrame reply;
    if (!answer.exists)
        return reply;
    reply.exists = true;
    reply.frame.emplace();
    reply.frame->set_command_id(request.get_command_id());
    reply.frame->set_group_id(group);
    reply.frame->set_data(answer.data);
    reply.logged_after = answer.logged_after;
    reply.logged_after_level = answer.logged_after_level;
    return reply;
}

void RS232Handler::add_char_to_line(char byte)
{
    m_textScreen->add_char_to_line(byte);
}

void RS232Handler::flush_before_exit()
{
    if (m_textScreen->lines.flushTypedText())
        wait_until_sent(m_pVideoOverlay->connection());
}

void RS232Handler::onBusDisconnected()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_ERROR, "lost the system bus connection");
    emit bus_lost();
}

void RS232Handler::onSiblingOwnerChanged(const QString& service, const QString&, const QString& newOwner)
{
    TVX_LOG(CEventLogger::LOG_LEVEL_NOTICE,
            service + (newOwner.isEmpty() ? " left the bus" : " is on the bus as " + newOwner));
    if (service == QUOREND) {
        // Its text objects went with it.
        m_textScreen->lines.forgetOverlay();
        m_fixedTexts->forget();
        return;
    }
    if (!newOwner.isEmpty())
        m_system->readLocaleAgain();
}
