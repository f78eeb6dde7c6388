// SPDX-License-Identifier: BSD-2-Clause
#include "RS232Handler.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CHolvardMeterCounterInterface.h"
#include "CHolvardSysLocaleInterface.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CTextLinesManager.h"
#include "CTravendDeviceControlInterface.h"
#include "CTravendDeviceEventsInterface.h"
#include "CTravendDeviceStatusInterface.h"
#include "CommandCatalogue.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <cmath>

namespace {
const char* const HOLVARD = "local.vemo.holvard";
const char* const QUOREND = "local.vemo.quorend";
const char* const TRAVEND = "local.vemo.travend";

const float DEGREES_TO_RADIANS = 0.017453292f;

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
    : QObject(nullptr)
    , m_pMeterCounter(nullptr)
    , m_pSysLocale(nullptr)
    , m_pVideoOverlay(nullptr)
    , m_pDeviceStatus(nullptr)
    , m_pDeviceEvents(nullptr)
    , m_pDeviceControl(nullptr)
    , m_pTextLines(nullptr)
    , m_iCodecSelector(0)
    , m_bMetric(true)
    , m_pLocaleCodec(nullptr)
    , m_fMeterCounter(0.0f)
    , m_fSatMeterCounter(0.0f)
    , m_fAbsMeterCounter(0.0f)
    , m_bInclinationDirection(false)
    , m_bInclinationActive(false)
    , m_uiInclinationDistance(0)
    , m_fCrawlerPitch(0.0f)
    , m_fInclinationValue(0.0f)
    , m_fInclinationStartMeter(0.0f)
    , m_fCameraPanPos(0.0f)
    , m_fCameraTiltPos(0.0f)
    , m_fExtModuleObjectTemperature(0.0f)
    , m_iCameraTemperature(0)
    , m_iCrawlerTemperature(0)
    , m_d3DDistanceCounter(0.0)
    , m_d3DX(0.0)
    , m_d3DY(0.0)
    , m_d3DZ(0.0)
    , m_rClock(clock)
{
    QDBusConnection bus = connection;
    bus.connect(QString(), LOCAL_PATH, LOCAL_INTERFACE, "Disconnected", this, SLOT(onBusDisconnected()));

    // Watched before anything is read from them, so that no restart between
    // a read and the watch goes unnoticed. The device bus service is not
    // watched: nothing read from it is kept.
    auto* siblings = new QDBusServiceWatcher(QUOREND, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    siblings->addWatchedService(HOLVARD);
    connect(siblings, &QDBusServiceWatcher::serviceOwnerChanged, this, &RS232Handler::onSiblingOwnerChanged);

    m_pMeterCounter = createProxy<CHolvardMeterCounterInterface>(bus, HOLVARD, "/metercounter", this, "Could not create dbus interface 'local.vemo.holvard/metercounter'!");
    using Counters = CHolvardMeterCounterInterface;
    connect(m_pMeterCounter, &Counters::meter_counter_changed, this, &RS232Handler::onMeterCounterChanged);
    connect(m_pMeterCounter, &Counters::meter_counter_sat_changed, this, &RS232Handler::onSatMeterCounterChanged);
    connect(m_pMeterCounter, &Counters::meter_counter_abs_changed, this, &RS232Handler::onAbsMeterCounterChanged);

    // There is no slot of this name, so this connection is refused: the video
    // counter is always asked for on demand. (By name, as only a name can miss.)
    bus.connect(QUOREND, "/videooverlay", CQuorendVideoOverlayInterface::staticInterfaceName(), "videocounter_changed",
                this, SLOT(onVideoCounterChanged(int, int, int, int)));

    m_pSysLocale = createProxy<CHolvardSysLocaleInterface>(bus, HOLVARD, "/syslocale", this, "Could not create dbus interface 'local.vemo.holvard/syslocale'!");
    connect(m_pSysLocale, &CHolvardSysLocaleInterface::locale_changed, this, &RS232Handler::onLocaleChanged);

    m_pVideoOverlay = createProxy<CQuorendVideoOverlayInterface>(bus, QUOREND, "/videooverlay", this, "Could not create dbus interface 'local.vemo.quorend/videooverlay'!");
    begin_bus_command();
    m_pTextLines = new CTextLinesManager(*m_pVideoOverlay);

    m_pDeviceStatus = createProxy<CTravendDeviceStatusInterface>(bus, TRAVEND, "/devicestatus", this, "Could not create dbus interface 'local.vemo.travend/devicestatus'!");
    m_pDeviceEvents = createProxy<CTravendDeviceEventsInterface>(bus, TRAVEND, "/deviceevents", this, "Could not create dbus interface 'local.vemo.travend/deviceevents'!");
    // The device control proxy has no failure text of its own.
    m_pDeviceControl = createProxy<CTravendDeviceControlInterface>(bus, TRAVEND, "/devicecontrol", this, "Could not create dbus interface 'local.vemo.travend/deviceevents'!");

    using Events = CTravendDeviceEventsInterface;
    connect(m_pDeviceEvents, &Events::crawler_pitch, this, &RS232Handler::onCrawlerPitch);
    // Both cameras feed the same pan and tilt fields: the last report wins.
    connect(m_pDeviceEvents, &Events::camera_pan_pos, this, &RS232Handler::onCameraPanPos);
    connect(m_pDeviceEvents, &Events::camera_tilt_pos, this, &RS232Handler::onCameraTiltPos);
    connect(m_pDeviceEvents, &Events::camera2_pan_pos, this, &RS232Handler::onCameraPanPos);
    connect(m_pDeviceEvents, &Events::camera2_tilt_pos, this, &RS232Handler::onCameraTiltPos);
    connect(m_pDeviceEvents, &Events::extmodule_object_temperature, this, &RS232Handler::onExtModuleObjectTemperature);
    connect(m_pDeviceEvents, &Events::camera_temperature, this, &RS232Handler::onCameraTemperature);
    connect(m_pDeviceEvents, &Events::crawler_temperature, this, &RS232Handler::onCrawlerTemperature);
    connect(m_pDeviceEvents, &Events::sensor_3d_data, this, &RS232Handler::onSensor3DData);

    begin_bus_command();
    setTalvoxLocale(waited(m_pSysLocale->get_locale()));
}

RS232Handler::~RS232Handler()
{
    delete m_pTextLines;
}

void RS232Handler::init()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "start RS232Handler::init()");
    for (const QString& problem : bind_command_table(m_aHandlers))
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "RS232Handler::init: " + problem);
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_NOTICE, "end RS232Handler::init()");
}

