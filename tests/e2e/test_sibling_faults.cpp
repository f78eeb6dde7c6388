// SPDX-License-Identifier: BSD-2-Clause
// Sibling services and the bus failing under the service: a sibling that hangs, one that is killed
// and restarted, one that starts after talvox, and the bus daemon dying. Each case runs on a rig of
// its own. In every case the line keeps acknowledging, queries answer again as soon as the sibling
// is back, and nothing the PC writes lands on another text than before.
#include "TestRig.h"

#include <QFile>
#include <QTest>

#include <memory>

class TestSiblingFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestRig> rig; // a new one for each case
    // Typed bytes have no ACK: the barrier proves they were handled.
    bool type(const QByteArray& text)
    {
        rig->write(text);
        return rig->sync();
    }
    bool cursor(int column, int line) { return rig->send(0x62, 2, byte(column) + byte(line)); }
    bool setLine(int line, const QByteArray& text) { return rig->send(0x98, 2, byte(line) + text); }
    QByteArray readLine(int line, int timeoutMs = 2000) { return rig->query(0x98, 1, byte(line), timeoutMs).mid(1); }
    int createdTexts() { return rig->sim("created_text_count").value(0).toInt(); }
    QString textOf(int handle) { return rig->sim("text", { handle }).value(0).toString(); }

private slots:
    void init() { rig = std::make_unique<TestRig>(); } // the previous case's rig stops here

    // The overlay stopped (SIGSTOP) with its names on the bus: every query gives up after one short
    // time-out, however many calls its handler makes, and answers with zero values.
    void hungSiblingCostsOneTimeOutPerCommand()
    {
        TALVOX_RIG_START(*rig);
        rig->setValue("videocounter", QVariantList { 1, 2, 30, 15, 12 });
        QVERIFY(cursor(0, 5) && type("HELLO"));
        QVERIFY(rig->stopSimulator());

        QCOMPARE(rig->query(0x70, 1).toHex(), QByteArray("63636363")); // the video counter: "no value"
        // Unit 95's state: handle, format, position and visibility, four calls, one time-out within the rig's 2 s.
        QCOMPARE(rig->query(0x31, 1).toHex(), QByteArray("00000000"));
        // Three frames at once: each is acknowledged and answered in turn.
        rig->write(TestRig::frame(0x70, 1).repeated(3));
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(rig->read(1).toHex(), QByteArray("06"));
            QVERIFY2(rig->readReply(), qPrintable(rig->lastError()));
        }
        // Written while the overlay cannot say what the line holds: dropped, never written over HELLO.
        QVERIFY(type("X") && setLine(6, "NEW") && rig->sync());

        QVERIFY(rig->continueSimulator());
        QCOMPARE(rig->query(0x70, 1, {}, 1000).toHex(), QByteArray("021e0f0c"));
        QCOMPARE(readLine(6, 1000), QByteArray("HELLO"));
        QCOMPARE(createdTexts(), 1);
    }

    // The simulator is killed and started again: the new overlay has none of the old texts and hands
    // their handles out again, so the old ones are forgotten; screen size and locale are read afresh.
    void restartedSiblingIsReadAfresh()
    {
        TALVOX_RIG_START(*rig, RigOptions { "en_US" }); // feet; the new simulator's de_DE: metres
        QVERIFY(rig->emitSignal("meter_counter_changed", { 10.0 }));
        QTRY_COMPARE(rig->query(0x30, 1).toHex(), QByteArray("42033333")); // counter 1: 32.8 ft
        // The ACK comes before the handler runs: the barrier makes sure the old overlay got these
        // texts, and no call of theirs reaches the new instance.
        QVERIFY(setLine(6, "old5") && setLine(7, "old6") && rig->sync());

        QVERIFY(rig->killSimulator());
        QVERIFY(rig->startSimulator());
        rig->sim("set_screen_size", { 30, 10 });
        // The restart reaches the service as a bus signal, which may come after the next frame: a frame
        // that overtakes it is served by the old instance's handles. Only the service's word tells.
        QVERIFY(rig->waitForLog("local.vemo.quorend is on the bus as "));

        QVERIFY(setLine(7, "NEW6"));
        QCOMPARE(rig->query(0x98, 1, byte(6), 1000).toHex(), QByteArray("06")); // the line byte, no text
        QCOMPARE(readLine(7), QByteArray("NEW6"));
        QCOMPARE(createdTexts(), 1);
        // Ten lines: a cursor below line 8 stays on line 8.
        QVERIFY(cursor(0, 12) && type("Z"));
        // The overlay gets the text after the probe's answer: its calls travel on another connection.
        QTRY_COMPARE(textOf(rig->textsOn(8).value(0)), QString("Z"));
        QCOMPARE(rig->textsOn(8).size(), 1);
        // The meter counter value is the pushed one; only its unit follows the new locale.
        QTRY_COMPARE(rig->query(0x30, 1).toHex(), QByteArray("41200000"));
    }

    // talvox starts before the sibling services: the screen size is read on first use once the overlay is there.
    void lateSiblingIsReadOnFirstUse()
    {
        TALVOX_RIG_START(*rig, RigOptions { {}, {}, {}, true });
        QCOMPARE(rig->query(0x70, 1).toHex(), QByteArray("63636363"));
        QVERIFY(rig->startSimulator());

        QVERIFY(cursor(0, 5) && type("ab"));
        QTRY_COMPARE(textOf(rig->textsOn(5).value(0)), QString("ab"));
        QCOMPARE(rig->textsOn(5).size(), 1);
        QCOMPARE(rig->query(0x70, 1, {}, 1000).toHex(), QByteArray("00000000"));
    }

    // The bus daemon dies: the service says so and ends with exit code 9 and without its lock file, for the
    // service manager to start it again on the new bus.
    void busLossEndsTheService()
    {
        TALVOX_RIG_START(*rig);
        QVERIFY(rig->killBus());
        QCOMPARE(rig->waitForExit(3000), 9);
        QVERIFY(rig->serviceLog().contains("lost the system bus connection"));
        QVERIFY(!QFile::exists(rig->lockFilePath()));
    }
};

QTEST_GUILESS_MAIN(TestSiblingFaults)
#include "test_sibling_faults.moc"
