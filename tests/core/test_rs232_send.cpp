// The sending half of the serial link on a pty: what goes out on the line for
// a reply, what is refused (never more than 255 data bytes), and the log lines.
#include "CEventLogger.h"
#include "RS232.h"

#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// What `action` writes to standard error, where syslog copies every line.
QByteArray stderrOf(const std::function<void()>& action)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot open a temporary file";
    std::fflush(stderr);
    const int saved = dup(2);
    dup2(file.handle(), 2);
    action();
    std::fflush(stderr);
    dup2(saved, 2);
    close(saved);
    file.seek(0);
    return file.readAll();
}

QByteArray logged(const QByteArray& text)
{
    return "talvox[" + QByteArray::number(getpid()) + "]: " + text + "\n";
}
}

class TestRS232Send : public QObject
{
    Q_OBJECT

    int master = -1;
    int slave = -1;

    // Reads until `count` bytes have come or two seconds have passed.
    QByteArray readLine(int count);

private slots:
    void initTestCase();
    void cleanupTestCase();
    void sendMessage_data();
    void sendMessage();
    void ackAndNak();
};

void TestRS232Send::initTestCase()
{
    CEventLogger::initialize("talvox", CEventLogger::LOG_LEVEL_DEBUG);
    char name[64] = {};
    QCOMPARE(openpty(&master, &slave, name, nullptr, nullptr), 0);
    termios raw;
    tcgetattr(slave, &raw);
    cfmakeraw(&raw);
    tcsetattr(slave, TCSANOW, &raw);
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);

    // A bare name gets "/dev/" in front: "pts/N" opens "/dev/pts/N".
    const QString device = QString::fromLatin1(name).mid(5);
    QVERIFY(device.startsWith("pts/"));
    QCOMPARE(RS232::instance()->init(device, 115200), 1);
    QCOMPARE(RS232::instance()->get_device(), QString()); // never set by this version
}

void TestRS232Send::cleanupTestCase()
{
    // Reconfiguring closes the pty (and frees the port's LCK.. file);
    // /dev/null exists but is no terminal, so the open fails and init gives 0.
    QCOMPARE(RS232::instance()->init("/dev/null", 9600), 0);
    close(master);
    close(slave);
}

QByteArray TestRS232Send::readLine(int count)
{
    QByteArray bytes;
    char buffer[1024];
    while (bytes.size() < count) {
        pollfd pfd{master, POLLIN, 0};
        if (poll(&pfd, 1, 2000) <= 0)
            break;
        const ssize_t n = read(master, buffer, sizeof buffer);
        if (n <= 0)
            break;
        bytes.append(buffer, int(n));
    }
    return bytes;
}

void TestRS232Send::sendMessage_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("group");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("lengthLo"); // -1: as set_data sets it
    QTest::addColumn<QByteArray>("wire");
    QTest::addColumn<QByteArray>("log");

    QByteArray full(255, '\0');
    for (int i = 0; i < full.size(); ++i)
        full[i] = char(i);
    const QByteArray fullWire = hex("02 98 01 ff 00") + full + hex("03");
    QTest::newRow("255 data bytes") << 0x98 << 1 << full << -1 << fullWire
                                    << logged("RS232::send_raw_data: data:" + fullWire.toHex());
    QTest::newRow("no data") << 0x30 << 1 << QByteArray() << -1 << hex("02 30 01 00 00 03")
                             << logged("RS232::send_raw_data: data:023001000003");
    QTest::newRow("any group but 255") << 0x01 << 0xfe << hex("02 03") << -1 << hex("02 01 fe 02 00 02 03 03")
                                       << logged("RS232::send_raw_data: data:0201fe0200020303");

    const QString threeHundred = QString("0x1|").repeated(299) + "0x1";
    QTest::newRow("300 data bytes refused")
        << 0x05 << 1 << QByteArray(300, '\1') << -1 << QByteArray()
        << logged("RS232::send_message: RS232Message(0x5|0x1|0x2c|0x1|" + threeHundred.toLatin1() + ") is not valid");
    QTest::newRow("256 data bytes refused") << 0x05 << 1 << QByteArray(256, '\1') << -1 << QByteArray()
                                            << QByteArray("RS232Message(0x5|0x1|0x0|0x1|0x1|");
    QTest::newRow("command id 0 refused") << 0 << 1 << QByteArray() << -1 << QByteArray()
                                          << logged("RS232::send_message: RS232Message(0x0|0x1|0x0|0x0|) is not valid");
    QTest::newRow("group 255 refused") << 5 << 255 << QByteArray() << -1 << QByteArray()
                                       << logged("RS232::send_message: RS232Message(0x5|0xff|0x0|0x0|) is not valid");
    QTest::newRow("length bytes disagree with data")
        << 5 << 1 << hex("aa bb") << 3 << QByteArray()
        << logged("RS232::send_message: RS232Message(0x5|0x1|0x3|0x0|0xaa|0xbb) is not valid");
}

void TestRS232Send::sendMessage()
{
    QFETCH(int, command);
    QFETCH(int, group);
    QFETCH(QByteArray, data);
    QFETCH(int, lengthLo);
    QFETCH(QByteArray, wire);
    QFETCH(QByteArray, log);

    RS232Message reply;
    reply.set_command_id(command);
    reply.set_group_id(group);
    reply.set_data(data);
    if (lengthLo >= 0)
        reply.set_length_lo(lengthLo);

    // An ACK written afterwards marks the end of what the reply put on the line.
    const QByteArray err = stderrOf([&] {
        RS232::instance()->send_message(&reply);
        RS232::instance()->ack();
    });
    QVERIFY2(err.contains(log), err.constData());
    QCOMPARE(readLine(wire.size() + 1).toHex(' '), (wire + hex("06")).toHex(' '));
}

void TestRS232Send::ackAndNak()
{
    const QByteArray err = stderrOf([] {
        RS232::instance()->nack();
        RS232::instance()->ack();
    });
    QCOMPARE(readLine(2).toHex(' '), QByteArray("15 06"));
    QCOMPARE(err, logged("RS232::send_raw_data: data:15") + logged("RS232::send_raw_data: data:06"));
}

QTEST_GUILESS_MAIN(TestRS232Send)
#include "test_rs232_send.moc"