QStringList RS232Handler::bind_command_table(CommandTable& table)
{
    QStringList problems;
    for (const CatalogueEntry& entry : catalogue()) {
        const Handler handler = handler_named(entry.handler);
        const char* problem = nullptr;
        if (!handler)
            problem = ": no handler ";
        else if (entry.group < 0 || entry.group >= Protocol::GROUP_COUNT || entry.command <= 0 || entry.command > 255)
            problem = ": no such command ";
        else if (table[entry.group][entry.command])
            problem = ": named twice, handler ";
        else
            table[entry.group][entry.command] = handler;
        // The key is formatted only for a problem: start-up binds 167 pairs.
        if (problem)
            problems << create_id(entry.command, entry.group) + problem + entry.handler;
    }
    return problems;
}

QString RS232Handler::create_id(int command_id, int group_id)
{
    return QString("0x%1|0x%2").arg(command_id, 0, 16).arg(group_id, 0, 16);
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

RS232Handler::ReplyFrame RS232Handler::exec_func(const RS232Message& message)
{
    const unsigned char group = message.get_group_id();
    const Handler handler = group < Protocol::GROUP_COUNT ? m_aHandlers[group][message.get_command_id()] : nullptr;
    if (!handler)
        return ReplyFrame();

    // The trailing " 30" is the same on every line (48 in hexadecimal).
    if (CEventLogger::wouldLog(CEventLogger::LOG_LEVEL_DEBUG))
        TVX_LOG(CEventLogger::LOG_LEVEL_DEBUG,
                "handling " + create_id(message.get_command_id(), group) + QString(" %1").arg(48, 0, 16));
    begin_bus_command();
    const Reply answer = handler(*this, message);
    ReplyFrame reply;
    if (!answer.exists)
        return reply;
    reply.exists = true;
    reply.frame.set_command_id(message.get_command_id());
    reply.frame.set_group_id(group);
    reply.frame.set_data(answer.data);
    reply.logged_after = answer.logged_after;
    reply.logged_after_level = answer.logged_after_level;
    return reply;
}

int RS232Handler::text_handle_by_id(int textId)
{
    return m_pTextLines->fixedTextHandle(textId);
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
        m_pTextLines->forgetOverlay();
        return;
    }
    // The system management service: its locale, read again from the new
    // instance; an instance that does not answer leaves the locale as it was.
    if (newOwner.isEmpty())
        return;
    begin_bus_command();
    QDBusPendingReply<QString> locale = m_pSysLocale->get_locale();
    locale.waitForFinished();
    note_bus_error(locale.error());
    if (locale.isValid())
        setTalvoxLocale(locale.value());
}

