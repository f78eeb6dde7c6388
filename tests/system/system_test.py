#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-2-Clause
"""The installed package in a booted Debian 12 system, checked from the host as a user would.

qemu (TCG) boots the image that scripts/system-test made; the host plugs and pulls an emulated FTDI USB serial
adapter through QMP, speaks the protocol on the host's end of its line (a pty), and asks the guest what it sees
through a test agent on a virtio port. Every wait is for something the guest or the line must show, with a
generous limit for a loaded machine. On failure the guest's journal and console are kept in DIR/artifacts.
"""
import argparse
import datetime
import json
import os
import select
import socket
import subprocess
import sys
import termios
import time
import tty

UNIT = "talvox@ttyUSB0.service"
METER_QUERY = bytes([0x02, 0x30, 0x01, 0x00, 0x00, 0x03])
ACK, NAK = 0x06, 0x15


class Failure(Exception):
    pass


class Qmp:
    """qemu's machine protocol: one command at a time, events skipped."""

    def __init__(self, path):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.connect(path)
        self.file = self.sock.makefile("rwb", buffering=0)
        self.file.readline()  # the greeting
        self.command("qmp_capabilities")

    def command(self, name, **arguments):
        self.file.write(json.dumps({"execute": name, "arguments": arguments}).encode() + b"\n")
        while True:
            answer = json.loads(self.file.readline())
            if "return" in answer:
                return answer["return"]
            if "error" in answer:
                raise Failure(f"qmp {name}: {answer['error']}")


class Agent:
    """Runs one shell command line at a time in the guest (tests/system/guest/talvox-test-agent)."""

    def __init__(self, path):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.connect(path)
        self.buffer = b""
        self.serial = 0

    def run(self, command, limit=60):
        self.serial += 1
        end = f"::end {self.serial} ".encode()
        self.sock.sendall(f"{self.serial} {command}\n".encode())
        deadline = time.monotonic() + limit
        while end not in self.buffer:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.sock], [], [], left)[0]:
                raise TimeoutError(f"guest did not answer: {command}")
            chunk = self.sock.recv(65536)
            if not chunk:
                raise Failure("the agent's port closed")
            self.buffer += chunk
        # Answers to commands that timed out earlier are dropped with what precedes this one's.
        before, _, after = self.buffer.partition(end)
        status, _, self.buffer = after.partition(b"::\n")
        output = before.rsplit(b"::\n", 1)[-1] if b"::end " in before else before
        return int(status), output.decode(errors="replace").rstrip("\n")

    def out(self, command, limit=60):
        return self.run(command, limit)[1]

    def wait_until(self, condition, what, limit):
        """Polls a shell condition inside the guest (every 0.2 s) until it holds."""
        tenths = int(limit * 5)
        status, _ = self.run(f"i=0; until {condition}; do i=$((i+1)); [ $i -gt {tenths} ] && exit 1; sleep 0.2; done",
                             limit + 60)
        if status != 0:
            raise Failure(f"{what}: not within {limit} s")


class Line:
    """The host's end of the adapter's serial line."""

    def __init__(self, path):
        self.fd = os.open(path, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.fd)
        attributes = termios.tcgetattr(self.fd)
        attributes[3] &= ~termios.ECHO
        termios.tcsetattr(self.fd, termios.TCSANOW, attributes)

    def drain(self):
        while select.select([self.fd], [], [], 0)[0]:
            try:
                if not os.read(self.fd, 4096):
                    return
            except OSError:
                return

    def read_exactly(self, size, limit):
        data = b""
        deadline = time.monotonic() + limit
        while len(data) < size:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.fd], [], [], left)[0]:
                break
            try:
                data += os.read(self.fd, size - len(data))
            except OSError:  # EIO while the adapter is away
                time.sleep(0.1)
        return data

    def ask(self, frame, answer_size, limit=10):
        os.write(self.fd, frame)
        return self.read_exactly(answer_size, limit)


def meter_answer_ok(answer):
    return len(answer) == 11 and answer[0] == ACK and answer[1:6] == bytes([0x02, 0x30, 0x01, 0x04, 0x00]) \
        and answer[10] == 0x03


