// Video counter commands end to end: start, stop and the second start 0x75,
// the counter read from a running, a malformed and an absent overlay service,
// and the setting.
#include "TestRig.h"

#include <QtTest>

namespace {
const quint8 ACTION = 0;
const quint8 QUERY = 1;
const quint8 SETTING = 2;
const quint8 VIDEOCOUNTER = 0x70;
const char* const OVERLAY_SERVICE = "local.vemo.quorend";

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}
}

class TestVideoCounter : public QObject
{
    Q_OBJECT

private:
    TestRig m_rig;

private slots:
    void initTestCase() { TALVOX_RIG_START(m_rig); }
    void cleanup()
    {
        m_rig.sim("clear_replies");
        m_rig.sim("set_service_present", { OVERLAY_SERVICE, true });
    }

    void commands_data()
    {
        QTest::addColumn<quint8>("command");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("0x73 start") << quint8(0x73) << QStringList { "videocounter_start(1)" };
        QTest::newRow("0x74 stop") << quint8(0x74) << QStringList { "videocounter_stop(1)" };
        // A second start: the activity is asked for but decides nothing.
        QTest::newRow("0x75 while stopped") << quint8(0x75)
                                            << QStringList { "is_videocounter_active()", "videocounter_start(1)" };
        QTest::newRow("0x75 while running") << quint8(0x75)
                                            << QStringList { "is_videocounter_active()", "videocounter_start(1)" };
    }
    void commands()
    {
        QFETCH(quint8, command);
        QFETCH(QStringList, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(command, ACTION));
        QVERIFY2(m_rig.waitForCall(expected.last()), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), expected);
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void counterRead_data()
    {
        QTest::addColumn<QVariantList>("counter");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("running") << QVariantList { 1, 2, 30, 15, 12 } << hex("021e0f0c");
        QTest::newRow("low byte of 300") << QVariantList { 1, 0, 300, 0, 0 } << hex("002c0000");
        QTest::newRow("lead value ignored") << QVariantList { 7, 1, 2, 3, 4 } << hex("01020304");
    }
    void counterRead()
    {
        QFETCH(QVariantList, counter);
        QFETCH(QByteArray, expected);
        m_rig.setValue("videocounter", counter);
        m_rig.clearCalls();
        QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), expected);
        QCOMPARE(m_rig.calls(), QStringList { "get_videocounter()" });
    }

    void malformedAnswer_data()
    {
        QTest::addColumn<QVariantList>("answer");
        QTest::newRow("four elements") << QVariantList { 1, 2, 3, 4 };
        QTest::newRow("six elements") << QVariantList { 1, 2, 3, 4, 5, 6 };
        QTest::newRow("empty") << QVariantList();
    }
    void malformedAnswer()
    {
        QFETCH(QVariantList, answer);
        m_rig.sim("set_reply", { "get_videocounter", QVariant(answer) });
        QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), hex("63636363"));
    }

    void absentService()
    {
        m_rig.sim("set_service_present", { OVERLAY_SERVICE, false });
        QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), hex("63636363"));
        // Start, stop and set go out unseen and keep the line working.
        QVERIFY(m_rig.send(0x75, ACTION));
        QVERIFY(m_rig.send(VIDEOCOUNTER, SETTING, hex("01020304")));
        QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), hex("63636363"));
    }

    void setting_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("expected");
        QTest::newRow("four bytes") << hex("0102030a") << "set_videocounter(1, 1, 2, 3, 10)";
        QTest::newRow("two bytes") << hex("0102") << "set_videocounter(1, 1, 2, 0, 0)";
        QTest::newRow("empty") << QByteArray() << "set_videocounter(1, 0, 0, 0, 0)";
        QTest::newRow("unsigned bytes") << hex("ff80") << "set_videocounter(1, 255, 128, 0, 0)";
        QTest::newRow("extra bytes ignored") << hex("0102030405") << "set_videocounter(1, 1, 2, 3, 4)";
    }
    void setting()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, expected);
        m_rig.clearCalls();
        QVERIFY(m_rig.send(VIDEOCOUNTER, SETTING, request));
        QVERIFY2(m_rig.waitForCall("set_videocounter"), qPrintable(m_rig.lastError()));
        QCOMPARE(m_rig.calls(), QStringList { expected });
        QCOMPARE(m_rig.readAll(), QByteArray());
    }

    void setThenRead()
    {
        QVERIFY(m_rig.send(VIDEOCOUNTER, SETTING, hex("0b163721")));
        QVERIFY(m_rig.waitForCall("set_videocounter(1, 11, 22, 55, 33)"));
        QCOMPARE(m_rig.query(VIDEOCOUNTER, QUERY), hex("0b163721"));
    }
};

QTEST_GUILESS_MAIN(TestVideoCounter)
#include "test_video_counter.moc"
