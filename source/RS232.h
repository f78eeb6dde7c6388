#ifndef RS232_H
#define RS232_H

#include "RS232Message.h"
#include "RS232Receiver.h"

#include <QObject>
#include <QSerialPort>
#include <QString>

// The serial link to the PC: one process-wide instance that owns the port,
// turns the incoming bytes into frames, answers each with ACK or NAK, hands
// valid frames to the command registry and writes the replies.
class RS232 : public QObject
{
    Q_OBJECT

public:
    static RS232* instance();

    int init(QString device, int baud);
    int configure_rs232_interface(QString device, int baud, int databits, QString parity, int stopbits);

    void ack();
    void nack();
    void send_message(RS232Message* message);
    void send_raw_data(const QByteArray& data);
    int handle_message(RS232Message& message);
    QString get_device() const;

public slots:
    // Reads everything the port has and runs it through the receiver.
    void receive_rs232_message(int);

private slots:
    void on_port_error(QSerialPort::SerialPortError error);

private:
    RS232();
    void process_chunk(const QByteArray& chunk);
    [[noreturn]] void line_lost();

    QSerialPort port;
    RS232Receiver receiver;
    QString device;

    static RS232* _instance;
};

#endif
