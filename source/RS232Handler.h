// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232HANDLER_H
#define RS232HANDLER_H

#include "CEventLogger.h"
#include "Protocol.h"
#include "RS232Message.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

class CHolvardMeterCounterInterface;
class CHolvardSysLocaleInterface;
class CQuorendVideoOverlayInterface;
class CTravendDeviceStatusInterface;
class CTravendDeviceEventsInterface;
class CTravendDeviceControlInterface;
class CTextLinesManager;
class QDBusConnection;
class QTextCodec;
class SystemClock;

// The command registry: maps (command id, group id) to a handler, turns every
// valid frame into its reply frame (or none), owns the bus proxies and the
// character screen, and keeps the values the sibling services push.
//
// Group 0 carries actions, group 1 queries (the handler replies with the
// request's ids), group 2 settings. Their implementations live in
// source/handlers/, one file per command family.
class RS232Handler : public QObject
{
    Q_OBJECT

public:
    // What a handler answers: for a query, the data of its reply frame, which
    // carries the request's ids; for actions and settings, nothing. The
    // registry sends it, then logs `logged_after` (the "... done." lines).
    struct Reply {
        bool exists = false;
        QByteArray data;
        QString logged_after;
        CEventLogger::ELogLevel logged_after_level = CEventLogger::LOG_LEVEL_EMERGENCY;
    };
    static Reply no_reply() { return Reply(); }
    static Reply reply_with(const QByteArray& data, const QString& logged_after = QString(),
                            CEventLogger::ELogLevel level = CEventLogger::LOG_LEVEL_EMERGENCY)
    {
        return Reply { true, data, logged_after, level };
    }
    typedef Reply (*Handler)(RS232Handler& self, const RS232Message& request);
    // Handlers by (group id, command id); null where no command is.
    typedef Handler CommandTable[Protocol::GROUP_COUNT][256];

    struct NamedHandler {
        const char* name;
        Handler handler;
    };
    // The handler of this name; null if there is none.
    static Handler handler_named(const char* name);
    static int handler_count();
    // Fills the table from the command catalogue. Returns what keeps a pair
    // from having exactly one handler (a name without a function, a pair
    // named twice, a pair outside the groups); empty when all is well.
    static QStringList bind_command_table(CommandTable& table);

    // What the link sends for a frame: the reply frame, if any, and the line
    // logged after it is sent (the "... done." lines).
    struct ReplyFrame {
        bool exists = false;
        RS232Message frame;
        QString logged_after;
        CEventLogger::ELogLevel logged_after_level = CEventLogger::LOG_LEVEL_EMERGENCY;
    };

    // Connects to the siblings on `bus` and reads the locale. The clock is
    // what the clock commands read and set.
    RS232Handler(const QDBusConnection& bus, SystemClock& clock);
    ~RS232Handler() override;

    void init();
    // "0x30|0x1": a command's key in the log.
    static QString create_id(int command_id, int group_id);
    ReplyFrame exec_func(const RS232Message& message);
    int registered_count() const;

    void setTalvoxLocale(const QString& locale_code);

    // Texts on the line: selector 1 UTF-8, 2 UTF-16, anything else the
    // locale codec.
    bool locale_codec_selected() const;
    QByteArray encode_text(const QString& text) const;
    QString decode_text(const QByteArray& bytes) const;

    // A printable byte that arrived outside a frame: typed at the cursor.
    void add_char_to_line(char byte);

