#!/usr/bin/python3
# SPDX-License-Identifier: BSD-2-Clause
# The simulated controller as a workbench: the overlay in a browser, live,
# and the sensors of the sibling services at hand.
#
#   monitor.py serve ADDRESS PORT   serves page/ and a WebSocket at /live
#   monitor.py sensor NAME VALUE... changes one sensor and exits
#   monitor.py drive SPEED          lets the crawler drive: meter counter 1
#                                   advances SPEED metres a second until Ctrl-C
#
# It talks to talvox-sim's control interface on the bus named by
# DBUS_SYSTEM_BUS_ADDRESS. HTTP and WebSocket come from aiohttp, the bus from
# dbus-next: both Debian packages, both on asyncio, so one event loop carries
# the page, the bus signal that something changed and the crawler's drive.
import asyncio
import json
import os
import sys
from pathlib import Path

from aiohttp import WSMsgType, web
from dbus_next import Variant
from dbus_next.aio import MessageBus

HERE = Path(__file__).resolve().parent
CONTROL_XML = HERE.parent.parent / "interfaces" / "local.talvox.simulator.control.xml"
DRIVE_STEP_S = 0.1
METER_SIGNALS = {"1": "meter_counter_changed", "2": "meter_counter_sat_changed", "3": "meter_counter_abs_changed"}
# Sensors the device bus service pushes as signals: (signal, D-Bus types of its arguments).
PUSHED = {
    "pitch": ("crawler_pitch", "d"),
    "pan": ("camera_pan_pos", "i"),
    "tilt": ("camera_tilt_pos", "i"),
    "crawler-temperature": ("crawler_temperature", "i"),
    "camera-temperature": ("camera_temperature", "i"),
    "extmodule-temperature": ("extmodule_object_temperature", "d"),
    "3d": ("sensor_3d_data", "dddd"),
}
# Values talvox asks the device status service for (no signal): (value name, type).
QUERIED = {
    "crawler-pressure": ("crawler_pressure1", "i"),
    "camera-pressure": ("camera_pressure1", "i"),
    "roll": ("crawler_roll", "d"),
}
USAGE = """sensors (scripts/run --sensor NAME VALUE...):
  metercounter 1|2|3 METRES      a meter counter, pushed as the system management service does
  drive METRES_PER_SECOND        (scripts/run --drive) meter counter 1 advances until Ctrl-C
  pitch DEGREES                  crawler pitch (the inclination follows from it)
  pan POSITION | tilt POSITION   camera pan and tilt
  crawler-temperature C | camera-temperature C | extmodule-temperature C
  crawler-pressure P | camera-pressure P | roll DEGREES   (asked for by talvox, not pushed)
  3d DISTANCE X Y Z              3D sensor data
  videocounter H M S FRAMES      the overlay's video counter
  locale CODE                    system locale, e.g. en_US (feet), de_DE, ru_RU (ISO-8859-5)"""


def number(text, kind):
    return int(float(text)) if kind == "i" else float(text)


class Control:
    """talvox-sim's control interface; every sensor change goes out as the real sibling would send it."""

    def __init__(self, bus):
        xml = CONTROL_XML.read_text()
        proxy = bus.get_proxy_object("local.talvox.simulator", "/control", xml)
        self.interface = proxy.get_interface("local.talvox.simulator.control")

    async def state(self):
        return json.loads(await self.interface.call_overlay())

    async def push(self, signal, types, values):
        arguments = [Variant(kind, number(value, kind)) if kind in "id" else Variant(kind, value)
                     for kind, value in zip(types, values)]
        if not await self.interface.call_emit_signal(signal, arguments):
            raise ValueError("the simulator did not push %s" % signal)

    async def sensor(self, name, values):
        """Changes one sensor; raises ValueError with a readable message for a wrong name or value."""
        values = [str(value) for value in values]
        if name == "metercounter" and len(values) == 2 and values[0] in METER_SIGNALS:
            await self.push(METER_SIGNALS[values[0]], "d", values[1:])
        elif name in PUSHED and len(values) == len(PUSHED[name][1]):
            await self.push(PUSHED[name][0], PUSHED[name][1], values)
        elif name in QUERIED and len(values) == 1:
            value, kind = QUERIED[name]
            await self.interface.call_set_value(value, Variant(kind, number(values[0], kind)))
        elif name == "videocounter" and len(values) == 4:
            counter = [Variant("i", 1)] + [Variant("i", int(value)) for value in values]
            await self.interface.call_set_value("videocounter", Variant("av", counter))
        elif name == "locale" and len(values) == 1:
            # The system management service changes its locale, then says so.
            await self.interface.call_set_locale(values[0])
            await self.push("locale_changed", "s", values)
        else:
            raise ValueError("unknown sensor or wrong values: %s %s\n%s" % (name, " ".join(values), USAGE))


