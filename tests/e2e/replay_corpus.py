#!/usr/bin/python3
# SPDX-License-Identifier: BSD-2-Clause
# The recorded sessions in tests/traces/ replayed against a fresh simulated
# controller each, as gpsd replays its logs: every answer must match. Then a
# copy of a trace with one reply byte changed must make replay fail, saying
# which command and what was expected and got, in words.
#
# usage: replay_corpus.py SOURCE_DIR BUILD_DIR   (exit 77: skipped, not root)
import glob
import os
import re
import subprocess
import sys

from simulated_controller import SimulatedController, check, failures

SOURCE, BUILD = sys.argv[1], sys.argv[2]
CLIENT = os.path.join(BUILD, "tools", "talvox-pc")
WORK = os.path.join(BUILD, "tests", "replay-corpus")


def replay(port, trace):
    result = subprocess.run([CLIENT, "-d", port, "--timeout", "2000", "replay", trace], capture_output=True,
                            text=True, timeout=120)
    return result.returncode, result.stdout + result.stderr


def changed_copy(trace, pattern, replacement):
    """The trace with the first controller line matching `pattern` changed."""
    lines = open(trace).read().splitlines(keepends=True)
    index = next(i for i, line in enumerate(lines) if " ctl " in line and re.search(pattern, line))
    lines[index] = re.sub(pattern, replacement, lines[index], count=1)
    copy = os.path.join(WORK, "changed-" + os.path.basename(trace))
    with open(copy, "w") as out:
        out.writelines(lines)
    return copy


def main():
    if os.geteuid() != 0:
        print("skipped: scripts/run needs root")
        return 77
    traces = sorted(glob.glob(os.path.join(SOURCE, "tests", "traces", "*.trace")))
    check(len(traces) >= 9, "the corpus: the demo and one trace per command family (%d traces)" % len(traces))
    for trace in traces:
        name = os.path.basename(trace)
        with SimulatedController(SOURCE, BUILD, os.path.join(WORK, name)) as controller:
            code, said = replay(controller.pc_port, trace)
        check(code == 0 and "answers match" in said, "%s replays: %s" % (name, said.strip()))
        if name in ("demo.trace", "system.trace"):
            check("by shape, not value: the date and time" in said, "%s: the output says what is compared by shape" % name)

    demo = os.path.join(SOURCE, "tests", "traces", "demo.trace")
    with SimulatedController(SOURCE, BUILD, os.path.join(WORK, "changed")) as controller:
        # "Vemo <Name>" made "Vemo >Name>" in the version reply.
        code, said = replay(controller.pc_port, changed_copy(demo, "56 65 6D 6F 20 3C", "56 65 6D 6F 20 3E"))
        check(code == 1 and "command:  version" in said and 'expected: ACK, reply: software version: "Vemo >Name>' in said
              and 'got:      ACK, reply: software version: "Vemo <Name>' in said,
              "a changed reply byte: exit 1, the command and both answers in words:\n" + said)
        # A date of three bytes instead of four: compared by shape, and the shape differs.
        code, said = replay(controller.pc_port,
                            changed_copy(demo, r"02 40 01 04 00 (\w\w \w\w \w\w) \w\w 03", r"02 40 01 03 00 \1 03"))
        check(code == 1 and "command:  date get" in said and "compared by shape" in said,
              "a date reply of another shape: exit 1:\n" + said)
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


sys.exit(main())
