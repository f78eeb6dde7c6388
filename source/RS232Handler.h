// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232HANDLER_H
#define RS232HANDLER_H

#include "BusCall.h"
#include "CEventLogger.h"
#include "LineLocale.h"
#include "Protocol.h"
#include "RS232Message.h"
#include "handlers/Reply.h"

#include <QObject>
#include <QString>
#include <memory>
#include <optional>

class CHolvardMeterCounterInterface;
class CHolvardSysLocaleInterface;
class CQuorendVideoOverlayInterface;
class CTravendDeviceStatusInterface;
class CTravendDeviceEventsInterface;
class CTravendDeviceControlInterface;
class DeviceValueCommands;
class FixedTexts;
class MeasurementCommands;
class MeterCounterCommands;
class QDBusConnection;
class StatusLineCommands;
class SystemClock;
class SystemCommands;
class TextScreenCommands;
class UnitTextCommands;
class VideoCounterCommands;

// The command registry: turns every valid frame into its reply frame (or
// none) through the handler its (command id, group id) is bound to in
// Commands.def. It connects to the sibling services and builds the command
// families, which keep what the siblings push and carry the commands out.
//
// Group 0 carries actions, group 1 queries (the reply carries the request's
// ids), group 2 settings.
class RS232Handler : public QObject
{
    Q_OBJECT

public:
    // What the link sends for a frame: the reply frame, if any, and the line
    // logged once it is sent (the "... done." lines).
    // The frame is made only for a reply: a message is a QObject, and most
    // frames (actions, settings) have none.
    struct ReplyFrame {
        bool exists = false;
        std::optional<RS232Message> frame;
        QString logged_after;
        CEventLogger::ELogLevel logged_after_level = CEventLogger::LOG_LEVEL_EMERGENCY;
    };

    // Connects to the siblings on `bus` and reads the locale. The clock is
    // what the clock commands read and set.
    RS232Handler(const QDBusConnection& bus, SystemClock& clock);
    ~RS232Handler() override;

    void init();
    // "0x30|0x1": a command's key in the log.
    static QString create_id(int commandId, int groupId);
    ReplyFrame exec_func(const RS232Message& request);
    // A printable byte that arrived outside a frame: typed at the cursor.
    void add_char_to_line(char byte);
    // The process ends: typed characters still held back go to the overlay
    // and have left the process before it is gone.
    void flush_before_exit();
    // The (command id, group id) pairs that have a handler.
    int registered_count() const;

signals:
    // The connection to the bus daemon broke: the process must end, as the
    // connection is not re-established and subscriptions would be lost.
    void bus_lost();

private slots:
    void onBusDisconnected();
    void onSiblingOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);

private:
    typedef Reply (*Handler)(RS232Handler& registry, const RS232Message& request);
    void bind_command_table();
    template <typename Family> Family& family();

    // By (group id, command id); null where no command is.
    Handler m_aHandlers[Protocol::GROUP_COUNT][256] = {};

    BusCommand m_bus;
    LineLocale m_lineLocale;

    // The six proxies are children of the registry.
    CHolvardMeterCounterInterface* m_pMeterCounter;
    CHolvardSysLocaleInterface* m_pSysLocale;
    CQuorendVideoOverlayInterface* m_pVideoOverlay;
    CTravendDeviceStatusInterface* m_pDeviceStatus;
    CTravendDeviceEventsInterface* m_pDeviceEvents;
    CTravendDeviceControlInterface* m_pDeviceControl;

    std::unique_ptr<FixedTexts> m_fixedTexts;
    std::unique_ptr<SystemCommands> m_system;
    std::unique_ptr<TextScreenCommands> m_textScreen;
    std::unique_ptr<StatusLineCommands> m_statusLine;
    std::unique_ptr<UnitTextCommands> m_unitTexts;
    std::unique_ptr<MeterCounterCommands> m_meterCounters;
    std::unique_ptr<DeviceValueCommands> m_deviceValues;
    std::unique_ptr<VideoCounterCommands> m_videoCounter;
    std::unique_ptr<MeasurementCommands> m_measurement;
};

#endif
