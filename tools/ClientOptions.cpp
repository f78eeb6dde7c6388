// SPDX-License-Identifier: BSD-2-Clause
#include "ClientOptions.h"

#include "CharsetNames.h"

namespace {

// Options come first; the first word that is no option starts the command,
// so that negative numbers in it ("3d position -1 0 0") stay arguments.
bool takeValue(const QStringList& arguments, int* index, QString* value, QString* error)
{
    const QString& option = arguments[*index];
    const int equals = option.indexOf(QLatin1Char('='));
    if (option.startsWith(QLatin1String("--")) && equals > 0) {
        *value = option.mid(equals + 1);
        return true;
    }
    if (*index + 1 >= arguments.size()) {
        *error = QStringLiteral("option %1 needs a value").arg(option);
        return false;
    }
    *value = arguments[++*index];
    return true;
}

bool is(const QString& argument, const char* shortName, const char* longName)
{
    return (shortName && argument == QLatin1String(shortName)) || argument == QLatin1String(longName)
        || argument.startsWith(QLatin1String(longName) + QLatin1Char('='));
}

} // namespace

bool parseOptions(const QStringList& arguments, ClientOptions* options, QString* error)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        QString value;
        if (!argument.startsWith(QLatin1Char('-')) || argument == QLatin1String("-")) {
            options->command = arguments.mid(i);
            return true;
        }
        if (is(argument, "-h", "--help")) {
            options->mode = ClientOptions::Help;
        } else if (argument == QLatin1String("--list")) {
            options->mode = ClientOptions::List;
        } else if (argument == QLatin1String("--list-markdown")) {
            options->mode = ClientOptions::ListMarkdown;
        } else if (argument == QLatin1String("--raw")) {
            options->raw = true;
        } else if (is(argument, "-d", "--device")) {
            if (!takeValue(arguments, &i, &options->device, error))
                return false;
        } else if (is(argument, "-t", "--timeout")) {
            bool ok = false;
            if (!takeValue(arguments, &i, &value, error))
                return false;
            options->timeoutMs = value.toInt(&ok);
            if (!ok || options->timeoutMs <= 0) {
                *error = QStringLiteral("--timeout takes milliseconds, e.g. 3000");
                return false;
            }
        } else if (is(argument, nullptr, "--charset")) {
            if (!takeValue(arguments, &i, &value, error))
                return false;
            if (!parseCharsetName(value, &options->charset)) {
                *error = QStringLiteral("--charset is locale, utf8 or utf16");
                return false;
            }
        } else if (is(argument, nullptr, "--locale-codec")) {
            if (!takeValue(arguments, &i, &options->localeCodec, error))
                return false;
        } else {
            *error = QStringLiteral("unknown option %1 (see talvox-pc --help)").arg(argument);
            return false;
        }
    }
    return true;
}

