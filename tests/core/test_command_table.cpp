// The command table as the service builds it from the command catalogue:
// every (command id, group id) of the protocol has exactly one handler, every
// handler serves at least one, and a frame reaches the handler its entry names.
#include "CommandCatalogue.h"
#include "RS232Handler.h"

#include <QtTest>

#include <set>

class TestCommandTable : public QObject
{
    Q_OBJECT

private slots:
    void everyPairHasExactlyOneHandler()
    {
        RS232Handler::CommandTable table = {};
        QCOMPARE(RS232Handler::bind_command_table(table), QStringList());

        std::set<RS232Handler::Handler> used;
        int pairs = 0;
        for (const auto& group : table) {
            for (const RS232Handler::Handler handler : group) {
                pairs += handler ? 1 : 0;
                if (handler)
                    used.insert(handler);
            }
        }
        QCOMPARE(pairs, 167);
        QCOMPARE(pairs, catalogue().size());
        QCOMPARE(int(used.size()), RS232Handler::handler_count());
    }

    // The irregular pairs bind where the catalogue says (meter counter 3 is read
    // under 0x3B but set under 0x3C; 0x3E reads a resolution but sets a position).
    void irregularPairs_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<int>("group");
        QTest::addColumn<QString>("handler");
        QTest::newRow("0x3b|0x1") << 0x3B << 1 << "fh_get_metercounter_3";
        QTest::newRow("0x3c|0x2") << 0x3C << 2 << "fh_set_metercounter_3";
        QTest::newRow("0x3c|0x1") << 0x3C << 1 << "fh_get_unit_state";
        QTest::newRow("0x3e|0x1") << 0x3E << 1 << "fh_get_metercounter_resolution";
        QTest::newRow("0x3e|0x2") << 0x3E << 2 << "fh_set_unit_position";
        QTest::newRow("0xfc|0x0") << 0xFC << 0 << "fh_sys_visibility";
    }
    void irregularPairs()
    {
        QFETCH(int, command);
        QFETCH(int, group);
        QFETCH(QString, handler);
        RS232Handler::CommandTable table = {};
        RS232Handler::bind_command_table(table);
        QVERIFY(table[group][command] == RS232Handler::handler_named(handler.toLatin1().constData()));
        QVERIFY(table[group][command] != nullptr);
    }
};

QTEST_GUILESS_MAIN(TestCommandTable)
#include "test_command_table.moc"
