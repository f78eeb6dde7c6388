// talvox-pc against the command catalogue: every (command id, group id) has
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
    // talvox-pc names every pair of the catalogue it shares with the service, each once.
    void everyPairHasExactlyOneName()
    {
        QStringList catalogued;
        for (const CatalogueEntry& entry : catalogue())
            catalogued.append(pairText(entry.command, entry.group));
        catalogued.sort();
        QCOMPARE(catalogued.removeDuplicates(), 0);

        // "0x30 1 metercounter get 1": the pair, then the name.
        QStringList named, names;
        for (const QString& line : QString::fromUtf8(clientOutput("--list-pairs")).split('\n', Qt::SkipEmptyParts)) {
            bool ok = false;
            named.append(pairText(line.section(' ', 0, 0).toInt(&ok, 16), line.section(' ', 1, 1).toInt()));
            QVERIFY2(ok, qPrintable(line));
            names.append(line.section(' ', 2));
        }
        named.sort();
        QCOMPARE(named, catalogued);
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
