// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/play/MeterBars.h"
#include "host/shell/Terminal.h"

namespace orlo::host {

/// The layout of a player's meters in a terminal: a status line, a line for each track, a line for
/// the master. One row and one column stay free, so that the terminal neither wraps nor scrolls.
struct MeterLayout {
    int columns = 0;         ///< maximum of a line
    std::size_t tracks = 0;  ///< number of tracks that fit, from the first
    bool master = false;     ///< whether the master fits
    int nameWidth = 0;       ///< columns
    int barWidth = 0;        ///< columns

    MeterLayout(TerminalSize size, const std::vector<std::string>& trackNames);
};

/// One line of a meter: the name, the bars and clip lamps of both channels, cut to the layout's
/// columns.
std::string MeterLine(const std::string& name, const SignalMeter& meter, const MeterLayout& layout);

}  // namespace orlo::host
