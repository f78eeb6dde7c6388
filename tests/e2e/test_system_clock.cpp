// SPDX-License-Identifier: BSD-2-Clause
// A time set from the PC runs the controller's date and hwclock programs, here the recording stand-ins.
#include "TestRig.h"

#include <QtTest>

class TestSystemClock : public QObject
{
    Q_OBJECT

    TestRig rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    // The date stand-in's argument as a format of the time it runs at.
    void settingTheTimeRunsDateAndHwclock()
    {
        const QDateTime before = QDateTime::currentDateTime();
        QVERIFY(rig.send(0x50, SETTING, hex("0e1e05")) && rig.sync()); // date and hwclock run in the handler
        const QDateTime after = QDateTime::currentDateTime();
        const QStringList ran = rig.standinCalls();
        const QString format = "MMdd'1430'yyyy'.05'";
        QCOMPARE(ran.size(), 2);
        QVERIFY2(ran.at(0) == "date " + before.toString(format) || ran.at(0) == "date " + after.toString(format),
                 qPrintable(ran.at(0)));
        QCOMPARE(ran.at(1), QString("hwclock -w -u"));
    }
};

QTEST_GUILESS_MAIN(TestSystemClock)
#include "test_system_clock.moc"
