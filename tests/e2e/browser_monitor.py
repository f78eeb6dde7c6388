#!/usr/bin/python3
# SPDX-License-Identifier: BSD-2-Clause
# The overlay monitor in a real browser (Debian's Chromium, headless, through
# chromium-driver): a line written by talvox-pc appears at its position in its
# colour, and a meter counter moved on the page is what talvox-pc reads.
#
# usage: browser_monitor.py SOURCE_DIR BUILD_DIR   (exit 77: skipped)
import os
import shutil
import socket
import subprocess
import sys
import tempfile

from simulated_controller import SimulatedController, check, failures, wait_until

SOURCE, BUILD = sys.argv[1], sys.argv[2]
CLIENT = os.path.join(BUILD, "tools", "talvox-pc")
WORK = os.path.join(BUILD, "tests", "browser-monitor")


def client(port, *arguments):
    result = subprocess.run([CLIENT, "-d", port, *arguments], capture_output=True, text=True, timeout=20)
    return result.stdout + result.stderr


def browser(profile):
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--user-data-dir=" + profile):
        options.add_argument(flag)
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def main():
    if os.geteuid() != 0:
        print("skipped: scripts/run needs root")
        return 77
    if not (os.path.exists("/usr/bin/chromium") and os.path.exists("/usr/bin/chromedriver")):
        print("skipped: no chromium and chromium-driver (scripts/setup --browser installs them)")
        return 77
    try:
        import selenium  # noqa: F401
    except ImportError:
        print("skipped: no python3-selenium (scripts/setup --browser installs it)")
        return 77
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys

    with socket.socket() as probe:  # a free port for the monitor
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    os.makedirs(WORK, exist_ok=True)
    profile = tempfile.mkdtemp(dir=WORK)
    with SimulatedController(SOURCE, BUILD, WORK, "--web", str(port)) as controller:
        page = browser(profile)
        try:
            page.get("http://127.0.0.1:%d/" % port)
            check(wait_until(lambda: page.find_element(By.ID, "link").text == "live", 20), "the page is live")

            # Line 6 in colour code 0x25: foreground 2, background 5.
            client(controller.pc_port, "line", "set", "6", "Manhole 7")
            client(controller.pc_port, "line", "color", "6", "2", "5")
            drawn = page.find_elements(By.CSS_SELECTOR, ".text")

            def line_drawn():
                for element in page.find_elements(By.CSS_SELECTOR, ".text"):
                    if element.text == "Manhole 7" and element.get_attribute("data-foreground") == "2":
                        return element
                return None
            check(wait_until(lambda: line_drawn() is not None, 10), "talvox-pc's line appears on the page")
            element = line_drawn()
            if element:
                # The protocol counts screen lines from 1, the overlay from 0: the sixth row.
                row = page.execute_script("return arguments[0].offsetTop / (parseFloat(getComputedStyle("
                                          "arguments[0]).fontSize) * 1.3);", element)
                check(element.get_attribute("data-line") == "5" and element.get_attribute("data-column") == "0"
                      and abs(row - 5) < 0.01, "in the sixth row (overlay line 5), column 0: row %s" % row)
                colours = page.execute_script(
                    "const s = getComputedStyle(arguments[0]); return [s.color, s.backgroundColor];", element)
                check(colours == ["rgb(224, 32, 32)", "rgb(240, 224, 32)"],
                      "in its colours, 2 on 5 in the monitor's palette: %s" % colours)
            check(len(drawn) > 0, "the status line's fixed texts are drawn")

            # The meter counter moved on the page, read through the line.
            field = page.find_element(By.ID, "metercounter-1")
            field.clear()
            field.send_keys("23.5" + Keys.TAB)
            check(wait_until(lambda: "meter counter 1: 23.5 metres" in client(controller.pc_port, "metercounter", "get", "1"), 10),
                  "talvox-pc metercounter get 1 reads the value set on the page")
            page.save_screenshot(os.path.join(WORK, "monitor.png"))
        finally:
            page.quit()
            shutil.rmtree(profile, ignore_errors=True)
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


sys.exit(main())
