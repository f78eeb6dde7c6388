// The sending half of the serial link on a pty: what goes out on the line for a reply (over 255 data bytes
// as length lo 255 plus length hi, cut at 510), what is refused, and the log lines.
#include "CEventLogger.h"
#include "RS232.h"

#include <QTemporaryFile>
#include <QtTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

class TestRS232Send : public QObject
{
    Q_OBJECT

    int master = -1;
    int slave = -1;

private slots:
    void initTestCase()
    {
        CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_DEBUG);
        char name[64] = {};
        termios raw {};
        cfmakeraw(&raw);
        QCOMPARE(openpty(&master, &slave, name, &raw, nullptr), 0);
        fcntl(master, F_SETFL, O_NONBLOCK);
        // A bare name gets "/dev/" in front: "pts/N" opens "/dev/pts/N".
        QCOMPARE(RS232::instance()->init(QString(name).mid(5)), 1);
    }

    void cleanupTestCase()
    {
        // Reconfiguring closes the pty (and frees its LCK.. file); /dev/null is no terminal, so init gives 0.
        QCOMPARE(RS232::instance()->init("/dev/null"), 0);
        close(master);
        close(slave);
    }

    void sendMessage_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QByteArray>("log");
        QByteArray full;
        for (int i = 0; i < 255; ++i)
            full += char(i);
        const QByteArray wire = QByteArray::fromHex("02 98 01 ff 00") + full + '\x03';
        QTest::newRow("255 data bytes") << 0x98 << full << wire
                                        << "]: RS232::send_raw_data: data:" + wire.toHex() + "\n";
        const QByteArray spread = QByteArray::fromHex("02 98 01 ff 2d") + QByteArray(300, '\1') + '\x03';
        QTest::newRow("300 data bytes") << 0x98 << QByteArray(300, '\1') << spread
                                        << "]: RS232::send_raw_data: data:" + spread.toHex() + "\n";
        const QByteArray cut = QByteArray::fromHex("02 98 01 ff ff") + QByteArray(510, '\2') + '\x03';
        QTest::newRow("600 data bytes, cut") << 0x98 << QByteArray(600, '\2') << cut
                                             << QByteArray("]: RS232::send_message: reply of 600 bytes cut to 510\n");
        QTest::newRow("command id 0 refused")
            << 0 << QByteArray(1, '\1') << QByteArray()
            << QByteArray("]: RS232::send_message: RS232Message(0x0|0x1|0x1|0x0|0x1) is not valid\n");
    }

    void sendMessage()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, wire);
        QFETCH(QByteArray, log);
        RS232Message reply;
        reply.set_command_id(quint8(command));
        reply.set_group_id(1);
        reply.set_data(data);

        // Standard error, where syslog copies every line; the ACK marks the end of what the reply put on the line.
        QTemporaryFile err;
        QVERIFY(err.open());
        const int saved = dup(2);
        dup2(err.handle(), 2);
        RS232::instance()->send_message(&reply);
        RS232::instance()->ack();
        dup2(saved, 2);
        close(saved);
        err.seek(0);
        const QByteArray logLines = err.readAll();
        QVERIFY2(logLines.contains(log), logLines.constData());

        QByteArray line;
        char byte;
        pollfd readable { master, POLLIN, 0 };
        while (line.size() <= wire.size() && poll(&readable, 1, 2000) > 0 && read(master, &byte, 1) == 1)
            line += byte;
        QCOMPARE(line.toHex(' '), (wire + '\x06').toHex(' '));
    }
};

QTEST_GUILESS_MAIN(TestRS232Send)
#include "test_rs232_send.moc"
