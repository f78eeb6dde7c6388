// Measured values end to end: the meter counters in metres or feet, device
// values pushed as signals or asked for on the bus, the inclination derived
// from the crawler pitch, the converter channels and the camera module type.
#include "TestRig.h"

#include <QLocale>
#include <QtEndian>
#include <QtTest>

namespace {
const quint8 QUERY = 1;
const quint8 SETTING = 2;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}
}

class TestDeviceValues : public QObject
{
    Q_OBJECT
    TestRig m_rig;

    // Signals and serial frames reach the service on different paths: ask
    // again until the signalled value shows.
    QByteArray queryUntil(quint8 command, const QByteArray& expected)
    {
        QByteArray reply;
        static_cast<void>(QTest::qWaitFor([&] { return (reply = m_rig.query(command, QUERY)) == expected; }, 3000));
        return reply;
    }

    // Switches the locale and waits until counter 1 at 1.0 m reads in the new unit.
    bool useLocale(const QString& code)
    {
        m_rig.sim("set_locale", { code });
        const QByteArray one = code == "en_US" ? hex("4051eb85") : hex("3f800000");
        return m_rig.emitSignal("locale_changed", { code }) && m_rig.emitSignal("meter_counter_changed", { 1.0 })
            && queryUntil(0x30, one) == one;
    }

    // Emits a crawler pitch and waits until the inclination value is about the expected gradient.
    bool pitchGives(double pitch, float expected)
    {
        const auto shows = [&] {
            const QByteArray value = m_rig.query(0xFB, QUERY);
            return value.size() == 4 && qAbs(qFromBigEndian<float>(value.constData()) - expected) < 0.001f;
        };
        return m_rig.emitSignal("crawler_pitch", { pitch }) && QTest::qWaitFor(shows, 3000);
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    void values_data()
    {
        // A signal's name, or get_<value> for a value the device bus service answers on demand.
        QTest::addColumn<QString>("source");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("0xFB before any signal") << "" << QVariant() << quint8(0xFB) << hex("00000000");
        QTest::newRow("0xC6 stands for nothing") << "" << QVariant() << quint8(0xC6) << hex("00000000");
        QTest::newRow("camera temperature") << "camera_temperature" << QVariant(35) << quint8(0xF6) << hex("420c0000");
        QTest::newRow("crawler temperature")
            << "crawler_temperature" << QVariant(-5) << quint8(0xC0) << hex("c0a00000");
        QTest::newRow("pan") << "camera_pan_pos" << QVariant(90) << quint8(0xF0) << hex("42b40000");
        QTest::newRow("camera 2 pan wins") << "camera2_pan_pos" << QVariant(45) << quint8(0xF0) << hex("42340000");
        QTest::newRow("tilt") << "camera_tilt_pos" << QVariant(-30) << quint8(0xF3) << hex("c1f00000");
        QTest::newRow("object temperature narrowed")
            << "extmodule_object_temperature" << QVariant(0.1) << quint8(0xF5) << hex("3dcccccd");
        QTest::newRow("crawler pressure") << "get_crawler_pressure1" << QVariant(3) << quint8(0xC2) << hex("40400000");
        QTest::newRow("camera pressure") << "get_camera_pressure1" << QVariant(7) << quint8(0xF9) << hex("40e00000");
        QTest::newRow("roll narrowed") << "get_crawler_roll" << QVariant(-0.1) << quint8(0xC4) << hex("bdcccccd");
    }
    void values()
    {
        QFETCH(QString, source);
        QFETCH(QVariant, value);
        QFETCH(quint8, command);
        QFETCH(QByteArray, expected);
        const bool onDemand = source.startsWith("get_");
        if (onDemand)
            m_rig.setValue(source.mid(4), value);
        else if (!source.isEmpty())
            QVERIFY(m_rig.emitSignal(source, { value }));
        m_rig.clearCalls();
        QCOMPARE(queryUntil(command, expected), expected);
        QCOMPARE(m_rig.calls(), onDemand ? QStringList { source + "()" } : QStringList());
    }

    void absentDeviceServiceReadsZero()
    {
        m_rig.setValue("crawler_pressure1", 3);
        m_rig.setValue("crawler_roll", 1.0);
        m_rig.sim("set_service_present", { "local.vemo.travend", false });
        const QByteArray replies =
            m_rig.query(0xC2, QUERY) + m_rig.query(0xC4, QUERY) + m_rig.query(0x11, QUERY, hex("0101"));
        m_rig.sim("set_service_present", { "local.vemo.travend", true });
        QCOMPARE(replies, hex("00000000 00000000 01010000"));
    }

    // The pitch in degrees becomes the gradient in percent: 45 degrees, 100 %.
    void inclinationFromPitch()
    {
        QVERIFY(pitchGives(45.0, 100.0f));
        // Converter channel 0 is the same value; an empty request is channel 0.
        const QByteArray channel0 = m_rig.query(0xB1, QUERY, hex("00"));
        QCOMPARE(channel0, hex("00") + m_rig.query(0xFB, QUERY));
        QCOMPARE(m_rig.query(0xB1, QUERY), channel0);
        QCOMPARE(m_rig.query(0xB1, QUERY, hex("03")), hex("0300000000"));
        QVERIFY(pitchGives(-45.0, -100.0f));
    }

    // The module type is the low byte of the answer; other selectors answer status 1 without a bus call.
    void deviceData()
    {
        m_rig.setValue("camera_module_type", 0x1234);
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(0x11, QUERY, hex("0101")), hex("01010034"));
        QCOMPARE(m_rig.query(0x11, QUERY, hex("0201")), hex("02010100"));
        QCOMPARE(m_rig.query(0x11, QUERY), hex("00000100"));
        QCOMPARE(m_rig.calls(), QStringList { "get_camera_module_type()" });
    }

