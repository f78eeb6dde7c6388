// Device data and values end to end: values the device bus service pushed as
// signals, values asked for on demand, the inclination derived from the
// crawler pitch, the analogue converter channels and the camera module type.
#include "TestRig.h"

#include <QtEndian>
#include <QtTest>
#include <cstring>
#include <functional>

namespace {
const quint8 QUERY = 1;
const quint8 DEVICE_DATA = 0x11;
const quint8 ADCONVERTER = 0xB1;
const quint8 INCLINATION_VALUE = 0xFB;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

float floatFrom(const QByteArray& bytes)
{
    if (bytes.size() != 4)
        return -1.0f;
    const quint32 bits = qFromBigEndian<quint32>(bytes.constData());
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
}

class TestDeviceValues : public QObject
{
    Q_OBJECT

private:
    TestRig m_rig;

    // Signals and serial frames reach the service on different paths: ask
    // again until the signalled value shows.
    QByteArray queryUntil(quint8 command, const std::function<bool(const QByteArray&)>& done,
                          const QByteArray& data = {})
    {
        QByteArray reply;
        static_cast<void>(QTest::qWaitFor([&] { return done(reply = m_rig.query(command, QUERY, data)); }, 3000));
        return reply;
    }
    QByteArray queryUntil(quint8 command, const QByteArray& expected)
    {
        return queryUntil(command, [&](const QByteArray& reply) { return reply == expected; });
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    void beforeAnySignal_data()
    {
        QTest::addColumn<quint8>("command");
        for (quint8 command : { 0xC0, 0xC6, 0xF0, 0xF3, 0xF5, 0xF6, 0xFB })
            QTest::addRow("0x%X", command) << command;
    }
    void beforeAnySignal()
    {
        QFETCH(quint8, command);
        QCOMPARE(m_rig.query(command, QUERY), hex("00000000"));
    }

    void valuesFromSignals_data()
    {
        QTest::addColumn<QString>("signal");
        QTest::addColumn<QVariant>("argument");
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("camera temperature 35") << "camera_temperature" << QVariant(35) << quint8(0xF6) << hex("420c0000");
        QTest::newRow("crawler temperature -5") << "crawler_temperature" << QVariant(-5) << quint8(0xC0)
                                                << hex("c0a00000");
        QTest::newRow("pan 90") << "camera_pan_pos" << QVariant(90) << quint8(0xF0) << hex("42b40000");
        QTest::newRow("camera 2 pan wins") << "camera2_pan_pos" << QVariant(45) << quint8(0xF0) << hex("42340000");
        QTest::newRow("tilt -30") << "camera_tilt_pos" << QVariant(-30) << quint8(0xF3) << hex("c1f00000");
        QTest::newRow("camera 2 tilt wins") << "camera2_tilt_pos" << QVariant(10) << quint8(0xF3) << hex("41200000");
        QTest::newRow("object temperature 21.5") << "extmodule_object_temperature" << QVariant(21.5) << quint8(0xF5)
                                                 << hex("41ac0000");
        // Narrowed to single precision.
        QTest::newRow("object temperature 0.1") << "extmodule_object_temperature" << QVariant(0.1) << quint8(0xF5)
                                                << hex("3dcccccd");
    }
    void valuesFromSignals()
    {
        QFETCH(QString, signal);
        QFETCH(QVariant, argument);
        QFETCH(quint8, command);
        QFETCH(QByteArray, expected);
        QVERIFY(m_rig.emitSignal(signal, { argument }));
        QCOMPARE(queryUntil(command, expected), expected);
    }

    void valuesFromBusCalls_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QString>("call");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("crawler pressure 3") << "crawler_pressure1" << QVariant(3) << quint8(0xC2)
                                            << "get_crawler_pressure1()" << hex("40400000");
        QTest::newRow("camera pressure 7") << "camera_pressure1" << QVariant(7) << quint8(0xF9)
                                           << "get_camera_pressure1()" << hex("40e00000");
        QTest::newRow("roll 12.25") << "crawler_roll" << QVariant(12.25) << quint8(0xC4) << "get_crawler_roll()"
                                    << hex("41440000");
        QTest::newRow("roll -0.1 narrowed") << "crawler_roll" << QVariant(-0.1) << quint8(0xC4)
                                            << "get_crawler_roll()" << hex("bdcccccd");
    }
    void valuesFromBusCalls()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, value);
        QFETCH(quint8, command);
        QFETCH(QString, call);
        QFETCH(QByteArray, expected);
        m_rig.setValue(name, value);
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(command, QUERY), expected);
        QCOMPARE(m_rig.calls(), QStringList { call });
    }

    void unusedValueIsZero()
    {
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(0xC6, QUERY), hex("00000000"));
        QCOMPARE(m_rig.calls(), QStringList());
    }

    void absentDeviceServiceReadsZero()
    {
        m_rig.setValue("crawler_pressure1", 3);
        m_rig.setValue("crawler_roll", 1.0);
        m_rig.sim("set_service_present", { "local.vemo.travend", false });
        const QByteArray pressure = m_rig.query(0xC2, QUERY);
        const QByteArray roll = m_rig.query(0xC4, QUERY);
        const QByteArray moduleType = m_rig.query(DEVICE_DATA, QUERY, hex("0101"));
        m_rig.sim("set_service_present", { "local.vemo.travend", true });
        QCOMPARE(pressure, hex("00000000"));
        QCOMPARE(roll, hex("00000000"));
        QCOMPARE(moduleType, hex("01010000"));
    }

    // The pitch in degrees becomes the gradient in percent: 45 degrees, 100 %.
    void inclinationFromPitch()
    {
        QVERIFY(m_rig.emitSignal("crawler_pitch", { 45.0 }));
        const auto near100 = [](const QByteArray& reply) { return qAbs(floatFrom(reply) - 100.0f) < 0.001f; };
        const QByteArray value = queryUntil(INCLINATION_VALUE, near100);
        QVERIFY2(near100(value), value.toHex(' ').constData());

        // Converter channel 0 is the same value; an empty request is channel 0.
        QCOMPARE(m_rig.query(ADCONVERTER, QUERY, hex("00")), hex("00") + value);
        QCOMPARE(m_rig.query(ADCONVERTER, QUERY), hex("00") + value);
        QCOMPARE(m_rig.query(ADCONVERTER, QUERY, hex("03")), hex("0300000000"));
        QCOMPARE(m_rig.query(ADCONVERTER, QUERY, hex("ff")), hex("ff00000000"));

        QVERIFY(m_rig.emitSignal("crawler_pitch", { -45.0 }));
        const auto nearMinus100 = [](const QByteArray& reply) { return qAbs(floatFrom(reply) + 100.0f) < 0.001f; };
        QVERIFY(nearMinus100(queryUntil(INCLINATION_VALUE, nearMinus100)));
        QVERIFY(m_rig.emitSignal("crawler_pitch", { 0.0 }));
        QCOMPARE(queryUntil(INCLINATION_VALUE, hex("00000000")), hex("00000000"));
        QCOMPARE(m_rig.query(ADCONVERTER, QUERY, hex("00")), hex("0000000000"));
    }

    void deviceData_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<bool>("asksBus");
        // The module type is the low byte of the answer 0x1234.
        QTest::newRow("camera module") << hex("0101") << hex("01010034") << true;
        QTest::newRow("unknown selector") << hex("0201") << hex("02010100") << false;
        QTest::newRow("empty request") << QByteArray() << hex("00000100") << false;
        QTest::newRow("one byte") << hex("01") << hex("01000100") << false;
        QTest::newRow("extra bytes ignored") << hex("010199") << hex("01010034") << true;
    }
    void deviceData()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, expected);
        QFETCH(bool, asksBus);
        m_rig.setValue("camera_module_type", 0x1234);
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(DEVICE_DATA, QUERY, request), expected);
        QCOMPARE(m_rig.calls(), asksBus ? QStringList { "get_camera_module_type()" } : QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDeviceValues)
#include "test_device_values.moc"
