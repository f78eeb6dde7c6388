// SPDX-License-Identifier: BSD-2-Clause
// Character sets, software texts, locale and clock (the clock a recording one: nothing is set).
#include "HandlerFixture.h"

#include <QtTest>

class TestDispatchAndSystem : public QObject
{
    Q_OBJECT

    HandlerFixture fixture;

    bool setSelector(const QByteArray& b) { return fixture.send(0x01, SETTING, b) && fixture.query(0x01, QUERY) == b; }

private slots:
    // A locale with non-Latin letters: its codec differs from UTF-8 and Latin-1.
    void initTestCase()
    {
        TALVOX_HANDLERS_START(fixture, "ru_RU");
        const QByteArray text = "\x03" + QStringLiteral("Жť€ș").toUtf8();
        QVERIFY(setSelector(hex("01")) && fixture.send(0x90, SETTING, text) && setSelector(hex("00")));
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
        QVERIFY(setSelector(hex("01")) && fixture.send(0x01, SETTING, request));
        QCOMPARE(fixture.query(0x01, QUERY), QByteArray(1, char(selector)));
        // UTF-16 in the controller's byte order, which the mark gives.
        const QByteArray software = fixture.query(0xFE, QUERY), id = fixture.query(0xFF, QUERY);
        QCOMPARE(software, encoded(codec, "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work", markedOrder(software)));
        QCOMPARE(id, encoded(codec, "Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29", markedOrder(id)));
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
        QVERIFY(fixture.emitSignal("locale_changed", { locale }));
        QTEST(fixture.query(0x90, QUERY, "\x03"), "textBytes");
    }

    // Date: day, month, the constant 20, (year + 48) mod 256; time: hour, minute, second, 0. The fixture's
    // clock stands at 2019-12-31 23:59:58.
    void clockQueries() { QCOMPARE(fixture.query(0x40, QUERY) + fixture.query(0x50, QUERY), hex("1f0c1413 173b3a00")); }

    // A date or a time is set by running date (what the request leaves out is the clock's) and then
    // hwclock; what is no date or time never reaches the clock: date would read the rest in another format.
    void clockSettings_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("ran"); // the date command's argument, or the line logged instead
        QTest::newRow("year 2100") << 0x40 << hex("01011500") << "010123592100.58";
        QTest::newRow("14:30:05") << 0x50 << hex("0e1e05") << "123114302019.05";
        const QString ignored = "RS232Handler::fh_set_date_time: invalid %1 \"%2\" ignored";
        QTest::newRow("month 13") << 0x40 << hex("0c0d1414") << ignored.arg("date", "2020-13-12");
        QTest::newRow("no year byte") << 0x40 << hex("0c0514") << ignored.arg("date", "20-05-12");
        QTest::newRow("no seconds byte") << 0x50 << hex("0a1e") << ignored.arg("time", "10:30:");
        QTest::newRow("24:00:00") << 0x50 << hex("180000") << ignored.arg("time", "24:00:00");
    }
    void clockSettings()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, ran);
        fixture.clock.commands.clear();
        fixture.takeLog();
        QVERIFY(fixture.send(quint8(command), SETTING, request));
        if (ran.endsWith(" ignored")) {
            QCOMPARE(fixture.clock.commands, QStringList());
            QVERIFY(fixture.takeLog().contains(ran));
        } else {
            QCOMPARE(fixture.clock.commands, QStringList({ "/bin/date " + ran, "/sbin/hwclock -w -u" }));
        }
    }

    void videoCounterSignalChangesNothing()
    {
        fixture.clearCalls();
        const QByteArray counter = fixture.query(0x70, QUERY);
        QCOMPARE(counter.size(), 4);
        QVERIFY(fixture.emitSignal("videocounter_changed", { 9, 8, 7, 6 }));
        QCOMPARE(fixture.query(0x70, QUERY), counter);
        QCOMPARE(fixture.calls(), QStringList({ "get_videocounter()", "get_videocounter()" }));
    }
};

// The process's own locale writes digits of its own (Arabic-Indic), which must reach neither the line nor the
// date command: set before anything asks for it.
int main(int argc, char* argv[])
{
    qputenv("LC_ALL", "ar_EG.UTF-8");
    QCoreApplication app(argc, argv);
    TestDispatchAndSystem test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_dispatch_and_system.moc"
