// SPDX-License-Identifier: MIT
#include "host/shell/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace orlo::host {

TerminalSize SizeOfTerminal(int descriptor) {
    winsize size = {};
    TerminalSize result;
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0) return result;
    if (size.ws_col > 0) result.columns = size.ws_col;
    if (size.ws_row > 0) result.rows = size.ws_row;
    return result;
}

int ReportColumns() {
    constexpr int MIN_COLUMNS = 20;
    return std::max(SizeOfTerminal(STDOUT_FILENO).columns, MIN_COLUMNS);
}

bool CanDraw(int descriptor) {
    const char* const type = std::getenv("TERM");
    const std::string_view name = type != nullptr ? type : "";
    return isatty(descriptor) == 1 && !name.empty() && name != "dumb";
}

bool InForeground(int descriptor) {
    const pid_t foreground = tcgetpgrp(descriptor);
    // A terminal that does not control this session has no foreground.
    return foreground < 0 || foreground == getpgrp();
}

}  // namespace orlo::host
