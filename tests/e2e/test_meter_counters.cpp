// Meter counter commands end to end: the three counters read back in metres
// or feet after the system management service signalled them, settings
// arriving at the service as doubles, and the two constant queries.
#include "TestRig.h"

#include <QLocale>
#include <QtTest>

namespace {
const quint8 QUERY = 1;
const quint8 SETTING = 2;

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

class TestMeterCounters : public QObject
{
    Q_OBJECT

private:
    TestRig m_rig;

    // Signals and serial frames reach the service on different paths: ask
    // again until the signalled value shows.
    QByteArray queryUntil(quint8 command, const QByteArray& expected)
    {
        QByteArray reply;
        static_cast<void>(
            QTest::qWaitFor([&] { return (reply = m_rig.query(command, QUERY)) == expected; }, 3000));
        return reply;
    }

    void switchLocale(const QString& code)
    {
        m_rig.sim("set_locale", { code });
        QVERIFY(m_rig.emitSignal("locale_changed", { code }));
    }

    void counterRows()
    {
        QTest::addColumn<QString>("signal");
        QTest::addColumn<quint8>("query");
        QTest::addColumn<quint8>("setting");
        QTest::addColumn<QString>("method");
        QTest::newRow("counter 1") << "meter_counter_changed" << quint8(0x30) << quint8(0x30) << "set_meter_counter";
        QTest::newRow("counter 2 (sat)") << "meter_counter_sat_changed" << quint8(0x36) << quint8(0x36)
                                         << "set_meter_counter_sat";
        QTest::newRow("counter 3 (abs)") << "meter_counter_abs_changed" << quint8(0x3B) << quint8(0x3C)
                                         << "set_meter_counter_abs";
    }

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }

    void metricQueries_data() { counterRows(); }
    void metricQueries()
    {
        QFETCH(QString, signal);
        QFETCH(quint8, query);
        QVERIFY(m_rig.emitSignal(signal, { 12.5 }));
        QCOMPARE(queryUntil(query, hex("41480000")), hex("41480000"));
        // The service narrows to a float: a value it cannot hold exactly goes
        // out rounded to single precision.
        QVERIFY(m_rig.emitSignal(signal, { 0.1 }));
        QCOMPARE(queryUntil(query, hex("3dcccccd")), hex("3dcccccd"));
    }

    void feetQueries_data() { counterRows(); }
    void feetQueries()
    {
        QFETCH(QString, signal);
        QFETCH(quint8, query);
        QVERIFY(m_rig.emitSignal(signal, { 12.5 }));
        QCOMPARE(queryUntil(query, hex("41480000")), hex("41480000"));
        switchLocale("en_US");
        // 12.5 m x 3.28 = 41.0 ft.
        QCOMPARE(queryUntil(query, hex("42240000")), hex("42240000"));
        switchLocale("de_DE");
        QCOMPARE(queryUntil(query, hex("41480000")), hex("41480000"));
    }

    void settings_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<quint8>("setting");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("expected");
        const QByteArray ten = hex("41200000");
        const QString tenFeet = logged(double(float(10.0 / 3.28)));
        QTest::newRow("1 metric") << "de_DE" << quint8(0x30) << hex("41480000") << "set_meter_counter(12.5)";
        QTest::newRow("2 metric") << "de_DE" << quint8(0x36) << hex("41480000") << "set_meter_counter_sat(12.5)";
        QTest::newRow("3 metric") << "de_DE" << quint8(0x3C) << hex("41480000") << "set_meter_counter_abs(12.5)";
        QTest::newRow("1 feet") << "en_US" << quint8(0x30) << ten << "set_meter_counter(" + tenFeet + ")";
        QTest::newRow("2 feet") << "en_US" << quint8(0x36) << ten << "set_meter_counter_sat(" + tenFeet + ")";
        QTest::newRow("3 feet") << "en_US" << quint8(0x3C) << ten << "set_meter_counter_abs(" + tenFeet + ")";
        QTest::newRow("short: missing bytes 0") << "de_DE" << quint8(0x30) << hex("4148") << "set_meter_counter(12.5)";
        QTest::newRow("empty") << "de_DE" << quint8(0x36) << QByteArray() << "set_meter_counter_sat(0)";
    }
    void settings()
    {
        QFETCH(QString, locale);
        QFETCH(quint8, setting);
        QFETCH(QByteArray, data);
        QFETCH(QString, expected);
        switchLocale(locale);
        // Wait until the locale is in force: the wheel length does not tell,
        // a counter query does.
        QVERIFY(m_rig.emitSignal("meter_counter_changed", { 1.0 }));
        const QByteArray one = locale == "en_US" ? hex("4051eb85") : hex("3f800000");
        QCOMPARE(queryUntil(0x30, one), one);

        m_rig.clearCalls();
        QVERIFY(m_rig.send(setting, SETTING, data));
        QVERIFY2(m_rig.waitForCall(expected), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls().first(), expected);
        // Settings send nothing back beyond the acknowledgement.
        QCOMPARE(m_rig.readAll(), QByteArray());
        switchLocale("de_DE");
    }

    void counter3IsNotSetUnder0x3B()
    {
        m_rig.clearCalls();
        QVERIFY(m_rig.send(0x3B, SETTING, hex("41480000")));
        QVERIFY(m_rig.send(0x30, SETTING, hex("3f800000")));
        QVERIFY(m_rig.waitForCall("set_meter_counter(1)"));
        QCOMPARE(m_rig.calls(), QStringList { "set_meter_counter(1)" });
    }

    void constants_data()
    {
        QTest::addColumn<quint8>("query");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray wheel = hex("43480000"); // 200.0
        const QByteArray resolution = hex("0000"); // 20 in the two-byte integer form
        QTest::newRow("wheel 0x34") << quint8(0x34) << wheel;
        QTest::newRow("wheel 0x39") << quint8(0x39) << wheel;
        QTest::newRow("wheel 0x3D") << quint8(0x3D) << wheel;
        QTest::newRow("resolution 0x35") << quint8(0x35) << resolution;
        QTest::newRow("resolution 0x3A") << quint8(0x3A) << resolution;
        QTest::newRow("resolution 0x3E") << quint8(0x3E) << resolution;
    }
    void constants()
    {
        QFETCH(quint8, query);
        QFETCH(QByteArray, expected);
        QCOMPARE(m_rig.query(query, QUERY), expected);
        // Never converted to feet.
        switchLocale("en_US");
        QVERIFY(m_rig.emitSignal("meter_counter_changed", { 1.0 }));
        QCOMPARE(queryUntil(0x30, hex("4051eb85")), hex("4051eb85"));
        QCOMPARE(m_rig.query(query, QUERY), expected);
        switchLocale("de_DE");
    }
};

QTEST_GUILESS_MAIN(TestMeterCounters)
#include "test_meter_counters.moc"
