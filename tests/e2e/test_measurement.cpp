// 3D measurement and inclination commands end to end: the sensor commands and
// start values as the device bus service receives them, the data reply after
// a sensor signal, and what the inclination commands do to the inclination
// value on the line.
#include "TestRig.h"

#include <QLocale>
#include <QtEndian>
#include <QtTest>
#include <cstring>

namespace {
const quint8 ACTION = 0;
const quint8 QUERY = 1;
const quint8 SETTING = 2;
const quint8 INCLINATION_VALUE = 0xFB;
const quint8 INIT_INCLINATION = 0x24;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// A double as the simulator writes it into its call log.
QString logged(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
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

class TestMeasurement : public QObject
{
    Q_OBJECT

private:
    TestRig m_rig;

    // Emits a crawler pitch and returns the inclination value on the line
    // once it shows the expected gradient (or the last one read).
    float emitPitch(double pitch, float expected)
    {
        if (!m_rig.emitSignal("crawler_pitch", { pitch }))
            return -1.0f;
        float value = -1.0f;
        static_cast<void>(QTest::qWaitFor(
            [&] { return qAbs((value = floatFrom(m_rig.query(INCLINATION_VALUE, QUERY))) - expected) < 0.001f; },
            3000));
        return value;
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    void dataBeforeAnySignal() { QCOMPARE(m_rig.query(0xD4, QUERY), QByteArray(28, '\0')); }

    void dataAfterSignal()
    {
        // Distance counter, X, Y, Z.
        QVERIFY(m_rig.emitSignal("sensor_3d_data", { 2.5, 1.0, 0.0, -1.0 }));
        const QByteArray expected = hex("3ff0000000000000"
                                        "0000000000000000"
                                        "bff0000000000000"
                                        "40200000");
        QByteArray reply;
        QVERIFY(QTest::qWaitFor([&] { return (reply = m_rig.query(0xD4, QUERY)) == expected; }, 3000));
        // The distance counter is narrowed to a float.
        QVERIFY(m_rig.emitSignal("sensor_3d_data", { 0.1, 0.1, 1e300, -2.0 }));
        const QByteArray narrowed = hex("3fb999999999999a"
                                        "7e37e43c8800759c"
                                        "c000000000000000"
                                        "3dcccccd");
        QVERIFY(QTest::qWaitFor([&] { return (reply = m_rig.query(0xD4, QUERY, hex("0102"))) == narrowed; }, 3000));
    }

    void sensorCommands_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("expected");
        QTest::newRow("0xD4") << quint8(0xD4) << QByteArray() << "set_sensor_3d_cmd(1, 1)";
        QTest::newRow("0xD5") << quint8(0xD5) << QByteArray() << "set_sensor_3d_cmd(1, 2)";
        QTest::newRow("0xD6") << quint8(0xD6) << QByteArray() << "set_sensor_3d_cmd(1, 0)";
        QTest::newRow("data ignored") << quint8(0xD5) << hex("0909") << "set_sensor_3d_cmd(1, 2)";
    }
    void sensorCommands()
    {
        QFETCH(quint8, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(command, ACTION, request));
        QVERIFY2(m_rig.waitForCall("set_sensor_3d_cmd"), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), QStringList { expected });
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void startValues_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("expected");
        QTest::newRow("position") << quint8(0xD4) << hex("3ff8000000000000 c002000000000000 4202a05f20000000")
                                  << "set_sensor_3d_start_position(1.5, -2.25, " + logged(1e10) + ")";
        // Missing bytes read as 0: the second double is 0x4008 followed by zeros.
        QTest::newRow("position, short") << quint8(0xD4) << hex("3ff8000000000000 4008")
                                         << "set_sensor_3d_start_position(1.5, 3, 0)";
        QTest::newRow("position, empty") << quint8(0xD4) << QByteArray() << "set_sensor_3d_start_position(0, 0, 0)";
        QTest::newRow("orientation") << quint8(0xD5) << hex("3f000000 c2b48000")
                                     << "set_sensor_3d_start_orientation(0.5, -90.25)";
        // Floats widened to doubles, not re-read as decimal text.
        QTest::newRow("orientation widened") << quint8(0xD5) << hex("3dcccccd 3f800000")
                                             << "set_sensor_3d_start_orientation(" + logged(double(0.1f)) + ", 1)";
        QTest::newRow("orientation, short") << quint8(0xD5) << hex("3f000000 3f80")
                                            << "set_sensor_3d_start_orientation(0.5, 1)";
    }
    void startValues()
    {
        QFETCH(quint8, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(command, SETTING, request));
        QVERIFY2(m_rig.waitForCall("set_sensor_3d_start_"), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), QStringList { expected });
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void initResetsInclinationUntilNextPitch()
    {
        QVERIFY(qAbs(emitPitch(45.0, 100.0f) - 100.0f) < 0.001f);
        QVERIFY(m_rig.send(INIT_INCLINATION, ACTION));
        QCOMPARE(m_rig.query(INCLINATION_VALUE, QUERY), hex("00000000"));
        QCOMPARE(m_rig.query(0xB1, QUERY, hex("00")), hex("0000000000"));
        // tan(30 degrees) = 0.57735
        QVERIFY(qAbs(emitPitch(30.0, 57.735f) - 57.735f) < 0.001f);
    }

    // Direction, status and distance only move the inclination mark, which
    // no query reads: the value on the line stays, nothing is sent back, and
    // all but the direction command log their name.
    void inclinationSettings_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<quint8>("group");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("logLine");
        QTest::newRow("direction up") << quint8(0x20) << ACTION << QByteArray() << QString();
        QTest::newRow("direction down") << quint8(0x21) << ACTION << QByteArray() << QString();
        QTest::newRow("status on") << quint8(0x22) << ACTION << QByteArray()
                                   << "RS232Handler::fh_set_inclination_status";
        QTest::newRow("status off") << quint8(0x23) << ACTION << QByteArray()
                                    << "RS232Handler::fh_set_inclination_status";
        QTest::newRow("distance") << quint8(0x20) << SETTING << hex("3412")
                                  << "RS232Handler::fh_set_inclination_distance";
    }
    void inclinationSettings()
    {
        QFETCH(quint8, command);
        QFETCH(quint8, group);
        QFETCH(QByteArray, request);
        QFETCH(QString, logLine);
        const float before = emitPitch(45.0, 100.0f);
        const int logStart = m_rig.serviceLog().size();

        QVERIFY(m_rig.send(command, group, request));
        QCOMPARE(m_rig.readAll(), QByteArray());
        QCOMPARE(floatFrom(m_rig.query(INCLINATION_VALUE, QUERY)), before);

        const QString log = m_rig.serviceLog().mid(logStart);
        if (logLine.isEmpty())
            QVERIFY2(!log.contains("fh_set_inclination"), qPrintable(log));
        else
            QVERIFY2(log.contains(logLine), qPrintable(log));
    }
};

QTEST_GUILESS_MAIN(TestMeasurement)
#include "test_measurement.moc"
