#!/usr/bin/python3
# The simulated controller over the network, end to end: `scripts/run
# --listen --trace` serves the PC end through ser2net; pyserial's RFC 2217
# client (a client this project did not write) and talvox-pc drive it; the
# recorded trace of the demo and of this test decodes into readable lines.
#
# usage: network_line.py SOURCE_DIR BUILD_DIR   (exit 77: skipped, not root)
import os
import re
import signal
import socket
import subprocess
import sys
import threading
import time

import serial

SOURCE, BUILD = sys.argv[1], sys.argv[2]
CLIENT = os.path.join(BUILD, "tools", "talvox-pc")
WORK = os.path.join(BUILD, "tests", "network-line")
TRACE = os.path.join(WORK, "line.trace")
PC_PORT = os.path.join(WORK, "pc-port")
ACK = b"\x06"
failures = []


def check(condition, what):
    print(("ok    " if condition else "FAIL  ") + what, flush=True)
    if not condition:
        failures.append(what)


def frame(command, group, data=b""):
    return bytes([2, command, group, len(data), 0]) + data + b"\x03"


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def client(*arguments, timeout=20):
    result = subprocess.run([CLIENT, *arguments], capture_output=True, timeout=timeout)
    return result.returncode, result.stdout.decode("utf-8", "replace"), result.stderr.decode("utf-8", "replace")


def wait_for_output(process, text, seconds):
    """Reads the run's standard output until a line contains `text`."""
    found = threading.Event()

    def reader():
        for line in process.stdout:
            sys.stdout.write("run| " + line)
            if text in line:
                found.set()

    threading.Thread(target=reader, daemon=True).start()
    return found.wait(seconds)


def listening(port):
    needle = ":%04X " % port
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        with open(table) as f:
            if any(needle in line and line.split()[3] == "0A" for line in f):
                return True
    return False


def wait_until(condition, seconds):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.05)
    return True


def pyserial_session(port):
    # A pty has no modem lines: ser2net leaves pyserial's DTR/RTS requests unanswered.
    line = serial.serial_for_url("rfc2217://127.0.0.1:%d?ign_set_control" % port, baudrate=9600, timeout=5)

    def exchange(request, answer_size):
        line.write(request)
        return line.read(answer_size)

    version = b"Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work"
    ident = b"Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29"
    # Line 5, "Hello " and a 0xFF (y diaeresis in ISO-8859-15): Telnet doubles it both ways.
    text = b"\x05Hello \xff"
    for what, request, reply in (("version", frame(0xFE, 1), frame(0xFE, 1, version)),
                                 ("id (command 0xFF both ways)", frame(0xFF, 1), frame(0xFF, 1, ident)),
                                 ("line set 5", frame(0x98, 2, text), b""),
                                 ("line get 5 with 0xFF", frame(0x98, 1, b"\x05"), frame(0x98, 1, text))):
        check(exchange(request, 1 + len(reply)) == ACK + reply, "pyserial: %s, exact answer" % what)

    metres = b"\x41\x48\x00\x00"  # 12.5 as a float
    check(exchange(frame(0x30, 2, metres), 1) == ACK, "pyserial: meter counter 1 set 12.5, ACK")
    # The value comes back from the simulator as a signal: ask until it has.
    expected = ACK + frame(0x30, 1, metres)
    check(wait_until(lambda: exchange(frame(0x30, 1), len(expected)) == expected, 5),
          "pyserial: meter counter 1 get, exact reply 12.5")
    line.close()


def refusing_server():
    """A Telnet server that refuses COM port control (IAC DONT 44)."""
    server = socket.socket()
    server.bind(("127.0.0.1", 0))
    server.listen(1)

    def serve():
        connection, _ = server.accept()
        connection.recv(100)
        connection.sendall(b"\xff\xfe\x2c")
        connection.recv(100)  # until the client gives up
        connection.close()

    threading.Thread(target=serve, daemon=True).start()
    return server.getsockname()[1]


