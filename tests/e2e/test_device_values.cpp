// Measured values end to end: meter counters in metres or feet, device values, device data.
#include "TestRig.h"

#include <QtTest>

namespace {
const quint8 QUERY = 1, SETTING = 2;
QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
}

class TestDeviceValues : public QObject
{
    Q_OBJECT
    TestRig m_rig;

    // Signals and serial frames reach the service on different paths: ask again until the value shows.
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

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    void values_data()
    {
        // A signal's name, or get_<value> for a value the device bus service answers on demand.
        QTest::addColumn<QString>("source");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("0xC6 stands for nothing") << "" << QVariant() << quint8(0xC6) << hex("00000000");
        QTest::newRow("temperature") << "crawler_temperature" << QVariant(-5) << quint8(0xC0) << hex("c0a00000");
        QTest::newRow("camera 2 pan wins") << "camera2_pan_pos" << QVariant(45) << quint8(0xF0) << hex("42340000");
        QTest::newRow("narrowed") << "extmodule_object_temperature" << QVariant(0.1) << quint8(0xF5) << hex("3dcccccd");
        QTest::newRow("crawler pressure") << "get_crawler_pressure1" << QVariant(3) << quint8(0xC2) << hex("40400000");
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

    // The module type is the low byte of the answer; other selectors answer status 1 without a bus call.
    // Without the device bus service every value reads 0.
    void deviceDataAndAbsentService()
    {
        m_rig.setValue("camera_module_type", 0x1234);
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(0x11, QUERY, hex("0101")), hex("01010034"));
        QCOMPARE(m_rig.query(0x11, QUERY, hex("0201")) + m_rig.query(0x11, QUERY), hex("02010100 00000100"));
        QCOMPARE(m_rig.calls(), QStringList { "get_camera_module_type()" });
        m_rig.setValue("crawler_pressure1", 3);
        m_rig.setValue("crawler_roll", 1.0);
        m_rig.sim("set_service_present", { "local.vemo.travend", false });
        const QByteArray replies =
            m_rig.query(0xC2, QUERY) + m_rig.query(0xC4, QUERY) + m_rig.query(0x11, QUERY, hex("0101"));
        m_rig.sim("set_service_present", { "local.vemo.travend", true });
        QCOMPARE(replies, hex("00000000 00000000 01010000"));
    }

    // Counter 3 is read under 0x3B but set under 0x3C. Wheel length and resolution are never in feet.
    void counterQueries_data()
    {
        QTest::addColumn<QString>("signal");
        QTest::addColumn<quint8>("query");
        QTest::addColumn<quint8>("wheelLength");
        QTest::addColumn<quint8>("resolution");
        QTest::newRow("counter 1") << "meter_counter_changed" << quint8(0x30) << quint8(0x34) << quint8(0x35);
        QTest::newRow("counter 2") << "meter_counter_sat_changed" << quint8(0x36) << quint8(0x39) << quint8(0x3A);
        QTest::newRow("counter 3") << "meter_counter_abs_changed" << quint8(0x3B) << quint8(0x3D) << quint8(0x3E);
    }
    void counterQueries()
    {
        QFETCH(QString, signal);
        QFETCH(quint8, query);
        QFETCH(quint8, wheelLength);
        QFETCH(quint8, resolution);
        QVERIFY(useLocale("en_US") && m_rig.emitSignal(signal, { 12.5 }));
        QCOMPARE(queryUntil(query, hex("42240000")), hex("42240000")); // 12.5 m x 3.28 = 41.0 ft
        // 200.0; the integer 20 in the two-byte integer form is two zero bytes.
        QCOMPARE(m_rig.query(wheelLength, QUERY) + m_rig.query(resolution, QUERY), hex("43480000 0000"));
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
        QTest::newRow("2 feet") << "en_US" << quint8(0x36) << hex("41200000") << "set_meter_counter_sat(" + tenFt + ')';
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
        QVERIFY2(m_rig.nothingMore(), qPrintable(m_rig.lastError()));
    }
};

QTEST_GUILESS_MAIN(TestDeviceValues)
#include "test_device_values.moc"
