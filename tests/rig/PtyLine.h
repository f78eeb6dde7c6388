#ifndef PTYLINE_H
#define PTYLINE_H

#include <QByteArray>
#include <QString>

// The PC end of a virtual serial line: a pty pair in raw mode. The service
// opens the slave by name; the test reads and writes the master.
class PtyLine
{
public:
    PtyLine() = default;
    ~PtyLine();
    PtyLine(const PtyLine&) = delete;
    PtyLine& operator=(const PtyLine&) = delete;

    bool open(QString* error);
    // The slave's device name as talvox takes it after "-d": "pts/N".
    QString device() const { return m_device; }
    bool isOpen() const { return m_master >= 0; }

    void write(const QByteArray& bytes);
    // Exactly n bytes, or fewer if the time-out passes first.
    QByteArray read(int n, int timeoutMs);
    // Everything that arrives until the line has been quiet for quietMs.
    QByteArray readAll(int quietMs);
    // Closes both ends held here: the service sees the PC hang up.
    void hangUp();

private:
    // Waits until the master is readable; false on time-out or hang-up.
    bool waitReadable(int timeoutMs);

    int m_master = -1;
    int m_slave = -1;
    QString m_device;
};

#endif