class Crawler:
    """Drives meter counter 1 at a speed, one push every DRIVE_STEP_S, as the counter wheel reports."""

    def __init__(self, control):
        self.control = control
        self.speed = 0.0
        self.task = None

    async def drive(self, speed):
        self.speed = float(speed)
        if self.speed and not self.task:
            self.task = asyncio.ensure_future(self.run())

    async def run(self):
        while self.speed:
            metres = (await self.control.state())["meters"]["counter"] + self.speed * DRIVE_STEP_S
            await self.control.sensor("metercounter", ["1", round(metres, 3)])
            await asyncio.sleep(DRIVE_STEP_S)
        self.task = None


async def connect():
    address = os.environ.get("DBUS_SYSTEM_BUS_ADDRESS")
    if not address:
        raise SystemExit("monitor: DBUS_SYSTEM_BUS_ADDRESS is not set (start it through scripts/run)")
    return await MessageBus(bus_address=address).connect()


async def serve(address, port):
    bus = await connect()
    control = Control(bus)
    crawler = Crawler(control)
    sockets = set()
    latest = {"state": await control.state()}

    async def on_changed():
        state = await control.state()
        if state != latest["state"]:
            latest["state"] = state
            text = json.dumps({"state": state})
            await asyncio.gather(*(socket.send_str(text) for socket in list(sockets)), return_exceptions=True)

    control.interface.on_changed(lambda: asyncio.ensure_future(on_changed()))

    async def live(request):
        socket = web.WebSocketResponse(heartbeat=30)
        await socket.prepare(request)
        sockets.add(socket)
        await socket.send_str(json.dumps({"state": latest["state"], "speed": crawler.speed}))
        try:
            async for message in socket:
                if message.type != WSMsgType.TEXT:
                    continue
                order = json.loads(message.data)
                try:
                    if order.get("sensor") == "drive":
                        await crawler.drive(order["values"][0])
                    else:
                        await control.sensor(order.get("sensor"), order.get("values", []))
                except (ValueError, KeyError, IndexError) as error:
                    await socket.send_str(json.dumps({"error": str(error)}))
        finally:
            sockets.discard(socket)
        return socket

    async def index(request):
        return web.FileResponse(HERE / "page" / "index.html")

    app = web.Application()
    app.add_routes([web.get("/", index), web.get("/live", live), web.static("/page", HERE / "page")])
    runner = web.AppRunner(app)
    await runner.setup()
    await web.TCPSite(runner, address, int(port)).start()
    print("monitor: serving http://%s:%s/" % (address, port), flush=True)
    await asyncio.Event().wait()


async def one_sensor(name, values):
    bus = await connect()
    await Control(bus).sensor(name, values)


async def drive(speed):
    bus = await connect()
    control = Control(bus)
    crawler = Crawler(control)
    await crawler.drive(speed)
    if crawler.task:
        await crawler.task


def main(arguments):
    try:
        if len(arguments) == 3 and arguments[0] == "serve":
            asyncio.run(serve(arguments[1], arguments[2]))
        elif len(arguments) >= 2 and arguments[0] == "sensor":
            asyncio.run(one_sensor(arguments[1], arguments[2:]))
        elif len(arguments) == 2 and arguments[0] == "drive":
            asyncio.run(drive(arguments[1]))
        else:
            print("usage: monitor.py serve ADDRESS PORT | sensor NAME VALUE... | drive SPEED\n" + USAGE, file=sys.stderr)
            return 2
    except ValueError as error:
        print("monitor: %s" % error, file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        pass
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
