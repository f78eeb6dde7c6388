// SPDX-License-Identifier: BSD-2-Clause
// Character sets, software texts, locale and clock end to end (date programs are recording stand-ins).
#include "RS232Message.h"
#include "TestRig.h"

#include <QtTest>

class TestDispatchAndSystem : public QObject
{
    Q_OBJECT

    TestRig rig;

    bool setSelector(const QByteArray& b) { return rig.send(0x01, SETTING, b) && rig.query(0x01, QUERY) == b; }

    float meterCounter1() { return RS232Message::bytearray_to_float(rig.query(0x30, QUERY)); }

private slots:
    // A locale with non-Latin letters: its codec differs from UTF-8 and Latin-1. The process's own
    // locale writes digits of its own, which must reach neither the line nor the date command.
    void initTestCase()
    {
        TALVOX_RIG_START(rig, RigOptions { "ru_RU", {}, { "LC_ALL=ar_EG.UTF-8" } });
        const QByteArray text = "\x03" + QStringLiteral("Жť€ș").toUtf8();
        QVERIFY(setSelector(hex("01")) && rig.send(0x90, SETTING, text) && setSelector(hex("00")));
    }

    // The selector takes only 0, 1 and 2, the byte read unsigned; no byte reads as 0. Texts follow the selector.
    void characterSets_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("selector"); // after the request, starting from 1
        QTest::newRow("2: UTF-16") << hex("02") << 2;
        QTest::newRow("3 ignored") << hex("03") << 1;
        QTest::newRow("0xFF ignored") << hex("ff") << 1;
        QTest::newRow("no data reads 0") << QByteArray() << 0;
    }
    void characterSets()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, selector);
        const char* const codec = selector == 2 ? "UTF-16" : "UTF-8";
        QVERIFY(setSelector(hex("01")) && rig.send(0x01, SETTING, request));
        QCOMPARE(rig.query(0x01, QUERY), QByteArray(1, char(selector)));
        // UTF-16 in the controller's byte order, which the mark gives.
        const QByteArray software = rig.query(0xFE, QUERY), id = rig.query(0xFF, QUERY);
        QCOMPARE(
            software,
            encoded(codec, "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work", markedOrder(software)));
        QCOMPARE(
            id,
            encoded(codec, "Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29", markedOrder(id)));
    }

    // "locale_changed" chooses the codec by country. Item 3 holds "Жť€ș": its bytes differ per codec.
    void localeChanges_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("textBytes");
        QTest::newRow("ru_RU") << "ru_RU" << hex("03b63f3f3f");
        QTest::newRow("pl_PL") << "pl_PL" << hex("033f3fa4ba");
        QTest::newRow("sk_SK") << "sk_SK" << hex("033fbb3f3f");
        QTest::newRow("empty code") << "" << hex("033f3fa43f");
    }
    void localeChanges()
    {
        QFETCH(QString, locale);
        // Signals arrive in order: once the new meter count shows, the locale before it is in force.
        static double metres = 10;
        QVERIFY(rig.emitSignal("locale_changed", { locale }) && rig.emitSignal("meter_counter_changed", { ++metres }));
        QVERIFY(QTest::qWaitFor([&] { return meterCounter1() == float(metres); }, 3000));
        QTEST(rig.query(0x90, QUERY, "\x03"), "textBytes");
    }

    // Date: day, month, the constant 20, (year + 48) mod 256; time: hour, minute, second, 0.
    void clockQueries()
    {
        const auto answersAt = [](const QDateTime& t) {
            return QString::asprintf("%02x%02x14%02x%02x%02x%02x00", t.date().day(), t.date().month(),
                                     (t.date().year() + 48) % 256, t.time().hour(), t.time().minute(),
                                     t.time().second());
        };
        const QDateTime before = QDateTime::currentDateTime();
        const QString answers = (rig.query(0x40, QUERY) + rig.query(0x50, QUERY)).toHex();
        const QDateTime after = QDateTime::currentDateTime();
        // The clock may pass a second boundary during the queries.
        QVERIFY2(answers == answersAt(before) || answers == answersAt(after), qPrintable(answers));
    }

    // The date stand-in's argument as a format of the time it runs at; an invalid date or time is left out.
    void clockSettings_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("argument");
        QTest::newRow("year 2100") << 0x40 << hex("01011500") << "'0101'HHmm'2100'.ss";
        QTest::newRow("14:30:05") << 0x50 << hex("0e1e05") << "MMdd'1430'yyyy'.05'";
        // What is no date or time never reaches the clock: date would read the rest in another format.
        QTest::newRow("month 13") << 0x40 << hex("0c0d1414") << QString();
        QTest::newRow("no year byte") << 0x40 << hex("0c0514") << QString();
        QTest::newRow("no seconds byte") << 0x50 << hex("0a1e") << QString();
        QTest::newRow("24:00:00") << 0x50 << hex("180000") << QString();
    }
    void clockSettings()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, argument);
        const int known = rig.standinCalls().size();
        const QDateTime before = QDateTime::currentDateTime();
        QVERIFY(rig.send(quint8(command), SETTING, request) && rig.sync()); // date and hwclock run in the handler
        const QDateTime after = QDateTime::currentDateTime();
        const QStringList ran = rig.standinCalls().mid(known);
        if (argument.isEmpty()) {
            QCOMPARE(ran, QStringList());
            QVERIFY(rig.waitForLog(" ignored\n"));
            return;
        }
        QCOMPARE(ran.size(), 2);
        QVERIFY2(ran.at(0) == "date " + before.toString(argument) || ran.at(0) == "date " + after.toString(argument),
                 qPrintable(ran.at(0)));
        QCOMPARE(ran.at(1), QString("hwclock -w -u"));
    }

    void videoCounterSignalChangesNothing()
    {
        rig.clearCalls();
        const QByteArray counter = rig.query(0x70, QUERY);
        QCOMPARE(counter.size(), 4);
        QVERIFY(rig.emitSignal("videocounter_changed", { 9, 8, 7, 6 }));
        // A signal the service does take, sent after it, shows it has been delivered.
        QVERIFY(rig.emitSignal("meter_counter_changed", { 3.5 }));
        QVERIFY(QTest::qWaitFor([&] { return meterCounter1() == 3.5f; }, 3000));
        QCOMPARE(rig.query(0x70, QUERY), counter);
        QCOMPARE(rig.calls(), QStringList({ "get_videocounter()", "get_videocounter()" }));
    }
};

QTEST_GUILESS_MAIN(TestDispatchAndSystem)
#include "test_dispatch_and_system.moc"
