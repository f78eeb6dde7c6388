// Unit text commands end to end: state queries, moves and colours of the
// sixteen unit texts by their irregular command ids and colour indices, as
// the overlay simulator sees them.
#include "TestRig.h"

#include <QtTest>

namespace {
const quint8 GROUP_ACTION = 0;
const quint8 GROUP_QUERY = 1;
const quint8 GROUP_SETTING = 2;
const quint8 CMD_DEVICE_COLOR = 0xE5;
const int FIXED_HANDLE_BASE = 1000; // the simulator's handle of fixed text N is 1000 + N

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (int v : values)
        result.append(char(v));
    return result;
}

struct Unit {
    int textId;
    int stateId;
    int positionId;
    int colorIndex;
};

const Unit UNITS[] = {
    { 84, 0xC1, 0xC0, 17 }, { 85, 0xC3, 0xC2, 18 }, { 86, 0xC5, 0xC4, 19 }, { 87, 0xFC, 0xFC, 14 },
    { 88, 0xC7, 0xC6, 20 }, { 89, 0x41, 0x42, 3 },  { 90, 0x51, 0x52, 2 },   { 95, 0x31, 0x32, 0 },
    { 96, 0xFA, 0xF9, 15 }, { 97, 0xF7, 0xF6, 13 }, { 98, 0xF4, 0xF3, 11 },  { 99, 0xF1, 0xF0, 10 },
    { 100, 0x37, 0x38, 1 }, { 101, 0x3C, 0x3E, 21 }, { 102, 0x71, 0x72, 12 }, { 103, 0xF8, 0xFB, 16 },
};
}

class TestUnitText : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Settings go out on the bus without waiting. A later query that asks the
    // overlay (status line item 1: two calls) has been answered only after
    // every call before it arrived: the calls before it.
    QStringList callsUpToNow()
    {
        if (rig.query(0x90, GROUP_QUERY, bytes({ 1 })).isEmpty())
            return { "status line query failed: " + rig.lastError() };
        const QStringList calls = rig.calls();
        return calls.mid(0, calls.size() - 2);
    }

    // (text, column, line, foreground, background, visible, format, exists)
    QVariantList textById(int textId) { return rig.sim("text_by_id", { textId }); }

