// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <QString>

class OverlayState;

// The overlay as a person sees it: a bordered grid of count lines x width
// columns with every visible text drawn at its position (later-created over
// earlier, cut at the right edge), and below it what the grid cannot show.
QString renderScreen(const OverlayState& overlay);
