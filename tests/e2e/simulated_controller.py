# SPDX-License-Identifier: BSD-2-Clause
# A simulated controller for a test: scripts/run --no-build in a directory of
# its own (its own bus, simulator, line and talvox), ready once it says so.
import os
import subprocess
import time
from pathlib import Path


# What went wrong in a test script, in order; the script exits 1 if anything did.
failures = []


def check(condition, what):
    print(("ok    " if condition else "FAIL  ") + what, flush=True)
    if not condition:
        failures.append(what)


def wait_until(condition, seconds):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.05)
    return True


class SimulatedController:
    """with SimulatedController(source, build, work, "--web", "8080") as controller: controller.pc_port ..."""

    READY = "talvox is running on a simulated controller"

    def __init__(self, source, build, work, *options):
        self.source, self.build, self.work = source, build, work
        self.options = options
        self.pc_port = os.path.join(work, "pc-port")
        self.log = Path(work, "run.log")
        self.run = None

    def __enter__(self):
        os.makedirs(self.work, exist_ok=True)
        environment = dict(os.environ, TALVOX_BUILD_DIR=self.build, TALVOX_RUN_DIR=os.path.join(self.work, "run"),
                           TALVOX_PC_PORT=self.pc_port)
        with open(self.log, "w") as log:
            self.run = subprocess.Popen([os.path.join(self.source, "scripts", "run"), "--no-build", *self.options],
                                        stdout=log, stderr=log, env=environment)
        if not wait_until(lambda: self.READY in self.said() or self.run.poll() is not None, 60) \
                or self.run.poll() is not None:
            self.__exit__(None, None, None)
            raise RuntimeError("scripts/run did not start:\n" + self.said())
        return self

    def said(self):
        return self.log.read_text(errors="replace")

    def __exit__(self, *exception):
        self.run.terminate()
        self.run.wait(30)
