#!/usr/bin/python3
# SPDX-License-Identifier: BSD-2-Clause
# The simulated controller over the network, end to end: `scripts/run
# --listen --trace` serves the PC end through ser2net; pyserial's RFC 2217
# client (a client this project did not write) and talvox-pc drive it; the
# recorded trace of the demo and of this test decodes into readable lines.
#
# usage: network_line.py SOURCE_DIR BUILD_DIR   (exit 77: skipped, not root)
import os
import re
import socket
import subprocess
import sys
from pathlib import Path

import serial

from simulated_controller import check, failures, wait_until

SOURCE, BUILD = sys.argv[1], sys.argv[2]
CLIENT = os.path.join(BUILD, "tools", "talvox-pc")
WORK = os.path.join(BUILD, "tests", "network-line")
TRACE = os.path.join(WORK, "line.trace")
PC_PORT = os.path.join(WORK, "pc-port")
RUN_LOG = Path(WORK, "run.log")
ACK = b"\x06"
VERSION = "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work"


def frame(command, group, data=b""):
    return bytes([2, command, group, len(data), 0]) + data + b"\x03"


def client(*arguments, script=None):
    result = subprocess.run([CLIENT, *arguments], input=script and script.encode(), capture_output=True, timeout=20)
    return result.returncode, result.stdout.decode("utf-8", "replace"), result.stderr.decode("utf-8", "replace")


def pyserial_session(port):
    # A pty has no modem lines: ser2net leaves pyserial's DTR/RTS requests unanswered.
    line = serial.serial_for_url("rfc2217://127.0.0.1:%d?ign_set_control" % port, baudrate=9600, timeout=5)

    def exchange(request, answer_size):
        line.write(request)
        return line.read(answer_size)

    ident = b"Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29"
    # Line 5, "Hello " and a 0xFF (y diaeresis in ISO-8859-15): Telnet doubles it both ways.
    text = b"\x05Hello \xff"
    metres = b"\x41\x48\x00\x00"  # 12.5 as a float
    for what, request, reply in (("version", frame(0xFE, 1), frame(0xFE, 1, VERSION.encode())),
                                 ("id (command 0xFF both ways)", frame(0xFF, 1), frame(0xFF, 1, ident)),
                                 ("line set 5", frame(0x98, 2, text), b""),
                                 ("line get 5 with 0xFF", frame(0x98, 1, b"\x05"), frame(0x98, 1, text)),
                                 ("meter counter 1 set 12.5", frame(0x30, 2, metres), b"")):
        check(exchange(request, 1 + len(reply)) == ACK + reply, "pyserial: %s, exact answer" % what)
    # The value comes back from the simulator as a signal: ask until it has.
    expected = ACK + frame(0x30, 1, metres)
    check(wait_until(lambda: exchange(frame(0x30, 1), len(expected)) == expected, 5),
          "pyserial: meter counter 1 get, exact reply 12.5")
    line.close()


