// The rig's own smoke test: a frame is acknowledged and becomes a bus call,
// a bus signal becomes a value the service answers with, and a hang-up ends
// the service in order.
#include "TestRig.h"

#include <QFile>
#include <QTest>

class RigSmokeTest : public QObject
{
    Q_OBJECT

    TestRig rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    void frameBecomesBusCall()
    {
        rig.clearCalls();
        QVERIFY(rig.send(0x80, 0) && rig.waitForCall("show_overlay()"));
        QVERIFY(rig.send(0x81, 0) && rig.waitForCall("hide_overlay()"));
        QCOMPARE(rig.calls(), QStringList({ "show_overlay()", "hide_overlay()" }));
    }

    void signalReachesService()
    {
        QVERIFY(rig.emitSignal("meter_counter_changed", { 12.5 }));
        // Signal and frame travel different roads: ask until the value (a big-endian float) has arrived.
        QTRY_COMPARE_WITH_TIMEOUT(rig.query(0x30, 1).toHex(), QByteArray("41480000"), 3000);
    }

    void hangUpEndsServiceInOrder()
    {
        QVERIFY2(QFile::exists(rig.lockFilePath()), qPrintable(rig.lockFilePath()));
        rig.hangUp();
        QCOMPARE(rig.waitForExit(3000), 7);
        QVERIFY(!QFile::exists(rig.lockFilePath()));
    }
};

QTEST_GUILESS_MAIN(RigSmokeTest)
#include "test_rig_smoke.moc"
