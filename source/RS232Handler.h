#ifndef RS232HANDLER_H
#define RS232HANDLER_H

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
class QTextCodec;

// The command registry: one process-wide object that maps (command id,
// group id) to a handler, dispatches every valid frame, owns the bus proxies
// and the character screen, and keeps the values the sibling services push.
//
// Group 0 carries actions, group 1 queries (the handler replies with the
// request's ids), group 2 settings. Handlers are static members; they reach
// the shared state through instance(). Their implementations live in
// source/handlers/, one file per command family.
class RS232Handler : public QObject
{
    Q_OBJECT

public:
    typedef void (*Handler)(RS232Message&);
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

    static RS232Handler* instance();
    ~RS232Handler() override;

    void init();
    // "0x30|0x1": a command's key in the log.
    static QString create_id(int command_id, int group_id);
    void exec_func(RS232Message& message);
    int registered_count() const;

    void setTalvoxLocale(const QString& locale_code);

    // Texts on the line: selector 1 UTF-8, 2 UTF-16, anything else the
    // locale codec.
    bool locale_codec_selected() const;
    QByteArray encode_text(const QString& text) const;
    QString decode_text(const QByteArray& bytes) const;

    // A printable byte that arrived outside a frame: typed at the cursor.
    static void add_char_to_line(char byte);

    // System information, clock and character set.
    static void fh_get_softwareversion(RS232Message& message);
    static void fh_get_softwareid(RS232Message& message);
    static void fh_get_date_time(RS232Message& message);
    static void fh_set_date_time(RS232Message& message);
    static void fh_get_codec(RS232Message& message);
    static void fh_set_codec(RS232Message& message);

    // Character screen and overlay texts.
    static void fh_clear_screen(RS232Message& message);
    static void fh_set_cursor(RS232Message& message);
    static void fh_set_line_color(RS232Message& message);
    static void fh_get_line(RS232Message& message);
    static void fh_set_line(RS232Message& message);
    static void fh_set_text(RS232Message& message);
    static void fh_start_temp_text(RS232Message& message);
    static void fh_overlay_visibility(RS232Message& message);
    static void fh_sys_visibility(RS232Message& message);

    // Status line.
    static void fh_get_statusline(RS232Message& message);
    static void fh_set_statusline(RS232Message& message);
    static void fh_get_statusline_state(RS232Message& message);
    static void fh_set_statusline_color(RS232Message& message);
    static void fh_sta_visibility(RS232Message& message);
    static void fh_sta_bgcolor(RS232Message& message);

    // Unit texts.
    static void fh_get_unit_state(RS232Message& message);
    static void fh_set_unit_position(RS232Message& message);
    static void fh_set_device_color(RS232Message& message);

    // Meter counters.
    static void fh_get_metercounter_1(RS232Message& message);
    static void fh_get_metercounter_2(RS232Message& message);
    static void fh_get_metercounter_3(RS232Message& message);
    static void fh_set_metercounter_1(RS232Message& message);
    static void fh_set_metercounter_2(RS232Message& message);
    static void fh_set_metercounter_3(RS232Message& message);
    static void fh_get_metercounter_wheel_length(RS232Message& message);
    static void fh_get_metercounter_resolution(RS232Message& message);

    // Device data and values.
    static void fh_get_device_data(RS232Message& message);
    static void fh_get_device_value(RS232Message& message);
    static void fh_get_adconverter(RS232Message& message);

    // Video counter.
    static void fh_cmd_videocounter(RS232Message& message);
    static void fh_get_videocounter(RS232Message& message);
    static void fh_set_videocounter(RS232Message& message);

    // 3D measurement and inclination.
    static void fh_cmd_3d_measurement(RS232Message& message);
    static void fh_get_3d_measurement_data(RS232Message& message);
    static void fh_set_3d_measurement_start_position(RS232Message& message);
    static void fh_set_3d_measurement_start_orientation(RS232Message& message);
    static void fh_set_inclination_direction(RS232Message& message);
    static void fh_set_inclination_status(RS232Message& message);
    static void fh_init_inclination(RS232Message& message);
    static void fh_set_inclination_distance(RS232Message& message);

private slots:
    void onBusDisconnected();
    void onSiblingOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);
    void onCrawlerPitch(double dPitch);
    void onMeterCounterChanged(double dMeterValue);
    void onSatMeterCounterChanged(double dMeterValue);
    void onAbsMeterCounterChanged(double dMeterValue);
    void onMeterCounterChanged(int iHours, int iMinutes, int iSeconds, int iFrames);
    void onLocaleChanged(QString cLocaleCode);
    void onCameraPanPos(int iPanPos);
    void onCameraTiltPos(int iTiltPos);
    void onExtModuleObjectTemperature(double);
    void onCameraTemperature(int);
    void onCrawlerTemperature(int);
    void onSensor3DData(double dDistCtr, double dXValue, double dYValue, double dZValue);

private:
    RS232Handler();
    void connect_signals_by_name();

    // Shared by the handler families.
    // A query's reply: the request itself, with the reply bytes as its data.
    static void send_reply(RS232Message& request, const QByteArray& data);
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

    qint32 m_iVideoCounterHours;
    qint32 m_iVideoCounterMinutes;
    qint32 m_iVideoCounterSeconds;
    qint32 m_iVideoCounterFrames;

    float m_fCameraPanPos;
    float m_fCameraTiltPos;
    float m_fExtModuleObjectTemperature;
    qint32 m_iCameraTemperature;
    qint32 m_iCrawlerTemperature;

    double m_d3DDistanceCounter;
    double m_d3DX;
    double m_d3DY;
    double m_d3DZ;

    static RS232Handler* m_pcInstance;
};

#endif
