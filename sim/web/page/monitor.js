// SPDX-License-Identifier: BSD-2-Clause
// The overlay monitor: draws the state talvox-sim reports (pushed over the
// WebSocket at /live on every change) and sends sensor changes back.
"use strict";

// The monitor's palette for the overlay's sixteen colour numbers; the real
// overlay service has its own. 13 is the default background: transparent,
// so the picture shows through as on the real overlay.
const PALETTE = [
  "#000000", "#ffffff", "#e02020", "#20c020", "#2040e0", "#f0e020", "#20d0d0", "#d020d0",
  "#808080", "#800000", "#006000", "#000080", "#f08000", "transparent", "#c0c0c0", "#0060ff",
];
const colour = (number) => PALETTE[number & 15];

let socket;
const overlay = document.getElementById("overlay");

function place(element, text, width) {
  element.style.left = text.column + "ch";
  element.style.top = (text.line * 1.3) + "em";
  element.style.color = colour(text.foreground);
  element.style.backgroundColor = colour(text.background);
  element.dataset.line = text.line;
  element.dataset.column = text.column;
  element.dataset.foreground = text.foreground;
  element.dataset.background = text.background;
  element.textContent = text.text.slice(0, Math.max(0, width - text.column));
}

function draw(state) {
  overlay.style.width = state.width + "ch";
  overlay.style.height = (state.count * 1.3) + "em";
  overlay.classList.toggle("hidden", !state.overlay_visible);
  overlay.replaceChildren();
  for (const text of state.texts) {
    if (!text.visible || text.line < 0 || text.line >= state.count) continue;
    const element = document.createElement("span");
    element.className = "text" + (text.id ? " fixed" : "");
    if (text.id) element.dataset.id = text.id;
    place(element, text, state.width);
    overlay.append(element);
  }
  for (const temp of state.temp_texts) {
    const element = document.createElement("span");
    element.className = "text temp";
    element.title = "temporary text, " + temp.duration + " s";
    place(element, temp, state.width);
    overlay.append(element);
  }
  showSensors(state);
}

// The inputs show the current values, except the one being edited.
function show(id, value) {
  const input = document.getElementById(id);
  if (input && document.activeElement !== input && value !== undefined) input.value = value;
}

function showSensors(state) {
  const pushed = state.pushed;
  const first = (name) => (pushed[name] ? pushed[name][0] : 0);
  show("metercounter-1", state.meters.counter);
  show("metercounter-2", state.meters.sat);
  show("metercounter-3", state.meters.abs);
  show("pitch", first("crawler_pitch"));
  show("pan", first("camera_pan_pos"));
  show("tilt", first("camera_tilt_pos"));
  show("crawler-temperature", first("crawler_temperature"));
  show("camera-temperature", first("camera_temperature"));
  show("extmodule-temperature", first("extmodule_object_temperature"));
  show("3d", (pushed.sensor_3d_data || [0, 0, 0, 0]).join(" "));
  show("roll", state.devices.crawler_roll);
  show("crawler-pressure", state.devices.crawler_pressure1);
  show("camera-pressure", state.devices.camera_pressure1);
  show("videocounter", state.videocounter.values.slice(1).join(" "));
  show("locale", state.locale);
}

function send(sensor, values) {
  if (socket && socket.readyState === WebSocket.OPEN) socket.send(JSON.stringify({ sensor, values }));
}

function wireSensors() {
  for (const n of [1, 2, 3])
    document.getElementById("metercounter-" + n).addEventListener("change", (event) =>
      send("metercounter", [String(n), event.target.value]));
  for (const id of ["drive", "pitch", "pan", "tilt", "crawler-temperature", "camera-temperature",
                    "extmodule-temperature", "roll", "crawler-pressure", "camera-pressure", "locale"])
    document.getElementById(id).addEventListener("change", (event) => send(id, [event.target.value]));
  for (const id of ["3d", "videocounter"])
    document.getElementById(id).addEventListener("change", (event) =>
      send(id, event.target.value.trim().split(/\s+/)));
}

function connect() {
  const link = document.getElementById("link");
  socket = new WebSocket((location.protocol === "https:" ? "wss://" : "ws://") + location.host + "/live");
  socket.onopen = () => { link.textContent = "live"; link.className = "online"; };
  socket.onmessage = (event) => {
    const message = JSON.parse(event.data);
    if (message.state) draw(message.state);
    if (message.speed !== undefined) show("drive", message.speed);
    document.getElementById("error").textContent = message.error || "";
  };
  socket.onclose = () => {
    link.textContent = "disconnected: is scripts/run still running?";
    link.className = "offline";
    setTimeout(connect, 1000);
  };
}

wireSensors();
connect();