class Run:
    def __init__(self, args):
        self.args = args
        self.dir = args.dir
        self.qemu = None
        self.console = os.path.join(self.dir, "console.log")
        self.times = {}

    def step(self, name):
        now = time.monotonic()
        print(f"== {name}", flush=True)
        return now

    def boot(self):
        run = self.dir
        for name in ("qmp.sock", "agent.sock", "console.log"):
            if os.path.exists(os.path.join(run, name)):
                os.unlink(os.path.join(run, name))
        command = [
            "qemu-system-x86_64", "-accel", "tcg", "-cpu", "max", "-smp", "2", "-m", "1024",
            "-kernel", f"{run}/vmlinuz", "-initrd", f"{run}/initrd.img",
            "-append", "root=/dev/vda rw console=ttyS0 quiet",
            "-drive", f"file={run}/disk.img,format=raw,if=virtio,cache=unsafe",
            "-display", "none", "-monitor", "none", "-nic", "none", "-no-reboot",
            "-chardev", f"null,id=console,logfile={self.console}", "-serial", "chardev:console",
            "-device", "qemu-xhci,id=xhci", "-chardev", "pty,id=pc",
            "-device", "virtio-serial-pci",
            "-chardev", f"socket,id=agent,path={run}/agent.sock,server=on,wait=off",
            "-device", "virtserialport,chardev=agent,name=agent",
            "-qmp", f"unix:{run}/qmp.sock,server=on,wait=off",
        ]
        started = self.step("boot")
        self.qemu = subprocess.Popen(command, stdin=subprocess.DEVNULL)
        deadline = time.monotonic() + 30
        while not os.path.exists(f"{run}/qmp.sock") or not os.path.exists(f"{run}/agent.sock"):
            if time.monotonic() > deadline or self.qemu.poll() is not None:
                raise Failure("qemu did not start")
            time.sleep(0.1)
        self.qmp = Qmp(f"{run}/qmp.sock")
        pty = self.qmp.command("query-chardev")
        path = next(c["filename"] for c in pty if c["label"] == "pc")[len("pty:"):]
        # The adapter attaches only while the host holds its line open.
        self.line = Line(path)
        self.agent = Agent(f"{run}/agent.sock")
        deadline = time.monotonic() + self.args.boot_limit
        while True:
            try:
                if self.agent.run("systemctl is-system-running --wait", 30)[1] in ("running", "degraded"):
                    break
            except TimeoutError:
                pass
            if time.monotonic() > deadline:
                raise Failure("the guest did not come up")
        self.times["boot"] = time.monotonic() - started

    def unit_journal(self, options=""):
        """The unit's lines in the journal so far (on a fresh image: of this run)."""
        return self.agent.out(f"journalctl -q -u {UNIT} {options} -o cat", 120).split("\n")

    def main_pid(self):
        return self.agent.out(f"systemctl show -P MainPID {UNIT}")

    def wait_active(self, what, limit=120, other_than=None):
        condition = f"[ \"$(systemctl is-active {UNIT})\" = active ]"
        if other_than:
            condition += f" && [ \"$(systemctl show -P MainPID {UNIT})\" != {other_than} ]"
        self.agent.wait_until(condition, what, limit)

    def answered(self, what):
        self.line.drain()
        answer = self.line.ask(METER_QUERY, 11, 20)
        if not meter_answer_ok(answer):
            raise Failure(f"{what}: meter counter query answered {answer.hex(' ')!r}")

    def plug(self):
        self.qmp.command("device_add", driver="usb-serial", chardev="pc", id="adapter", bus="xhci.0")

    def pull(self):
        self.qmp.command("device_del", id="adapter")
        self.agent.wait_until("[ ! -e /dev/ttyUSB0 ]", "the adapter pulled", 60)

    def check_pulled(self, what):
        # Stopped for good: not while a restart is still pending.
        self.agent.wait_until(f"systemctl is-active {UNIT} | grep -qx -e inactive -e failed", f"{what}: the unit stops",
                              60)
        state = self.agent.out(f"systemctl is-active {UNIT}; systemctl is-system-running; "
                               "ls /run/lock/LCK..* /tmp/tvx-* 2>/dev/null")
        if state.split("\n")[:2] != ["inactive", "running"] or len(state.split("\n")) > 2:
            raise Failure(f"{what}: after the pull: {state!r}")

    def checks(self):
        agent = self.agent
        started = self.step("plug: the unit becomes active (READY=1)")
        self.plug()
        self.wait_active("plugged")
        self.times["plug to active"] = time.monotonic() - started
        self.answered("first frame")

        self.step("NAK and a dropped frame; the line goes on")
        if self.line.ask(bytes([0x02, 0x30, 0x01, 0x00, 0x00, 0x04]), 1) != bytes([NAK]):
            raise Failure("a frame without its end byte was not refused")
        # A frame cut off after its group id: nothing comes back, and after the service's 500 ms of silence
        # it drops the frame unseen (the line must stay quiet that long, so this one wait is on the clock).
        os.write(self.line.fd, bytes([0x02, 0x30, 0x01]))
        if self.line.read_exactly(1, 2.5):
            raise Failure("a cut frame was answered")
        self.answered("after the dropped frame")

        self.step("KILL: restarted")
        pid = self.main_pid()
        started = time.monotonic()
        agent.run(f"systemctl kill -s KILL {UNIT}")
        self.wait_active("after KILL", 120, pid)
        self.times["KILL to restarted"] = time.monotonic() - started
        self.answered("after KILL")

        self.step("STOP: the watchdog restarts it")
        pid = self.main_pid()
        started = time.monotonic()
        agent.run(f"kill -STOP {pid}")
        self.wait_active("after STOP", 180, pid)
        self.times["STOP to restarted"] = time.monotonic() - started
        if "Watchdog timeout" not in agent.out(f"journalctl -q -u {UNIT} -o cat | grep Watchdog"):
            raise Failure("no watchdog timeout in the journal")
        self.answered("after the watchdog")

        self.step("full-rate traffic, the bus restarted during it: exit 9, back, the error stored")
        pid = self.main_pid()
        before = len(self.unit_journal())
        started = time.monotonic()
        sent, answers = self.traffic(self.args.traffic_seconds, restart_bus_at=self.args.traffic_seconds / 2)
        self.wait_active("after the bus restart", 120, pid)
        self.times["traffic with a bus restart"] = time.monotonic() - started
        lines = self.unit_journal()[before:]
        if not any("status=9" in line for line in lines):
            raise Failure("the bus restart did not end the service with 9")
        if "lost the system bus connection" not in self.unit_journal("-p err"):
            raise Failure("the error is not in the journal (journalctl -p err -u)")
        stored = len(lines)
        print(f"   {sent} frames sent, {answers} answered, {stored} lines stored for the unit meanwhile")
        if answers < sent // 4 or stored > 60:
            raise Failure(f"traffic: {answers} of {sent} answered, {stored} lines stored")
        self.answered("after the bus restart")

        self.step("a date set from the PC sets clock and RTC, no error logged")
        target = datetime.date.today().replace(year=datetime.date.today().year + 1)
        frame = bytes([0x02, 0x40, 0x02, 0x04, 0x00, target.day, target.month, target.year // 100,
                       target.year % 100, 0x03])
        warnings = len(self.unit_journal("-p warning"))
        if self.line.ask(frame, 1) != bytes([ACK]):
            raise Failure("date set not acknowledged")
        agent.wait_until(f"[ \"$(date +%F)\" = {target.isoformat()} ]", "the clock set", 30)
        agent.wait_until(f"hwclock -r | grep -q ^{target.isoformat()}", "the RTC set", 30)
        errors = self.unit_journal("-p warning")[warnings:]
        if errors:
            raise Failure(f"date set logged: {errors!r}")

        self.step("pull: the unit stops, inactive, not failed")
        started = time.monotonic()
        self.pull()
        self.check_pulled("first pull")
        self.times["pull to stopped"] = time.monotonic() - started

        self.step(f"{self.args.cycles} plug/pull cycles")
        started = time.monotonic()
        for cycle in range(1, self.args.cycles + 1):
            self.plug()
            self.wait_active(f"cycle {cycle}")
            self.answered(f"cycle {cycle}")
            self.pull()
            self.check_pulled(f"cycle {cycle}")
        self.times["plug/pull cycles"] = time.monotonic() - started

        self.step("nothing broadcast, every line once, in local2 as talvox")
        emergencies = agent.out("journalctl -q -b -p emerg -o cat | wc -l")
        copies = agent.out(f"journalctl -q -u {UNIT} _TRANSPORT=syslog -o cat | wc -l")
        duplicates = agent.out(f"journalctl -q -u {UNIT} -o short-unix | sort | uniq -d | wc -l")
        lines = agent.out(f"journalctl -q _SYSTEMD_UNIT={UNIT} SYSLOG_IDENTIFIER=talvox -o cat | wc -l")
        local2 = agent.out(f"journalctl -q _SYSTEMD_UNIT={UNIT} SYSLOG_IDENTIFIER=talvox SYSLOG_FACILITY=18 "
                           "-o cat | wc -l")
        with open(self.console, errors="replace") as console:
            walls = console.read().count("Broadcast message")
        print(f"   emergencies {emergencies}, wall messages {walls}, lines also through syslog {copies}, "
              f"duplicates {duplicates}, lines {lines} ({local2} in local2)")
        if (emergencies, walls, copies, duplicates) != ("0", 0, "0", "0") or lines != local2 or lines == "0":
            raise Failure("the journal is not as it should be")

    def traffic(self, seconds, restart_bus_at):
        """Meter queries back to back (each sent once the previous one was answered) for `seconds`."""
        self.line.drain()
        sent = answers = 0
        restarted = False
        started = time.monotonic()
        while time.monotonic() - started < seconds:
            if not restarted and time.monotonic() - started >= restart_bus_at:
                self.agent.sock.sendall(b"0 systemctl restart dbus\n")  # its answer is dropped by the next run
                restarted = True
            sent += 1
            if meter_answer_ok(self.line.ask(METER_QUERY, 11, 2)):
                answers += 1
            else:
                self.line.drain()
        return sent, answers

    def keep_artifacts(self):
        artifacts = os.path.join(self.dir, "artifacts")
        os.makedirs(artifacts, exist_ok=True)
        try:
            journal = self.agent.out("journalctl -b -o short-precise --no-pager", 120)
            with open(os.path.join(artifacts, "journal.txt"), "w") as out:
                out.write(journal)
        except Exception as error:  # the guest may be the fault
            print(f"system-test: no journal: {error}", file=sys.stderr)
        if os.path.exists(self.console):
            with open(self.console, "rb") as console, open(os.path.join(artifacts, "console.log"), "wb") as out:
                out.write(console.read())
        print(f"system-test: the guest's journal and console are in {artifacts}", file=sys.stderr)

    def shutdown(self):
        if not self.qemu:
            return
        started = time.monotonic()
        try:
            self.qmp.command("system_powerdown")
            self.qemu.wait(120)
            self.times["poweroff"] = time.monotonic() - started
        except Exception:
            self.qemu.kill()  # our own qemu, by its pid
            self.qemu.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--dir", required=True, help="where disk.img, vmlinuz and initrd.img are")
    parser.add_argument("--cycles", type=int, default=10)
    parser.add_argument("--traffic-seconds", type=float, default=20)
    parser.add_argument("--boot-limit", type=float, default=600)
    args = parser.parse_args()
    run = Run(args)
    started = time.monotonic()
    try:
        run.boot()
        run.checks()
    except (Failure, TimeoutError, OSError) as error:
        print(f"system-test: FAILED: {error}", file=sys.stderr)
        if run.qemu:
            run.keep_artifacts()
        run.shutdown()
        return 1
    run.shutdown()
    for name, seconds in run.times.items():
        print(f"   {name}: {seconds:.1f} s")
    print(f"system-test: passed in {time.monotonic() - started:.0f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
