#include "RS232.h"

#include "CEventLogger.h"
#include "RS232Handler.h"
#include "talvox.h"

#include <QFile>
#include <QMutex>

RS232* RS232::_instance = nullptr;

namespace {
const char ACK = 0x06;
const char NAK = 0x15;
}

RS232* RS232::instance()
{
    if (!_instance)
        _instance = new RS232();
    return _instance;
}

RS232::RS232()
{
    qInstallMessageHandler(msgHandler);
}

int RS232::init(QString device, int baud)
{
    return configure_rs232_interface(device, baud, 8, "N", 1);
}

int RS232::configure_rs232_interface(QString device, int baud, int databits, QString parity, int stopbits)
{
    // The line always runs 9600 8N1: the arguments are accepted, not applied.
    Q_UNUSED(baud);
    Q_UNUSED(databits);
    Q_UNUSED(parity);
    Q_UNUSED(stopbits);

    if (port.isOpen())
        port.close();
    disconnect(&port, nullptr, this, nullptr);

    if (!device.startsWith('/'))
        device.prepend("/dev/");
    if (!QFile::exists(device)) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR, "interface " + device + " doesn't exists!");
        app_exit(8);
    }

    port.setPortName(device);
    port.setBaudRate(QSerialPort::Baud9600);
    port.setDataBits(QSerialPort::Data8);
    port.setParity(QSerialPort::NoParity);
    port.setStopBits(QSerialPort::OneStop);
    const bool opened = port.open(QIODevice::ReadWrite);

    // readyRead is the read notifier; a read or resource error is what a
    // vanished device or a hung-up PC side looks like on this port class.
    connect(&port, &QSerialPort::readyRead, this, [this] { receive_rs232_message(0); });
    connect(&port, &QSerialPort::errorOccurred, this, &RS232::on_port_error);

    return opened ? 1 : 0;
}

void RS232::receive_rs232_message(int)
{
    static QMutex receiveLock;
    if (!receiveLock.tryLock()) {
        CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "Rubo-mutex");
        return;
    }

    const QByteArray chunk = port.readAll();
    if (chunk.isEmpty())
        line_lost();

    process_chunk(chunk);
    receiveLock.unlock();
}

void RS232::process_chunk(const QByteArray& chunk)
{
    const char* bytes = chunk.constData();
    for (int i = 0; i < chunk.size(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(bytes[i]);
        switch (receiver.push(byte)) {
        case RS232Receiver::NOTHING:
            break;
        case RS232Receiver::TYPED_CHAR:
            RS232Handler::add_char_to_line(static_cast<char>(byte));
            break;
        case RS232Receiver::FRAME_VALID:
            // The PC always sees the ACK ahead of any reply.
            ack();
            handle_message(receiver.message());
            receiver.reset();
            break;
        case RS232Receiver::FRAME_INVALID:
            // Command id 0: swallowed without ACK or NAK.
            CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "is not valid");
            receiver.reset();
            break;
        case RS232Receiver::REFUSED:
            // A broken frame costs the whole chunk, later frames included.
            TVX_LOG(CEventLogger::LOG_LEVEL_EMERGENCY,
                    "RS232::receive_rs232_message: message invalid: " + QString::fromLatin1(chunk.toHex()));
            nack();
            receiver.reset();
            return;
        }
    }
}

void RS232::on_port_error(QSerialPort::SerialPortError error)
{
    if (error == QSerialPort::ReadError || error == QSerialPort::ResourceError)
        line_lost();
}

void RS232::line_lost()
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY, "data or not data - this is the question");
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_EMERGENCY,
                             "something has break the talvox in RS232::receive_rs232_message");
    app_exit(7);
}

void RS232::ack()
{
    send_raw_data(QByteArray(1, ACK));
}

void RS232::nack()
{
    send_raw_data(QByteArray(1, NAK));
}

void RS232::send_message(RS232Message* message)
{
    if (!message->is_valid()) {
        TVX_LOG(CEventLogger::LOG_LEVEL_ERROR,
                "RS232::send_message: RS232Message(" + message->toStr() + ") is not valid");
        return;
    }
    send_raw_data(message->to_frame());
}

void RS232::send_raw_data(const QByteArray& data)
{
    port.write(data);
    port.flush();
    if (CEventLogger::wouldLog(CEventLogger::LOG_LEVEL_DEBUG))
        TVX_LOG(CEventLogger::LOG_LEVEL_DEBUG, "RS232::send_raw_data: data:" + QString::fromLatin1(data.toHex()));
}

int RS232::handle_message(RS232Message& message)
{
    RS232Handler::instance()->exec_func(message);
    return 0;
}

QString RS232::get_device() const
{
    return device;
}
