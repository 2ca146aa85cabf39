// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// The size of a terminal in character cells.
struct TerminalSize {
    int columns = 80;
    int rows = 24;

    bool operator==(const TerminalSize&) const = default;
};

/// The current size; 80 x 24 for a terminal that does not report it.
TerminalSize SizeOfTerminal(int descriptor);

/// Columns of the text of a report: the columns of the terminal that shows standard output, at
/// least 20; 80 without a terminal.
int ReportColumns();

/// Whether a file is a terminal that moves its cursor: TERM is set and is not "dumb".
bool CanDraw(int descriptor);

/// Whether the program is in the foreground of a terminal. A background program that draws writes
/// over the shell, and a background program that reads keys or changes the modes is stopped.
bool InForeground(int descriptor);

}  // namespace orlo::host
