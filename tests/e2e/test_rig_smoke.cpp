// The rig's own smoke test: the real talvox on a pty, the simulator on a
// private bus. Bytes go in and the answers come back, a frame becomes a bus
// call, a bus signal becomes a value the service answers with, the clock
// programs are only the rig's stand-ins, and a hang-up ends the service in
// order.
#include "TestRig.h"

#include <QDate>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

class RigSmokeTest : public QObject
{
    Q_OBJECT

    TestRig rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    void lineAnswers_data();
    void lineAnswers();
    void frameBecomesBusCall();
    void signalReachesService();
    void clockIsOnlyRecorded();
    void hangUpEndsServiceInOrder();
};

void RigSmokeTest::lineAnswers_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");

    // An unknown (command, group) is acknowledged and dropped.
    QTest::newRow("unknown command: ACK") << TestRig::frame(0x01, 0) << QByteArray::fromHex("06");
    QTest::newRow("group 3: NAK") << QByteArray::fromHex("0205030000") << QByteArray::fromHex("15");
    QTest::newRow("command id 0: silence") << TestRig::frame(0x00, 1) << QByteArray();
}

void RigSmokeTest::lineAnswers()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    rig.write(request);
    QCOMPARE(rig.readAll(200).toHex(), answer.toHex());
}

void RigSmokeTest::frameBecomesBusCall()
{
    rig.clearCalls();
    QVERIFY(rig.send(0x80, 0));
    QVERIFY(rig.waitForCall("show_overlay()"));
    QVERIFY(rig.send(0x81, 0));
    QVERIFY(rig.waitForCall("hide_overlay()"));
    QCOMPARE(rig.calls(), QStringList({ "show_overlay()", "hide_overlay()" }));
}

void RigSmokeTest::signalReachesService()
{
    QVERIFY(rig.emitSignal("meter_counter_changed", { 12.5 }));
    // The signal and the serial frame travel different roads: ask until the
    // service has taken the new value (12.5 as a big-endian float).
    QTRY_COMPARE_WITH_TIMEOUT(rig.query(0x30, 1).toHex(), QByteArray("41480000"), 3000);
}

void RigSmokeTest::clockIsOnlyRecorded()
{
    // Set the date to 12 May 2020: the stand-ins take it, this machine does not.
    QVERIFY(rig.send(0x40, 2, QByteArray::fromHex("0c051414")));
    QTRY_COMPARE(rig.standinCalls().size(), 2);
    const QStringList calls = rig.standinCalls();
    QVERIFY2(QRegularExpression("^date 0512\\d{4}2020\\.\\d{2}$").match(calls.at(0)).hasMatch(), qPrintable(calls.at(0)));
    QCOMPARE(calls.at(1), QString("hwclock -w -u"));
    QVERIFY(QDate::currentDate().year() > 2020);
}

void RigSmokeTest::hangUpEndsServiceInOrder()
{
    QVERIFY2(QFile::exists(rig.lockFilePath()), qPrintable(rig.lockFilePath()));
    rig.hangUp();
    QCOMPARE(rig.waitForExit(3000), 7);
    QVERIFY(!QFile::exists(rig.lockFilePath()));
}

QTEST_GUILESS_MAIN(RigSmokeTest)
#include "test_rig_smoke.moc"
