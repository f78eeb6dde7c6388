// talvox-pc against the command catalogue it shares with the service: every (command id, group id) has
// exactly one name, and docs/protocol.md is what talvox-pc generates from it.
#include "CommandCatalogue.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QtTest>

namespace {
QByteArray clientOutput(const QString& option)
{
    QProcess client;
    client.start(QCoreApplication::applicationDirPath() + "/../tools/talvox-pc", { option });
    const bool ok = client.waitForFinished(10000) && client.exitStatus() == QProcess::NormalExit;
    return ok && client.exitCode() == 0 ? client.readAllStandardOutput() : QByteArray();
}
} // namespace

class TestClientCatalogue : public QObject
{
    Q_OBJECT

private slots:
    // "0x30 1 metercounter get 1": the pair, then the name; each pair of the catalogue once, each name once.
    void everyPairHasExactlyOneName()
    {
        QStringList catalogued, named, names;
        for (const CatalogueEntry& entry : catalogue())
            catalogued.append(QString("%1 %2").arg(entry.command).arg(entry.group));
        for (const QString& line : QString::fromUtf8(clientOutput("--list-pairs")).split('\n', Qt::SkipEmptyParts)) {
            named.append(QString("%1 %2").arg(line.section(' ', 0, 0).toInt(nullptr, 16)).arg(line.section(' ', 1, 1)));
            names.append(line.section(' ', 2));
        }
        catalogued.sort();
        named.sort();
        QCOMPARE(named, catalogued);
        QCOMPARE(named.removeDuplicates() + names.removeDuplicates(), 0);
    }

    void referenceIsGeneratedFromTheCatalogue()
    {
        QFile file(QFINDTESTDATA("../../docs/protocol.md"));
        QVERIFY2(file.open(QIODevice::ReadOnly), "docs/protocol.md is missing");
        const QByteArray generated = clientOutput("--list-markdown");
        QVERIFY2(!generated.isEmpty(), "talvox-pc --list-markdown failed: is talvox-pc built?");
        QVERIFY2(file.readAll() == generated,
                 "docs/protocol.md differs: regenerate it with "
                 "build/tools/talvox-pc --list-markdown > docs/protocol.md");
    }
};

QTEST_GUILESS_MAIN(TestClientCatalogue)
#include "test_client_catalogue.moc"
