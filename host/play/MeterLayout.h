// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/play/MeterBars.h"
#include "host/shell/Terminal.h"

namespace orlo::host {

/// How the meters of a player fit into a terminal: a first line, a line for each track, a line for
/// the master. One row and one column stay free, so that nothing wraps or scrolls.
struct MeterLayout {
    int columns = 0;         ///< of a line, at most
    std::size_t tracks = 0;  ///< the first tracks, which fit
    bool master = false;     ///< whether the master fits
    int nameWidth = 0;       ///< columns
    int barWidth = 0;        ///< columns

    MeterLayout(TerminalSize size, const std::vector<std::string>& trackNames);
};

/// One line of a meter: name, both channels' bars and lamps, cut to the layout's columns.
std::string MeterLine(const std::string& name, const SignalMeter& meter, const MeterLayout& layout);

}  // namespace orlo::host
