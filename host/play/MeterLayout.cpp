// SPDX-License-Identifier: MIT
#include "host/play/MeterLayout.h"

#include <algorithm>

#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"

namespace orlo::host {

namespace {

constexpr int SHORT_NAME = 12;
constexpr int MIN_BAR = 4;
constexpr int GOOD_BAR = 24;
/// One column for each decibel of the range.
constexpr int MAX_BAR = 60;
constexpr std::size_t FIRST_AND_MASTER = 2;

constexpr const char* BEFORE_BAR[2] = {" L [", "  R ["};
constexpr const char* AFTER_BAR = "] ";
constexpr const char* LAMP = "CLIP";
constexpr const char* NO_LAMP = "    ";
/// Columns of a line without the name and the bars.
constexpr int FRAME_WIDTH = 4 + 5 + 2 * (2 + 4);

int WidestName(const std::vector<std::string>& names) {
    int widest = 0;
    for (const std::string& name : names) widest = std::max(widest, ColumnsOf(OneLine(name)));
    return widest;
}

/// A long name uses the columns that bars of GOOD_BAR leave free. In a narrow terminal the names
/// are cut before the bars.
int NameWidth(int columns, int widestName) {
    const int withGoodBars = columns - FRAME_WIDTH - 2 * GOOD_BAR;
    const int withShortBars = std::max(columns - FRAME_WIDTH - 2 * MIN_BAR, 1);
    const int wanted = std::clamp(widestName, SHORT_NAME, std::max(withGoodBars, SHORT_NAME));
    return std::min(wanted, withShortBars);
}

}  // namespace

MeterLayout::MeterLayout(TerminalSize size, const std::vector<std::string>& trackNames)
    : columns(std::max(size.columns - 1, 1)),
      nameWidth(NameWidth(columns, WidestName(trackNames))),
      barWidth(std::clamp((columns - FRAME_WIDTH - nameWidth) / 2, MIN_BAR, MAX_BAR)) {
    const auto rows = static_cast<std::size_t>(std::max(size.rows - 1, 1));
    master = rows >= FIRST_AND_MASTER;
    tracks = master ? std::min(rows - FIRST_AND_MASTER, trackNames.size()) : 0;
}

std::string MeterLine(const std::string& name, const SignalMeter& meter,
                      const MeterLayout& layout) {
    std::string line = FitToColumns(OneLine(name), layout.nameWidth);
    for (int channel = 0; channel < 2; ++channel) {
        line += BEFORE_BAR[channel] + meter.Bar(channel, layout.barWidth) + AFTER_BAR +
                (meter.Lamp(channel) ? LAMP : NO_LAMP);
    }
    return CutToColumns(line, layout.columns);
}

}  // namespace orlo::host
