// Video counter, 3D measurement and inclination commands end to end.
#include "TestRig.h"

#include <QtTest>

namespace {
const quint8 ACTION = 0, QUERY = 1, SETTING = 2;
QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
// A double as the simulator writes it into its call log.
QString logged(double value) { return QString::number(value, 'g', QLocale::FloatingPointShortest); }
}

class TestMeasurement : public QObject
{
    Q_OBJECT
    TestRig m_rig;

    // Emits a crawler pitch and waits until the inclination value (0xFB) is about the expected gradient.
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
        QTest::newRow("0x75 while stopped") << quint8(0x75) << ACTION << QByteArray() << start;
        QTest::newRow("0x75 while running") << quint8(0x75) << ACTION << QByteArray() << start;
        QTest::newRow("set") << quint8(0x70) << SETTING << hex("ff80030a") << "set_videocounter(1, 255, 128, 3, 10)";
        QTest::newRow("set, short") << quint8(0x70) << SETTING << hex("0102") << "set_videocounter(1, 1, 2, 0, 0)";
        QTest::newRow("3D 0xD6, data ignored") << quint8(0xD6) << ACTION << hex("0909") << "set_sensor_3d_cmd(1, 0)";
        QTest::newRow("position") << quint8(0xD4) << SETTING << hex("3ff8000000000000c002000000000000 4202a05f20000000")
                                  << "set_sensor_3d_start_position(1.5, -2.25, " + logged(1e10) + ')';
        // Missing bytes read as 0: the second double is 0x4008 followed by zeros.
        QTest::newRow("position, short") << quint8(0xD4) << SETTING << hex("3ff8000000000000 4008")
                                         << "set_sensor_3d_start_position(1.5, 3, 0)";
        // Floats widened to doubles, not re-read as decimal text.
        QTest::newRow("orientation") << quint8(0xD5) << SETTING << hex("3dcccccd c2b48000")
                                     << "set_sensor_3d_start_orientation(" + logged(0.1f) + ", -90.25)";
    }
    void busCalls()
    {
        QFETCH(quint8, command);
        QFETCH(quint8, group);
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(command, group, request));
        QVERIFY2(m_rig.waitForCall(expected.section("; ", -1)), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), expected.split("; "));
        QVERIFY2(m_rig.nothingMore(), qPrintable(m_rig.lastError()));
    }

    // The lead value is ignored, each counter value goes out as its low byte; 99 marks a failure.
    void videoCounterRead()
    {
        m_rig.setValue("videocounter", QVariantList { 7, 2, 300, 15, 12 });
        QCOMPARE(m_rig.query(0x70, QUERY), hex("022c0f0c"));
        m_rig.setValue("videocounter", QVariantList { 1, 2, 3, 4 });
        QCOMPARE(m_rig.query(0x70, QUERY), hex("63636363"));
        m_rig.sim("set_service_present", { "local.vemo.quorend", false });
        // Start and set go out unseen and keep the line working.
        const bool sent = m_rig.send(0x75, ACTION) && m_rig.send(0x70, SETTING, hex("01020304"));
        const QByteArray reply = m_rig.query(0x70, QUERY);
        m_rig.sim("set_service_present", { "local.vemo.quorend", true });
        QVERIFY(sent);
        QCOMPARE(reply, hex("63636363"));
    }

    // Signalled: distance counter, X, Y, Z; replied: X, Y, Z as doubles, the distance narrowed to a float.
    void sensorData()
    {
        QCOMPARE(m_rig.query(0xD4, QUERY), QByteArray(28, '\0'));
        QVERIFY(m_rig.emitSignal("sensor_3d_data", { 0.1, 0.1, 1e300, -2.0 }));
        const QByteArray expected = hex("3fb999999999999a 7e37e43c8800759c c000000000000000 3dcccccd"); // data ignored
        QVERIFY(QTest::qWaitFor([&] { return m_rig.query(0xD4, QUERY, hex("0102")) == expected; }, 3000));
    }

    // The pitch in degrees becomes the gradient in percent (45 degrees, 100 %), also converter channel 0.
    // Direction, status and distance only move the inclination mark, which no query reads;
    // of the three, the direction command alone logs nothing. Init resets the value until the next pitch.
    void inclination()
    {
        QVERIFY(pitchGives(45.0, 100.0f));
        const QByteArray value = m_rig.query(0xFB, QUERY);
        const int logStart = m_rig.serviceLog().size();
        QVERIFY(m_rig.send(0x21, ACTION) && m_rig.send(0x22, ACTION) && m_rig.send(0x20, SETTING, hex("3412")));
        QVERIFY2(m_rig.nothingMore(), qPrintable(m_rig.lastError()));
        QVERIFY(m_rig.waitForLog("RS232Handler::fh_set_inclination_distance"));
        const QString log = m_rig.serviceLog().mid(logStart);
        QVERIFY2(log.count("fh_set_inclination") == 2 && log.contains("fh_set_inclination_status"), qPrintable(log));
        const QByteArray channel0 = m_rig.query(0xB1, QUERY, hex("00"));
        QCOMPARE(channel0, hex("00") + value);
        QCOMPARE(m_rig.query(0xB1, QUERY), channel0); // an empty request is channel 0
        QCOMPARE(m_rig.query(0xB1, QUERY, hex("03")), hex("0300000000"));
        QVERIFY(m_rig.send(0x24, ACTION));
        QCOMPARE(m_rig.query(0xFB, QUERY) + m_rig.query(0xB1, QUERY, hex("00")), hex("00000000 0000000000"));
        QVERIFY(pitchGives(-30.0, -57.735f)); // tan(30 degrees) = 0.57735
    }
};

QTEST_GUILESS_MAIN(TestMeasurement)
#include "test_measurement.moc"
