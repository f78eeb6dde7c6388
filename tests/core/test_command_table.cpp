// SPDX-License-Identifier: BSD-2-Clause
// The command table as the service builds it at start-up from the command catalogue: every (command id,
// group id) of the protocol has exactly one handler and every handler serves at least one. Which frame
// reaches which handler is proven on the line by the end-to-end tests.
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
        QCOMPARE(int(used.size()), RS232Handler::handler_count());
    }
};

QTEST_GUILESS_MAIN(TestCommandTable)
#include "test_command_table.moc"