QString helpText()
{
    return QStringLiteral(R"(talvox-pc: talk to a talvox controller over its serial line, as the PC does.

Usage:
  talvox-pc [options] <command> [arguments]     send one command
  talvox-pc [options] < script.txt              send the commands of a script,
                                                one per line ('#' starts a comment)
  talvox-pc [options] decode [decode options] [FILE...]
                                                decode captured line traffic
  talvox-pc -d DEVICE replay [--paced] TRACE    replay a recorded session and compare

Examples:
  talvox-pc -d /dev/ttyUSB0 version
  talvox-pc -d /dev/ttyUSB0 metercounter get 1
  talvox-pc -d /dev/ttyUSB0 metercounter set 2 12.5
  talvox-pc -d /dev/ttyUSB0 line set 5 "Hello"
  talvox-pc -d /dev/ttyUSB0 statusline state 3
  talvox-pc -d /dev/ttyUSB0 date set 2026-11-22
  talvox-pc -d /dev/ttyUSB0 --raw raw 0x30 1        any frame: command id, group id, data bytes
  talvox-pc -d rfc2217://192.168.1.20:4000 version  a serial port served over the network
  talvox-pc decode line.trace                        what the PC and the controller said

Every command is one frame (0x02, command id, group id, length lo, length hi,
data, 0x03). The controller answers each frame with ACK (0x06) or NAK (0x15);
a query (group 1) then sends a reply frame, which talvox-pc prints in words.
Meter counters travel in metres, or in feet when the controller's locale is
US: talvox-pc cannot know which, and says so.

Options:
  -d, --device PATH      the serial device (default /dev/ttyUSB0); 9600 baud, 8N1;
                         or rfc2217://HOST:PORT, a remote serial port (RFC 2217,
                         e.g. ser2net or scripts/run --listen), set to 9600 8N1;
                         or tcp://HOST:PORT, a raw TCP bridge to the line
  -t, --timeout MS       how long to wait for the ACK and the reply (default 3000)
      --charset SET      how texts on the line are encoded: locale, utf8 or utf16
                         (default locale); it must match the controller's
                         "codec set", which a script's "codec set" also changes here
      --locale-codec NAME  the controller's locale codec (default ISO-8859-15;
                         ISO-8859-5 for Russian, ISO-8859-16 or ISO-8859-2 in
                         parts of Europe)
      --raw              also print the bytes sent and received (decode: each
                         frame's bytes)
      --list             list every command with its arguments and effect
      --list-markdown    print the protocol reference (docs/protocol.md)
  -h, --help             this text

Decoding line traffic (for service technicians with a tap on a real line):
  talvox-pc decode TRACE...                 trace files, both directions with times
  talvox-pc decode [--from pc|ctl] CAPTURE  raw bytes of one direction (default pc:
                                            what the PC sent); "-" or none: stdin
  talvox-pc decode PC_CAPTURE CTL_CAPTURE   raw bytes of both directions; without
                                            times the PC's events come first
  talvox-pc decode --follow [--from pc|ctl] DEVICE
  talvox-pc decode --follow PC_DEVICE CTL_DEVICE
                                            live lines, opened read-only (a
                                            sniffer's receive lines), stamped with
                                            the time they arrive; Ctrl-C stops
One line per event: time (if known), PC or CTL, then a frame of the PC as the
talvox-pc command that sends it, "typed" characters, ACK, NAK, "reply:" and a
reply in words, bytes that form no frame in hex, and a frame the capture cuts
off as "truncated frame". Texts are read in --charset and follow "codec set".
A trace file (scripts/run --trace FILE writes one) is text:
  # talvox line trace
  2026-05-01T12:00:00.123456 pc 02 FE 01 00 00 03
  2026-05-01T12:00:00.125001 ctl 06
one line per chunk: the time (no blanks; "-" if unknown), pc (sent by the PC)
or ctl (sent by the controller), the bytes in hex; '#' starts a comment.

Replaying a session (scripts/run --trace FILE records one; tests/traces/ has some):
  talvox-pc -d DEVICE replay TRACE          sends the PC's side of the trace, each
                                            chunk once the controller has answered
                                            the one before (--paced: at the times
                                            recorded), and compares every answer
                                            (ACK, NAK, reply) with the recorded one.
                                            Exit 0 when all match; 1 at the first
                                            difference, printed with the command
                                            and both answers in words; 2 when the
                                            trace or device cannot be read. The date,
                                            the time, meter counters, 3D data and
                                            the device values the siblings push
                                            (temperatures, pan, tilt, inclination)
                                            differ from run to run: they are
                                            compared by shape (same frame, same
                                            length), not value.

Exit status:
  0  done          1  unknown command or bad arguments (decode: lines of a
                      trace that are no trace lines)
  2  the device cannot be opened or failed (decode: a file that cannot be read,
     a followed line that ended)
  3  the controller refused the frame (NAK)
  4  time-out: no ACK, or no reply to a query
)");
}