def talvox_pc_session(port):
    remote = "rfc2217://127.0.0.1:%d" % port
    # Names become frames, as --raw shows them (counter 3 is set under 0x3C; texts in the chosen set).
    for arguments, sent in ((["metercounter", "set", "3", "1"], "3C 02 04 00 3F 80 00 00"),
                            (["date", "set", "2026-11-22"], "40 02 04 00 16 0B 14 1A"),
                            (["--charset", "utf8", "line", "set", "1", "\u00fc"], "98 02 03 00 01 C3 BC"),
                            (["line", "set", "1", "\u00fc"], "98 02 02 00 01 FC"),
                            (["statusline", "color", "1", "2", "15"], "99 02 03 00 01 0F 02"),
                            (["screen", "temp", "4", "10", "AB", "CD"], "D7 02 08 00 04 0A 00 41 42 00 43 44")):
        code, out, err = client("-d", remote, "--raw", *arguments)
        check(code == 0 and out.startswith("sent:     02 %s 03\nreceived: 06\n" % sent),
              "talvox-pc --raw %s: %s%s" % (" ".join(arguments), out, err))
    # Each kind of failure has its exit code: no such device, a NAK, no answer, an unknown name.
    for arguments, exit_code, message in ((["-d", "/dev/no-such-line", "version"], 2, "cannot open /dev/no-such-line"),
                                          (["-d", remote, "raw", "0x05", "3"], 3, "refused the frame (NAK 0x15)"),
                                          (["-d", remote, "raw", "0", "1"], 4, "no answer within 400 ms"),
                                          (["-d", remote, "frobnicate"], 1, "metercounter get 1")):
        code, out, err = client("--timeout", "400", *arguments)
        check(code == exit_code and message in out + err, "talvox-pc %s: %d %s" % (" ".join(arguments), code, err))
    # A script: comments skipped, later texts follow its "codec set".
    code, out, err = client("-d", remote, script='# a comment\ncodec set utf8\nline set 3 "Gr\u00fc\u00dfe"\n'
                            'line get 3\ncodec set locale\nversion\n')
    check(code == 0 and 'line 3: "Gr\u00fc\u00dfe"\n' in out and out.count("done (acknowledged)") == 3
          and 'software version: "%s"\n' % VERSION in out, "talvox-pc script: " + out + err)

    # A raw TCP bridge to the same PC end, on the port socat reports listening on.
    bridge = subprocess.Popen(["socat", "-d", "-d", "TCP-LISTEN:0,bind=127.0.0.1,fork", "%s,raw,echo=0" % PC_PORT],
                              stderr=subprocess.PIPE, text=True)
    try:
        bridge_port = int(next(line for line in bridge.stderr if "listening on" in line).rsplit(":", 1)[1])
        code, out, err = client("-d", "tcp://127.0.0.1:%d" % bridge_port, "metercounter", "get", "1")
        check(code == 0 and out.startswith("meter counter 1: 12.5 metres"), "talvox-pc tcp: %s%s" % (out, err))
        # A far end that does not speak RFC 2217: the message points to tcp://.
        code, _, err = client("-d", "rfc2217://127.0.0.1:%d" % bridge_port, "--timeout", "500", "version")
        check(code == 2 and "does not answer the RFC 2217 negotiation" in err and "tcp://" in err,
              "raw port taken for RFC 2217: " + err.strip())
    finally:
        bridge.terminate()
        bridge.wait()


def check_decoded_trace():
    code, out, err = client("decode", TRACE)
    lines = out.splitlines()
    check(code == 0 and all(re.match(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}  (PC |CTL)  ", line) for line in lines),
          "decode the trace, every line with a time and a direction (%s)" % err)
    # In the order of the line: the demo, pyserial's exchanges, talvox-pc's frames read back as their commands.
    expected = [
        "PC   version", "CTL  ACK", 'CTL  reply: software version: "%s"' % VERSION,
        'PC   line set 4 "PIPE INSPECTION  Main Street 12"', "PC   overlay show",
        "PC   id", 'PC   line set 5 "Hello \u00ff"', 'CTL  reply: line 5: "Hello \u00ff"',
        "PC   metercounter set 1 12.5", "CTL  reply: meter counter 1: 12.5 metres (feet if the controller's locale is US)",
        "PC   metercounter set 3 1", "PC   date set 2026-11-22", 'PC   line set 1 "\u00fc"',
        "PC   statusline color 1 2 15", 'PC   screen temp 4 10 "AB" "CD"', "CTL  NAK",
        "PC   frame with command id 0, ignored by the controller, no data",
        "PC   codec set utf8", 'PC   line set 3 "Gr\u00fc\u00dfe"', 'CTL  reply: line 3: "Gr\u00fc\u00dfe"',
    ]
    print(out)
    remaining = iter(line.split("  ", 1)[1] for line in lines)
    missing = [event for event in expected if event not in remaining]  # each `in` goes on where the last stopped
    check(not missing, "decoded trace has the demo and this test's exchanges in order; missing: %s" % missing[:1])


def main():
    if os.geteuid() != 0:
        print("skipped: scripts/run needs root")
        return 77
    os.makedirs(WORK, exist_ok=True)
    with socket.socket() as probe:  # a free port for ser2net
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    environment = dict(os.environ, TALVOX_BUILD_DIR=BUILD, TALVOX_RUN_DIR=os.path.join(WORK, "run"),
                       TALVOX_PC_PORT=PC_PORT, TALVOX_DEMO_PAUSE="0")
    with open(RUN_LOG, "w") as log:
        run = subprocess.Popen([os.path.join(SOURCE, "scripts", "run"), "--no-build", "--demo", "--listen",
                                "127.0.0.1:%d" % port, "--trace", TRACE], stdout=log, stderr=log, env=environment)
    try:
        # The demo ends with this line; then the line is free for the network.
        check(wait_until(lambda: "That was the protocol at work" in RUN_LOG.read_text(errors="replace"), 120),
              "scripts/run ran the demo")
        if not failures:
            pyserial_session(port)
            talvox_pc_session(port)
    finally:
        run.terminate()
        run.wait(30)
    check_decoded_trace()
    print("scripts/run said:\n" + RUN_LOG.read_text(errors="replace"))
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


sys.exit(main())
