// SPDX-License-Identifier: MIT
#include "host/align/OffsetDiagram.h"

#include <algorithm>
#include <cmath>

#include "host/align/SvgElements.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr double MIN_RANGE = 1.0;  ///< milliseconds from the middle of the diagram to its edge

/// The smallest 1, 2 or 5 times a power of ten that is not below a value above 0.
double RoundUp(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (step * power >= value * (1.0 - 1e-9)) return step * power;
    }
    return 10.0 * power;
}

class OffsetDrawing {
public:
    OffsetDrawing(const PlottedAlignment& plot, const PlotTimes& times, int top)
        : plot_(plot), times_(times), middle_(top + OFFSET_DIAGRAM_HEIGHT / 2.0), range_(Range()) {}

    std::string Elements() const {
        std::string svg;
        for (const double share : {1.0, 0.0, -1.0}) svg += Level(share);
        for (const PlottedPlace& place : plot_.places) svg += Place(place);
        return plot_.drift ? svg + DriftLine() : svg;
    }

private:
    double Milliseconds(double frames) const { return frames * 1000.0 / plot_.rate; }

    double DriftAt(long long frame) const { return plot_.drift->At(frame - plot_.offset); }

    /// Milliseconds from the middle to the edge.
    double Range() const {
        double range = MIN_RANGE;
        for (const PlottedPlace& place : plot_.places) {
            if (place.agrees) range = std::max(range, std::abs(Milliseconds(place.deviation)));
        }
        for (const long long frame : {plot_.overlap.start, plot_.overlap.end}) {
            if (!plot_.drift) continue;
            range = std::max(range, std::abs(Milliseconds(DriftAt(frame))));
        }
        return RoundUp(range);
    }

    double RowOf(double share) const { return middle_ - share * (OFFSET_DIAGRAM_HEIGHT / 2.0 - 8); }

    double RowOfFrames(double frames) const {
        return RowOf(std::clamp(Milliseconds(frames) / range_, -1.0, 1.0));
    }

    std::string Level(double share) const {
        const double row = RowOf(share);
        return SvgLine("level", {PLOT_LEFT, row, PLOT_LEFT + PLOT_LANES_WIDTH, row}, "#c0c0c0") +
               SvgText(8, row + 4, FormatNumber(share * range_, 3) + " ms");
    }

    std::string Place(const PlottedPlace& place) const {
        const double x = (times_.X(place.range.start) + times_.X(place.range.end)) / 2.0;
        return "<circle" + SvgClass("deviation") + SvgAttribute("cx", x) +
               SvgAttribute("cy", RowOfFrames(place.deviation)) + " r=\"3\"" +
               SvgFill(place.agrees ? PLOT_AGREES : PLOT_DIFFERS) + "/>\n";
    }

    std::string DriftLine() const {
        const auto& [start, end] = plot_.overlap;
        return SvgLine("drift",
                       {times_.X(start), RowOfFrames(DriftAt(start)), times_.X(end),
                        RowOfFrames(DriftAt(end))},
                       PLOT_DRIFT);
    }

    const PlottedAlignment& plot_;
    const PlotTimes& times_;
    double middle_;
    double range_;
};

}  // namespace

std::string OffsetDiagram(const PlottedAlignment& plot, const PlotTimes& times, int top) {
    return OffsetDrawing(plot, times, top).Elements();
}

}  // namespace orlo::host