def talvox_pc_session(port):
    remote = "rfc2217://127.0.0.1:%d" % port
    code, out, err = client("-d", remote, "version")
    check(code == 0 and out == 'software version: "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work"\n',
          "talvox-pc rfc2217: version (%d %s%s)" % (code, out, err))
    code, _, err = client("-d", "/dev/no-such-line", "version")
    check(code == 2 and "cannot open /dev/no-such-line" in err, "missing device: " + err.strip())

    # Names become frames, as --raw shows them (counter 3 is set under 0x3C; texts in the chosen set).
    for arguments, sent in ((["metercounter", "set", "3", "1"], "3C 02 04 00 3F 80 00 00"),
                            (["date", "set", "2026-11-22"], "40 02 04 00 16 0B 14 1A"),
                            (["--charset", "utf8", "line", "set", "1", "\u00fc"], "98 02 03 00 01 C3 BC"),
                            (["line", "set", "1", "\u00fc"], "98 02 02 00 01 FC"),
                            (["screen", "temp", "4", "10", "AB", "CD"], "D7 02 08 00 04 0A 00 41 42 00 43 44")):
        code, out, err = client("-d", remote, "--raw", *arguments)
        check(code == 0 and out.startswith("sent:     02 %s 03\nreceived: 06\n" % sent),
              "talvox-pc --raw %s: %s%s" % (" ".join(arguments), out, err))
    # A NAK, an ACK without its reply, silence and an unknown name: each its own exit code.
    for arguments, exit_code, message in ((["raw", "0x05", "3"], 3, "refused the frame (NAK 0x15)"),
                                          (["statusline", "state", "0"], 4, "acknowledged the command but sent no reply"),
                                          (["raw", "0", "1"], 4, "no answer within 400 ms"),
                                          (["frobnicate"], 1, "metercounter get 1")):
        code, out, err = client("-d", remote, "--timeout", "400", *arguments)
        check(code == exit_code and message in out + err, "talvox-pc %s: %d %s" % (" ".join(arguments), code, err))
    # A script: comments skipped, later texts follow its "codec set".
    result = subprocess.run([CLIENT, "-d", remote], input='# a comment\ncodec set utf8\nline set 3 "Gr\u00fc\u00dfe"\n'
                            'line get 3\ncodec set locale\nversion\n'.encode(), capture_output=True, timeout=20)
    out = result.stdout.decode("utf-8", "replace")
    check(result.returncode == 0 and 'line 3: "Gr\u00fc\u00dfe"\n' in out and out.count("done (acknowledged)") == 3
          and "software version: " in out, "talvox-pc script: " + out)

    # A raw TCP bridge to the same PC end.
    bridge_port = free_port()
    bridge = subprocess.Popen(["socat", "TCP-LISTEN:%d,bind=127.0.0.1,reuseaddr,fork" % bridge_port,
                               "%s,raw,echo=0" % PC_PORT], stderr=subprocess.DEVNULL)
    try:
        check(wait_until(lambda: listening(bridge_port), 10), "socat bridge listens")
        code, out, err = client("-d", "tcp://127.0.0.1:%d" % bridge_port, "metercounter", "get", "1")
        check(code == 0 and out.startswith("meter counter 1: 12.5 metres"), "talvox-pc tcp: %s%s" % (out, err))

        # Bad input: clear messages, non-zero exits.
        code, _, err = client("-d", "rfc2217://127.0.0.1:%d" % free_port(), "version")
        check(code == 2 and "Connection refused" in err, "unreachable port: " + err.strip())
        code, _, err = client("-d", "rfc2217://127.0.0.1:%d" % refusing_server(), "version")
        check(code == 2 and "refuses RFC 2217" in err, "refusing server: " + err.strip())
        code, _, err = client("-d", "rfc2217://127.0.0.1:%d" % bridge_port, "--timeout", "500", "version")
        check(code == 2 and "does not answer the RFC 2217 negotiation" in err and "tcp://" in err,
              "raw port taken for RFC 2217: " + err.strip())
    finally:
        bridge.terminate()
        bridge.wait()


def check_decoded_trace():
    code, out, err = client("decode", TRACE)
    check(code == 0, "decode the trace (%s)" % err)
    # Without the times: "PC   <event>" / "CTL  <event>", in the order of the line.
    events = [line.split("  ", 1)[1] for line in out.splitlines()]
    expected = [
        "PC   version", "CTL  ACK", 'CTL  reply: software version: "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work"',
        'PC   line set 4 "PIPE INSPECTION  Main Street 12"', "PC   overlay show",
        # this test's own traffic
        "PC   id", 'PC   line set 5 "Hello \u00ff"', 'CTL  reply: line 5: "Hello \u00ff"',
        "PC   metercounter set 1 12.5", "CTL  reply: meter counter 1: 12.5 metres (feet if the controller's locale is US)",
    ]
    position = 0
    for event in expected:
        try:
            position = events.index(event, position) + 1
        except ValueError:
            check(False, "decoded trace has, in order: " + event)
            print("\n".join(out.splitlines()[:60]))
            return
    check(True, "decoded trace has the demo and this test's exchanges in order")
    check(all(re.match(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}  (PC |CTL)  ", line) for line in out.splitlines()),
          "every decoded line has a time and a direction")


def main():
    if os.geteuid() != 0:
        print("skipped: scripts/run needs root")
        return 77
    os.makedirs(WORK, exist_ok=True)
    port = free_port()
    environment = dict(os.environ, TALVOX_BUILD_DIR=BUILD, TALVOX_RUN_DIR=os.path.join(WORK, "run"),
                       TALVOX_PC_PORT=PC_PORT, TALVOX_DEMO_PAUSE="0")
    run = subprocess.Popen([os.path.join(SOURCE, "scripts", "run"), "--no-build", "--demo", "--listen",
                            "127.0.0.1:%d" % port, "--trace", TRACE],
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, env=environment)
    try:
        # The demo ends with this line; then the line is free for the network.
        if not wait_for_output(run, "That was the protocol at work", 120):
            check(False, "scripts/run --demo --listen came up and ran the demo")
            return 1
        pyserial_session(port)
        talvox_pc_session(port)
    finally:
        run.send_signal(signal.SIGTERM)
        run.wait(30)
    check_decoded_trace()
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


sys.exit(main())
