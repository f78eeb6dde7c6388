// The sending half of the serial link on a pty: what goes out on the line for a long reply, cut at 510 data
// bytes with a log line.
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
        CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_ERROR);
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
        // Reconfiguring closes the pty and frees its LCK.. file (/dev/null is no terminal: nothing is opened).
        RS232::instance()->init("/dev/null");
        close(master);
        close(slave);
    }

    // Over 255 data bytes go out as length lo 255 plus length hi (the 301-byte reply on the line is end to
    // end); what these two bytes cannot announce is cut and logged.
    void longReplyIsCut()
    {
        RS232Message reply;
        reply.set_command_id(0x98);
        reply.set_group_id(1);
        reply.set_data(QByteArray(600, '\1'));
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
        QVERIFY2(logLines.contains("]: RS232::send_message: reply of 600 bytes cut to 510\n"), logLines.constData());
        const QByteArray wire
            = QByteArray::fromHex("02 98 01 ff ff") + QByteArray(510, '\1') + QByteArray::fromHex("03 06");
        QByteArray line;
        char byte;
        pollfd readable { master, POLLIN, 0 };
        while (line.size() < wire.size() && poll(&readable, 1, 2000) > 0 && read(master, &byte, 1) == 1)
            line += byte;
        QCOMPARE(line.toHex(' '), wire.toHex(' '));
    }
};

QTEST_GUILESS_MAIN(TestRS232Send)
#include "test_rs232_send.moc"
