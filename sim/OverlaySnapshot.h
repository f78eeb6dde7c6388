// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QString>

struct SimulatorState;

// The simulated state as one JSON object, for the overlay monitor in a
// browser (sim/web/): the overlay's texts as drawn and the values the page
// lets a developer change.
QString overlayJson(const SimulatorState& state);