void RS232Handler::onCrawlerPitch(double dPitch)
{
    m_fCrawlerPitch = static_cast<float>(dPitch);

    // Gradient in percent: the product in single precision, the tangent in
    // double precision.
    const float radians = m_fCrawlerPitch * DEGREES_TO_RADIANS;
    m_fInclinationValue = static_cast<float>(std::tan(double(radians)) * 100.0);

    // Advance the inclination mark by whole units of distance / 100.
    const int wholeUnits = m_uiInclinationDistance / 100;
    const float step = static_cast<float>(wholeUnits);
    if (m_bInclinationDirection) {
        if (m_fMeterCounter >= m_fInclinationStartMeter)
            m_fInclinationStartMeter = m_fMeterCounter + step;
    } else {
        if (m_fMeterCounter <= m_fInclinationStartMeter)
            m_fInclinationStartMeter = m_fMeterCounter - step;
    }
}

void RS232Handler::onMeterCounterChanged(double dMeterValue)
{
    m_fMeterCounter = static_cast<float>(dMeterValue);
}

void RS232Handler::onSatMeterCounterChanged(double dMeterValue)
{
    m_fSatMeterCounter = static_cast<float>(dMeterValue);
}

void RS232Handler::onAbsMeterCounterChanged(double dMeterValue)
{
    m_fAbsMeterCounter = static_cast<float>(dMeterValue);
}

void RS232Handler::onLocaleChanged(const QString& cLocaleCode)
{
    setTalvoxLocale(cLocaleCode);
}

void RS232Handler::onCameraPanPos(int iPanPos)
{
    m_fCameraPanPos = static_cast<float>(iPanPos);
}

void RS232Handler::onCameraTiltPos(int iTiltPos)
{
    m_fCameraTiltPos = static_cast<float>(iTiltPos);
}

void RS232Handler::onExtModuleObjectTemperature(double dTemperature)
{
    m_fExtModuleObjectTemperature = static_cast<float>(dTemperature);
}

void RS232Handler::onCameraTemperature(int iTemperature)
{
    m_iCameraTemperature = iTemperature;
}

void RS232Handler::onCrawlerTemperature(int iTemperature)
{
    m_iCrawlerTemperature = iTemperature;
}

void RS232Handler::onSensor3DData(double dDistCtr, double dXValue, double dYValue, double dZValue)
{
    m_d3DDistanceCounter = dDistCtr;
    m_d3DX = dXValue;
    m_d3DY = dYValue;
    m_d3DZ = dZValue;
}