    // System information, clock and character set.
    static Reply fh_get_softwareversion(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_softwareid(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_date_time(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_date_time(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_codec(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_codec(RS232Handler& self, const RS232Message& request);

    // Character screen and overlay texts.
    static Reply fh_clear_screen(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_cursor(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_line_color(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_line(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_line(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_text(RS232Handler& self, const RS232Message& request);
    static Reply fh_start_temp_text(RS232Handler& self, const RS232Message& request);
    static Reply fh_overlay_visibility(RS232Handler& self, const RS232Message& request);
    static Reply fh_sys_visibility(RS232Handler& self, const RS232Message& request);

    // Status line.
    static Reply fh_get_statusline(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_statusline(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_statusline_state(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_statusline_color(RS232Handler& self, const RS232Message& request);
    static Reply fh_sta_visibility(RS232Handler& self, const RS232Message& request);
    static Reply fh_sta_bgcolor(RS232Handler& self, const RS232Message& request);

    // Unit texts.
    static Reply fh_get_unit_state(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_unit_position(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_device_color(RS232Handler& self, const RS232Message& request);

    // Meter counters.
    static Reply fh_get_metercounter_1(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_metercounter_2(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_metercounter_3(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_metercounter_1(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_metercounter_2(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_metercounter_3(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_metercounter_wheel_length(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_metercounter_resolution(RS232Handler& self, const RS232Message& request);

    // Device data and values.
    static Reply fh_get_device_data(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_device_value(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_adconverter(RS232Handler& self, const RS232Message& request);

    // Video counter.
    static Reply fh_cmd_videocounter(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_videocounter(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_videocounter(RS232Handler& self, const RS232Message& request);

    // 3D measurement and inclination.
    static Reply fh_cmd_3d_measurement(RS232Handler& self, const RS232Message& request);
    static Reply fh_get_3d_measurement_data(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_3d_measurement_start_position(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_3d_measurement_start_orientation(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_inclination_direction(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_inclination_status(RS232Handler& self, const RS232Message& request);
    static Reply fh_init_inclination(RS232Handler& self, const RS232Message& request);
    static Reply fh_set_inclination_distance(RS232Handler& self, const RS232Message& request);

signals:
    // The connection to the bus daemon broke: the process must end, as the
    // connection is not re-established and subscriptions would be lost.
    void bus_lost();

private slots:
    void onBusDisconnected();
    void onSiblingOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);
    void onCrawlerPitch(double dPitch);
    void onMeterCounterChanged(double dMeterValue);
    void onSatMeterCounterChanged(double dMeterValue);
    void onAbsMeterCounterChanged(double dMeterValue);
    void onLocaleChanged(const QString& cLocaleCode);
    void onCameraPanPos(int iPanPos);
    void onCameraTiltPos(int iTiltPos);
    void onExtModuleObjectTemperature(double);
    void onCameraTemperature(int);
    void onCrawlerTemperature(int);
    void onSensor3DData(double dDistCtr, double dXValue, double dYValue, double dZValue);

private:

    // Shared by the handler families.
    // Handle of a fixed overlay text (status line, unit texts, ...); 0 if the
    // overlay does not answer.
    int text_handle_by_id(int textId);

    CommandTable m_aHandlers = {};

    CHolvardMeterCounterInterface* m_pMeterCounter;
    CHolvardSysLocaleInterface* m_pSysLocale;
    CQuorendVideoOverlayInterface* m_pVideoOverlay;
    CTravendDeviceStatusInterface* m_pDeviceStatus;
    CTravendDeviceEventsInterface* m_pDeviceEvents;
    CTravendDeviceControlInterface* m_pDeviceControl;
    CTextLinesManager* m_pTextLines;

    qint32 m_iCodecSelector;
    bool m_bMetric;
    QTextCodec* m_pLocaleCodec;

    float m_fMeterCounter;
    float m_fSatMeterCounter;
    float m_fAbsMeterCounter;

    bool m_bInclinationDirection;
    bool m_bInclinationActive;
    quint16 m_uiInclinationDistance;
    float m_fCrawlerPitch;
    float m_fInclinationValue;
    float m_fInclinationStartMeter;

    float m_fCameraPanPos;
    float m_fCameraTiltPos;
    float m_fExtModuleObjectTemperature;
    qint32 m_iCameraTemperature;
    qint32 m_iCrawlerTemperature;

    double m_d3DDistanceCounter;
    double m_d3DX;
    double m_d3DY;
    double m_d3DZ;

    SystemClock& m_rClock;
};

#endif
