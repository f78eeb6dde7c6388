// SPDX-License-Identifier: BSD-2-Clause
// Measured values: meter counters in metres or feet, device values and data, video counter, 3D measurement
// and inclination.
#include "HandlerFixture.h"

#include <QtEndian>
#include <QtTest>

class TestDeviceValues : public QObject
{
    Q_OBJECT
    HandlerFixture fixture;

private slots:
    void initTestCase() { TALVOX_HANDLERS_START(fixture); }

    // Frames that only call the services: the calls ("; " between two) arrive, nothing comes back.
    void busCalls_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<quint8>("group");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("expected");
        const QString start = "is_videocounter_active(); videocounter_start(1)";
        QTest::newRow("video start") << quint8(0x73) << ACTION << QByteArray() << "videocounter_start(1)";
        QTest::newRow("video stop") << quint8(0x74) << ACTION << QByteArray() << "videocounter_stop(1)";
        // 0x75 asks for the activity but starts whatever the answer.
        QTest::newRow("0x75 start") << quint8(0x75) << ACTION << QByteArray() << start;
        QTest::newRow("set") << quint8(0x70) << SETTING << hex("ff80030a") << "set_videocounter(1, 255, 128, 3, 10)";
        QTest::newRow("set, short") << quint8(0x70) << SETTING << hex("0102") << "set_videocounter(1, 1, 2, 0, 0)";
        QTest::newRow("3D 0xD6, data ignored") << quint8(0xD6) << ACTION << hex("0909") << "set_sensor_3d_cmd(1, 0)";
        QTest::newRow("position") << quint8(0xD4) << SETTING << hex("3ff8000000000000c002000000000000 4202a05f20000000")
                                  << "set_sensor_3d_start_position(1.5, -2.25, 1e+10)";
        // Missing bytes read as 0: the second double is 0x4008 followed by zeros.
        QTest::newRow("position, short") << quint8(0xD4) << SETTING << hex("3ff8000000000000 4008")
                                         << "set_sensor_3d_start_position(1.5, 3, 0)";
        // Floats widened to doubles (0.1f: 0.10000000149011612), not re-read as decimal text.
        QTest::newRow("orientation") << quint8(0xD5) << SETTING << hex("3dcccccd c2b48000")
                                     << "set_sensor_3d_start_orientation(0.10000000149011612, -90.25)";
    }
    void busCalls()
    {
        QFETCH(quint8, command);
        QFETCH(quint8, group);
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        fixture.clearCalls();
        QVERIFY2(fixture.send(command, group, request), qPrintable(fixture.lastError()));
        QCOMPARE(fixture.calls(), expected.split("; "));
    }

    // Signalled: distance counter, X, Y, Z; replied: X, Y, Z as doubles, the distance narrowed to a float.
    void sensorData()
    {
        QCOMPARE(fixture.query(0xD4, QUERY), QByteArray(28, '\0'));
        QVERIFY(fixture.emitSignal("sensor_3d_data", { 0.1, 0.1, 1e300, -2.0 }));
        const QByteArray expected = hex("3fb999999999999a 7e37e43c8800759c c000000000000000 3dcccccd"); // data ignored
        QCOMPARE(fixture.query(0xD4, QUERY, hex("0102")), expected);
    }

    // The pitch in degrees becomes the gradient in percent (45 degrees, 100 %), also converter channel 0.
    // Direction, status and distance only move the inclination mark, which no query reads;
    // of the three, the direction command alone logs nothing. Init resets the value until the next pitch.
    void inclination()
    {
        const auto pitchGives = [&](double pitch, float expected) { // the value (0xFB) is about the gradient
            const bool emitted = fixture.emitSignal("crawler_pitch", { pitch });
            const QByteArray value = fixture.query(0xFB, QUERY);
            return emitted && value.size() == 4 && qAbs(qFromBigEndian<float>(value.constData()) - expected) < 0.001f;
        };
        QVERIFY(pitchGives(45.0, 100.0f));
        const QByteArray value = fixture.query(0xFB, QUERY);
        fixture.takeLog();
        QVERIFY(fixture.send(0x21, ACTION) && fixture.send(0x22, ACTION) && fixture.send(0x20, SETTING, hex("3412")));
        const QString log = fixture.takeLog().join('\n');
        QVERIFY2(log.count("fh_set_inclination") == 2 && log.contains("fh_set_inclination_status"), qPrintable(log));
        const QByteArray channel0 = fixture.query(0xB1, QUERY, hex("00"));
        QCOMPARE(channel0, hex("00") + value);
        QCOMPARE(fixture.query(0xB1, QUERY), channel0); // an empty request is channel 0
        QCOMPARE(fixture.query(0xB1, QUERY, hex("03")), hex("0300000000"));
        QVERIFY(fixture.send(0x24, ACTION));
        QCOMPARE(fixture.query(0xFB, QUERY) + fixture.query(0xB1, QUERY, hex("00")), hex("00000000 0000000000"));
        QVERIFY(pitchGives(-30.0, -57.735f)); // tan(30 degrees) = 0.57735
    }

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
        // The lead value is ignored, each counter value goes out as its low byte; 99 marks a failure (a missing
        // overlay too: test_sibling_faults).
        const QVariantList counter { 7, 2, 300, 15, 12 }, tooShort { 1, 2, 3, 4 };
        QTest::newRow("video counter") << "get_videocounter" << QVariant(counter) << quint8(0x70) << hex("022c0f0c");
        QTest::newRow("video counter, 4 values")
            << "get_videocounter" << QVariant(tooShort) << quint8(0x70) << hex("63636363");
    }
    void values()
    {
        QFETCH(QString, source);
        QFETCH(QVariant, value);
        QFETCH(quint8, command);
        QFETCH(QByteArray, expected);
        const bool onDemand = source.startsWith("get_");
        if (onDemand)
            fixture.setValue(source.mid(4), value);
        else if (!source.isEmpty())
            QVERIFY(fixture.emitSignal(source, { value }));
        fixture.clearCalls();
        QCOMPARE(fixture.query(command, QUERY), expected);
        QCOMPARE(fixture.calls(), onDemand ? QStringList { source + "()" } : QStringList());
    }

    // The module type is the low byte of the answer; other selectors answer status 1 without a bus call.
    // Without the device bus service every value reads 0.
    void deviceDataAndAbsentService()
    {
        fixture.setValue("camera_module_type", 0x1234);
        fixture.clearCalls();
        QCOMPARE(fixture.query(0x11, QUERY, hex("0101")), hex("01010034"));
        QCOMPARE(fixture.query(0x11, QUERY, hex("0201")) + fixture.query(0x11, QUERY), hex("02010100 00000100"));
        QCOMPARE(fixture.calls(), QStringList { "get_camera_module_type()" });
        fixture.setValue("crawler_pressure1", 3);
        fixture.sim("set_service_present", { "local.vemo.travend", false });
        const QByteArray replies = fixture.query(0xC2, QUERY) + fixture.query(0x11, QUERY, hex("0101"));
        fixture.sim("set_service_present", { "local.vemo.travend", true });
        QCOMPARE(replies, hex("00000000 01010000"));
    }

    // Counter 3 is read under 0x3B but set under 0x3C; 0x3B sets nothing. Wheel length and resolution (the next id)
    // are never in feet. A setting in feet becomes metres in single precision, then travels as a double.
    void counters_data()
    {
        QTest::addColumn<QString>("counter"); // its signal <counter>_changed, its setter set_<counter>
        QTest::addColumn<quint8>("query");
        QTest::addColumn<quint8>("setting");
        QTest::addColumn<quint8>("wheelLength");
        QTest::newRow("counter 1") << "meter_counter" << quint8(0x30) << quint8(0x30) << quint8(0x34);
        QTest::newRow("counter 2") << "meter_counter_sat" << quint8(0x36) << quint8(0x36) << quint8(0x39);
        QTest::newRow("counter 3") << "meter_counter_abs" << quint8(0x3B) << quint8(0x3C) << quint8(0x3D);
    }
    void counters()
    {
        QFETCH(QString, counter);
        QFETCH(quint8, query);
        QFETCH(quint8, setting);
        QFETCH(quint8, wheelLength);
        QVERIFY(fixture.emitSignal("locale_changed", { "en_US" })
                && fixture.emitSignal(counter + "_changed", { 12.5 }));
        QCOMPARE(fixture.query(query, QUERY), hex("42240000")); // 12.5 m x 3.28 = 41.0 ft
        // 200.0; the integer 20 in the two-byte integer form is two zero bytes.
        QCOMPARE(fixture.query(wheelLength, QUERY) + fixture.query(wheelLength + 1, QUERY), hex("43480000 0000"));
        fixture.clearCalls();
        const QString expected = "set_" + counter + "(3.0487804412841797)"; // 10 ft: float(10 / 3.28)
        QVERIFY(fixture.send(0x3B, SETTING, hex("41200000")) && fixture.send(setting, SETTING, hex("41200000")));
        QCOMPARE(fixture.calls(), QStringList { expected });
    }
};

QTEST_GUILESS_MAIN(TestDeviceValues)
#include "test_device_values.moc"
