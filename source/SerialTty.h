// SPDX-License-Identifier: BSD-2-Clause
#ifndef SERIALTTY_H
#define SERIALTTY_H

#include <QString>

// The controller's end of the serial line, opened and configured by the
// service itself, as serial daemons do: a serial port library would add
// UUCP lock files and a reader of its own, and none builds for every board.
namespace SerialTty {

// The device's file: a bare name ("ttyS0") is in /dev, a path is taken as it is.
QString devicePath(const QString& device);

// Opens the tty at path for reading and writing, non-blocking and without
// making it the controlling terminal, takes it exclusively (TIOCEXCL) and
// sets it raw, 9600 baud, 8N1, receiver on, modem lines ignored, no flow
// control. Returns the descriptor, or -1 with the reason in error (a file
// that is no terminal fails at the first terminal request).
int openLine(const QString& path, QString& error);

// Gives up the exclusive hold and closes the descriptor.
void closeLine(int fd);

} // namespace SerialTty

#endif