    // Counter 3 is read under 0x3B but set under 0x3C.
    void counterQueries_data()
    {
        QTest::addColumn<QString>("signal");
        QTest::addColumn<quint8>("query");
        QTest::newRow("counter 1") << "meter_counter_changed" << quint8(0x30);
        QTest::newRow("counter 2") << "meter_counter_sat_changed" << quint8(0x36);
        QTest::newRow("counter 3") << "meter_counter_abs_changed" << quint8(0x3B);
    }
    void counterQueries()
    {
        QFETCH(QString, signal);
        QFETCH(quint8, query);
        QVERIFY(useLocale("en_US"));
        QVERIFY(m_rig.emitSignal(signal, { 12.5 }));
        // 12.5 m x 3.28 = 41.0 ft.
        QCOMPARE(queryUntil(query, hex("42240000")), hex("42240000"));
        QVERIFY(useLocale("de_DE"));
        QVERIFY(m_rig.emitSignal(signal, { 12.5 }));
        QCOMPARE(queryUntil(query, hex("41480000")), hex("41480000"));
    }

    void counterSettings_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<quint8>("setting");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("expected");
        // Feet become metres in single precision, then travel as a double.
        const QString tenFt = QString::number(double(float(10.0 / 3.28)), 'g', QLocale::FloatingPointShortest);
        QTest::newRow("3 metric") << "de_DE" << quint8(0x3C) << hex("41480000") << "set_meter_counter_abs(12.5)";
        QTest::newRow("short: missing bytes 0") << "de_DE" << quint8(0x30) << hex("4148") << "set_meter_counter(12.5)";
        QTest::newRow("empty") << "de_DE" << quint8(0x36) << QByteArray() << "set_meter_counter_sat(0)";
        QTest::newRow("2 feet") << "en_US" << quint8(0x36) << hex("41200000") << "set_meter_counter_sat(" + tenFt + ')';
        QTest::newRow("3 feet") << "en_US" << quint8(0x3C) << hex("41200000") << "set_meter_counter_abs(" + tenFt + ')';
    }
    void counterSettings()
    {
        QFETCH(QString, locale);
        QFETCH(quint8, setting);
        QFETCH(QByteArray, data);
        QFETCH(QString, expected);
        QVERIFY(useLocale(locale));
        m_rig.clearCalls();
        QVERIFY(m_rig.send(0x3B, SETTING, data)); // no setting: counter 3 is set under 0x3C
        QVERIFY(m_rig.send(setting, SETTING, data));
        QVERIFY2(m_rig.waitForCall(expected), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), QStringList { expected });
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void constantsNeverInFeet()
    {
        QVERIFY(useLocale("en_US"));
        // Wheel length 200.0 under each counter's id; resolution 20, two zero bytes in the integer form.
        QCOMPARE(m_rig.query(0x34, QUERY) + m_rig.query(0x3D, QUERY), hex("43480000 43480000"));
        QCOMPARE(m_rig.query(0x3A, QUERY), hex("0000"));
    }
};

QTEST_GUILESS_MAIN(TestDeviceValues)
#include "test_device_values.moc"
