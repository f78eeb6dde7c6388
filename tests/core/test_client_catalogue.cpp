// The PC client's catalogue against the registry's command table: every
// (command id, group id) has exactly one name in talvox-pc, no name points
// elsewhere, and docs/protocol.md is what talvox-pc generates from it.
#include "RS232Handler.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QtTest>

namespace {
QByteArray clientOutput(const QString& option)
{
    QProcess client;
    client.start(QCoreApplication::applicationDirPath() + "/../tools/talvox-pc", {option});
    const bool ok = client.waitForFinished(10000) && client.exitStatus() == QProcess::NormalExit;
    return ok && client.exitCode() == 0 ? client.readAllStandardOutput() : QByteArray();
}

QString pairText(int command, int group) { return QString("0x%1 %2").arg(command, 2, 16, QChar('0')).arg(group); }
}

class TestClientCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void everyRegisteredPairHasExactlyOneName()
    {
        QStringList registered;
        int rows = 0;
        const RS232Handler::TableRow* table = RS232Handler::command_table(&rows);
        for (int row = 0; row < rows; ++row) {
            for (int command = table[row].first_command_id; command <= table[row].last_command_id; ++command)
                registered.append(pairText(command, table[row].group_id));
        }
        registered.sort();
        QCOMPARE(registered.size(), 167);
        QCOMPARE(registered.removeDuplicates(), 0);

        // "0x30 1 metercounter get 1": the pair, then the name.
        QStringList named, names;
        for (const QString& line : QString::fromUtf8(clientOutput("--list-pairs")).split('\n', Qt::SkipEmptyParts)) {
            bool ok = false;
            named.append(pairText(line.section(' ', 0, 0).toInt(&ok, 16), line.section(' ', 1, 1).toInt()));
            QVERIFY2(ok, qPrintable(line));
            names.append(line.section(' ', 2));
        }
        named.sort();
        QCOMPARE(named, registered);
        QCOMPARE(names.removeDuplicates(), 0);
    }

    void referenceIsGeneratedFromTheCatalogue()
    {
        QFile file(QFINDTESTDATA("../../docs/protocol.md"));
        QVERIFY2(file.open(QIODevice::ReadOnly), "docs/protocol.md is missing");
        const QByteArray generated = clientOutput("--list-markdown");
        QVERIFY2(!generated.isEmpty(), "talvox-pc --list-markdown failed: is talvox-pc built?");
        QVERIFY2(file.readAll() == generated, "docs/protocol.md differs: regenerate it with "
                                              "build/tools/talvox-pc --list-markdown > docs/protocol.md");
    }
};

QTEST_GUILESS_MAIN(TestClientCatalogue)
#include "test_client_catalogue.moc"
