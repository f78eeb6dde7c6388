// Video counter, 3D measurement and inclination commands end to end: the
// calls the overlay and device bus services receive, the counter read back
// (with its 99 marker when the overlay service fails), the sensor data reply
// and what the inclination commands do to the inclination value.
#include "TestRig.h"

#include <QLocale>
#include <QtEndian>
#include <QtTest>

namespace {
const quint8 ACTION = 0;
const quint8 QUERY = 1;
const quint8 SETTING = 2;
const quint8 VIDEOCOUNTER = 0x70;
const quint8 INCLINATION_VALUE = 0xFB;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// A double as the simulator writes it into its call log.
QString logged(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}
}

class TestMeasurement : public QObject
{
    Q_OBJECT
    TestRig m_rig;

    // Emits a crawler pitch and waits until the inclination value is about the expected gradient.
    bool pitchGives(double pitch, float expected)
    {
        const auto shows = [&] {
            const QByteArray value = m_rig.query(INCLINATION_VALUE, QUERY);
            return value.size() == 4 && qAbs(qFromBigEndian<float>(value.constData()) - expected) < 0.001f;
        };
        return m_rig.emitSignal("crawler_pitch", { pitch }) && QTest::qWaitFor(shows, 3000);
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    // Frames that only call the services: the calls arrive, nothing comes back.
    void busCalls_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<quint8>("group");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QStringList>("expected");
        const QStringList secondStart { "is_videocounter_active()", "videocounter_start(1)" };
        QTest::newRow("video start") << quint8(0x73) << ACTION << QByteArray() << QStringList { secondStart[1] };
        QTest::newRow("video stop") << quint8(0x74) << ACTION << QByteArray() << QStringList { "videocounter_stop(1)" };
        // 0x75 asks for the activity but starts whatever the answer.
        QTest::newRow("0x75 while stopped") << quint8(0x75) << ACTION << QByteArray() << secondStart;
        QTest::newRow("0x75 while running") << quint8(0x75) << ACTION << QByteArray() << secondStart;
        QTest::newRow("video set") << VIDEOCOUNTER << SETTING << hex("ff80030a")
                                   << QStringList { "set_videocounter(1, 255, 128, 3, 10)" };
        QTest::newRow("video set, short") << VIDEOCOUNTER << SETTING << hex("0102")
                                          << QStringList { "set_videocounter(1, 1, 2, 0, 0)" };
        QTest::newRow("3D 0xD4") << quint8(0xD4) << ACTION << QByteArray() << QStringList { "set_sensor_3d_cmd(1, 1)" };
        QTest::newRow("3D 0xD5, data ignored") << quint8(0xD5) << ACTION << hex("0909")
                                               << QStringList { "set_sensor_3d_cmd(1, 2)" };
        QTest::newRow("3D 0xD6") << quint8(0xD6) << ACTION << QByteArray() << QStringList { "set_sensor_3d_cmd(1, 0)" };
        QTest::newRow("position") << quint8(0xD4) << SETTING << hex("3ff8000000000000c002000000000000 4202a05f20000000")
                                  << QStringList { "set_sensor_3d_start_position(1.5, -2.25, " + logged(1e10) + ')' };
        // Missing bytes read as 0: the second double is 0x4008 followed by zeros.
        QTest::newRow("position, short") << quint8(0xD4) << SETTING << hex("3ff8000000000000 4008")
                                         << QStringList { "set_sensor_3d_start_position(1.5, 3, 0)" };
        // Floats widened to doubles, not re-read as decimal text.
        QTest::newRow("orientation") << quint8(0xD5) << SETTING << hex("3dcccccd c2b48000")
                                     << QStringList { "set_sensor_3d_start_orientation(" + logged(0.1f) + ", -90.25)" };
        QTest::newRow("orientation, short") << quint8(0xD5) << SETTING << hex("3f000000 3f80")
                                            << QStringList { "set_sensor_3d_start_orientation(0.5, 1)" };
    }
    void busCalls()
    {
        QFETCH(quint8, command);
        QFETCH(quint8, group);
        QFETCH(QByteArray, request);
        QFETCH(QStringList, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(command, group, request));
        QVERIFY2(m_rig.waitForCall(expected.last()), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), expected);
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void videoCounterRead_data()
    {
        QTest::addColumn<QVariant>("answer"); // none: the overlay service is off the bus
        QTest::addColumn<QByteArray>("expected");
        // The lead value is ignored, each counter value goes out as its low byte.
        QTest::newRow("running") << QVariant(QVariantList { 7, 2, 300, 15, 12 }) << hex("022c0f0c");
        QTest::newRow("four values") << QVariant(QVariantList { 1, 2, 3, 4 }) << hex("63636363");
        QTest::newRow("empty") << QVariant(QVariantList()) << hex("63636363");
        QTest::newRow("service absent") << QVariant() << hex("63636363");
    }
    void videoCounterRead()
    {
        QFETCH(QVariant, answer);
        QFETCH(QByteArray, expected);
        if (answer.isValid()) {
            m_rig.setValue("videocounter", answer);
            QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), expected);
            return;
        }
        m_rig.sim("set_service_present", { "local.vemo.quorend", false });
        // Start and set go out unseen and keep the line working.
        const bool sent = m_rig.send(0x75, ACTION) && m_rig.send(VIDEOCOUNTER, SETTING, hex("01020304"));
        const QByteArray reply = m_rig.query(VIDEOCOUNTER, QUERY);
        m_rig.sim("set_service_present", { "local.vemo.quorend", true });
        QVERIFY(sent);
        QCOMPARE(reply, expected);
    }

    void sensorData()
    {
        QCOMPARE(m_rig.query(0xD4, QUERY), QByteArray(28, '\0'));
        // Signalled: distance counter, X, Y, Z; replied: X, Y, Z, distance.
        QVERIFY(m_rig.emitSignal("sensor_3d_data", { 2.5, 1.0, 0.0, -1.0 }));
        QByteArray expected = hex("3ff0000000000000 0000000000000000 bff0000000000000 40200000");
        QVERIFY(QTest::qWaitFor([&] { return m_rig.query(0xD4, QUERY) == expected; }, 3000));
        // Only the distance counter is narrowed to a float; request data are ignored.
        QVERIFY(m_rig.emitSignal("sensor_3d_data", { 0.1, 0.1, 1e300, -2.0 }));
        expected = hex("3fb999999999999a 7e37e43c8800759c c000000000000000 3dcccccd");
        QVERIFY(QTest::qWaitFor([&] { return m_rig.query(0xD4, QUERY, hex("0102")) == expected; }, 3000));
    }

    void initResetsInclinationUntilNextPitch()
    {
        QVERIFY(pitchGives(45.0, 100.0f));
        QVERIFY(m_rig.send(0x24, ACTION));
        QCOMPARE(m_rig.query(INCLINATION_VALUE, QUERY), hex("00000000"));
        QCOMPARE(m_rig.query(0xB1, QUERY, hex("00")), hex("0000000000"));
        QVERIFY(pitchGives(30.0, 57.735f)); // tan(30 degrees) = 0.57735
    }

    // Direction, status and distance only move the inclination mark, which no
    // query reads; of the three, the direction command alone logs nothing.
    void inclinationSettingsKeepValue()
    {
        QVERIFY(pitchGives(45.0, 100.0f));
        const QByteArray value = m_rig.query(INCLINATION_VALUE, QUERY);
        const int logStart = m_rig.serviceLog().size();
        QVERIFY(m_rig.send(0x21, ACTION) && m_rig.send(0x22, ACTION) && m_rig.send(0x20, SETTING, hex("3412")));
        QCOMPARE(m_rig.readAll(), QByteArray());
        QCOMPARE(m_rig.query(INCLINATION_VALUE, QUERY), value);
        QVERIFY(m_rig.waitForLog("RS232Handler::fh_set_inclination_distance"));
        const QString log = m_rig.serviceLog().mid(logStart);
        QVERIFY2(log.count("fh_set_inclination") == 2 && log.contains("fh_set_inclination_status"), qPrintable(log));
    }
};

QTEST_GUILESS_MAIN(TestMeasurement)
#include "test_measurement.moc"