private slots:
    void initTestCase() { TALVOX_RIG_START(rig); }

    void init() { rig.clearCalls(); }

    void units_data()
    {
        QTest::addColumn<int>("textId");
        QTest::addColumn<int>("stateId");
        QTest::addColumn<int>("positionId");
        for (const Unit& unit : UNITS)
            QTest::addRow("unit %d", unit.textId) << unit.textId << unit.stateId << unit.positionId;
    }
    // Each unit's position command moves that unit text, and its state query
    // reports it: format (low byte), visibility, column, line.
    void units()
    {
        QFETCH(int, textId);
        QFETCH(int, stateId);
        QFETCH(int, positionId);
        const int column = textId - 50;
        const int line = textId % 13;

        QVERIFY(rig.send(quint8(positionId), GROUP_SETTING, bytes({ column, line })));
        QVERIFY(rig.waitForCall(QString("set_text_position(%1, %2, %3)").arg(FIXED_HANDLE_BASE + textId).arg(column).arg(line)));
        const QVariantList text = textById(textId);
        QCOMPARE(text.value(1).toInt(), column);
        QCOMPARE(text.value(2).toInt(), line);
        QVERIFY(text.value(5).toBool());

        const int format = text.value(6).toInt();
        QCOMPARE(rig.query(quint8(stateId), GROUP_QUERY), bytes({ format & 0xFF, 1, column, line }));
        QVERIFY(rig.calls().contains(QString("get_text_handle_by_id(%1)").arg(textId)));
    }

    void hiddenUnit()
    {
        // Unit 87: 0xFC shows it in group 0, 0xFD hides it.
        QVERIFY(rig.send(0xFC, GROUP_SETTING, bytes({ 40, 12 })));
        QVERIFY(rig.send(0xFD, GROUP_ACTION));
        const int format = textById(87).value(6).toInt();
        QCOMPARE(rig.query(0xFC, GROUP_QUERY), bytes({ format, 0, 40, 12 }));
        QVERIFY(rig.send(0xFC, GROUP_ACTION));
        QCOMPARE(rig.query(0xFC, GROUP_QUERY), bytes({ format, 1, 40, 12 }));
    }

    void shortPositionLists_data()
    {
        QTest::addColumn<QVariantList>("position");
        QTest::addColumn<QByteArray>("positionBytes");
        QTest::newRow("one element") << QVariantList({ 7 }) << bytes({ 7, 0 });
        QTest::newRow("empty") << QVariantList() << bytes({ 0, 0 });
        QTest::newRow("low bytes") << QVariantList({ 300, 258 }) << bytes({ 0x2C, 0x02 });
    }
    void shortPositionLists()
    {
        QFETCH(QVariantList, position);
        QFETCH(QByteArray, positionBytes);
        rig.sim("set_reply", { "get_text_position", QVariant(position) });
        const QByteArray state = rig.query(0x31, GROUP_QUERY);
        rig.sim("clear_replies");
        QCOMPARE(state.mid(2), positionBytes);
    }

    void positions_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("call"); // empty: nothing happens
        QTest::newRow("0xFB moves unit 103") << 0xFB << bytes({ 0x10, 0x05 }) << "set_text_position(1103, 16, 5)";
        QTest::newRow("one byte") << 0x32 << bytes({ 0x20 }) << "set_text_position(1095, 32, 0)";
        QTest::newRow("no bytes") << 0x3E << QByteArray() << "set_text_position(1101, 0, 0)";
        QTest::newRow("high bytes") << 0xC0 << bytes({ 0xFF, 0x80 }) << "set_text_position(1084, 255, 128)";
        QTest::newRow("0xF8 is a state id only") << 0xF8 << bytes({ 1, 2 }) << QString();
        QTest::newRow("0x3C is a meter counter setting") << 0x3C << bytes({ 1, 2 }) << QString();
    }
    void positions()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, call);
        QVERIFY(rig.send(quint8(command), GROUP_SETTING, request));
        const QStringList calls = callsUpToNow();
        if (call.isEmpty())
            QVERIFY2(!calls.join(' ').contains("set_text_position"), qPrintable(calls.join("; ")));
        else
            QVERIFY2(calls.contains(call), qPrintable(calls.join("; ")));
    }

    void colorIndices_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("textId");
        for (const Unit& unit : UNITS)
            QTest::addRow("index %d", unit.colorIndex) << unit.colorIndex << unit.textId;
    }
    void colorIndices()
    {
        QFETCH(int, index);
        QFETCH(int, textId);
        QVERIFY(rig.send(CMD_DEVICE_COLOR, GROUP_SETTING, bytes({ index, 0x0F, 0x01 })));
        QVERIFY(rig.waitForCall(QString("set_text_colors(%1, 1, 15)").arg(FIXED_HANDLE_BASE + textId)));
        const QVariantList text = textById(textId);
        QCOMPARE(text.value(3).toInt(), 1);
        QCOMPARE(text.value(4).toInt(), 15);
    }

    void colorBytes_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("call"); // empty: nothing happens
        QTest::newRow("unit 87") << bytes({ 0x0E, 0x0F, 0x01 }) << "set_text_colors(1087, 1, 15)";
        QTest::newRow("unmasked byte 1") << bytes({ 0x0E, 0x25, 0x01 }) << "set_text_colors(1087, 3, 5)";
        QTest::newRow("shorthand 0x03") << bytes({ 0x0E, 0x03 }) << "set_text_colors(1087, 15, 1)";
        QTest::newRow("no data: index 0") << QByteArray() << "set_text_colors(1095, 1, 0)";
        QTest::newRow("index 4") << bytes({ 4, 0x0F, 0x01 }) << QString();
        QTest::newRow("index 5") << bytes({ 5, 0x0F, 0x01 }) << QString();
        QTest::newRow("index 9") << bytes({ 9, 0x0F, 0x01 }) << QString();
        QTest::newRow("index 22") << bytes({ 22, 0x0F, 0x01 }) << QString();
        QTest::newRow("index 255") << bytes({ 255, 0x0F, 0x01 }) << QString();
    }
    void colorBytes()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, call);
        QVERIFY(rig.send(CMD_DEVICE_COLOR, GROUP_SETTING, request));
        const QStringList calls = callsUpToNow();
        if (call.isEmpty())
            QCOMPARE(calls, QStringList());
        else
            QVERIFY2(calls.contains(call), qPrintable(calls.join("; ")));
    }
};

QTEST_GUILESS_MAIN(TestUnitText)
#include "test_unit_text.moc"
