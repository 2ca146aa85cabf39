// SPDX-License-Identifier: MIT
#include "host/align/AlignmentSvg.h"

#include <algorithm>
#include <cmath>

#include "host/align/OffsetDiagram.h"
#include "host/align/PlotLayout.h"
#include "host/align/SvgElements.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/shell/TimeRuler.h"

namespace orlo::host {

namespace {

using zrtl::FrameRange;

constexpr int LANE_HEIGHT = 120;
constexpr int TEXT_ROW = 20;  ///< a row with one line of text
constexpr int CHARACTER = 8;  ///< widest character of the font of 12 pixels, on average

constexpr const char* COLOR_A = "#1f6fb4";
constexpr const char* COLOR_B = "#b35a00";
constexpr const char* COLOR_LEFT = "#8e44ad";
constexpr const char* COLOR_RIGHT = "#00838f";
constexpr const char* COLOR_SEARCHED = "#e0b000";
constexpr const char* COLOR_OVERLAP = "#f2f2f2";

/// A text of one row that fits between the left and the right edge.
std::string Fitted(const std::string& text, int width) {
    const int columns = width / CHARACTER;
    std::string line = OneLine(text);
    if (ColumnsOf(line) <= columns) return line;
    return CutToColumns(line, columns - 1) + "\xE2\x80\xA6";
}

int PlotTextWidth(const std::string& text) {
    return ColumnsOf(text) * CHARACTER;
}

std::string Decibels(double value) {
    if (!std::isfinite(value)) return value < 0.0 ? "silent" : "A is silent";
    return FormatNumber(value, 1) + " dB";
}

/// Draws the parts of a plot one below another.
class SvgPlot {
public:
    explicit SvgPlot(const PlottedAlignment& plot) : plot_(plot), times_(plot) {}

    std::string Document() {
        AddRow(plot_.title);
        AddLegend();
        const int top = y_;
        AddRecording(plot_.a, "A: ", COLOR_A);
        const int laneOfA = y_ - LANE_HEIGHT;
        AddPlaces();
        AddRecording(plot_.b, "B, at its offset: ", COLOR_B);
        AddSegments(plot_.segmentsAreInA ? laneOfA : y_ - LANE_HEIGHT);
        AddDifference();
        AddOffsets();
        const std::string overlap =
            SvgRectangle("overlap",
                         {times_.X(plot_.overlap.start), static_cast<double>(top),
                          times_.X(plot_.overlap.end) - times_.X(plot_.overlap.start),
                          static_cast<double>(y_ - top)},
                         SvgFill(COLOR_OVERLAP));
        AddTimes();
        return Start() + overlap + svg_ + "</svg>\n";
    }

private:
    std::string Start() const {
        const std::string width = std::to_string(PLOT_WIDTH);
        const std::string height = std::to_string(y_ + 8);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
               height + "\" viewBox=\"0 0 " + width + " " + height +
               "\" font-family=\"sans-serif\" font-size=\"12\">\n"
               "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    }

    /// Adds a line of text.
    void AddRow(const std::string& text, double x = 8) {
        y_ += TEXT_ROW;
        const std::string fitted = Fitted(text, PLOT_WIDTH - 16);
        const double right = PLOT_WIDTH - 8.0 - PlotTextWidth(fitted);
        svg_ += SvgText(std::max(8.0, std::min(x, right)), y_ - 6, fitted);
    }

    /// The colours that the plot has.
    void AddLegend() {
        constexpr int SWATCH = 14;
        constexpr int GAP = 20;
        double x = PLOT_WIDTH;
        const auto add = [&](const char* color, const std::string& text) {
            const int width = SWATCH + 6 + PlotTextWidth(text) + GAP;
            if (x + width > PLOT_WIDTH) {
                y_ += TEXT_ROW;
                x = 8;
            }
            svg_ += SvgRectangle("legend", {x, y_ - 15.0, SWATCH, 10},
                                 SvgFill(color) + " stroke=\"#808080\"");
            svg_ += SvgText(x + SWATCH + 6, y_ - 6, text);
            x += width;
        };
        add(COLOR_A, "A");
        add(COLOR_B, "B");
        if (!plot_.overlap.IsEmpty()) add(COLOR_OVERLAP, "overlap");
        if (!plot_.segments.empty()) add(COLOR_SEARCHED, "searched for");
        const auto has = [this](bool agrees) {
            return std::any_of(plot_.places.begin(), plot_.places.end(),
                               [agrees](const auto& place) { return place.agrees == agrees; });
        };
        if (has(true)) add(PLOT_AGREES, "place that agrees");
        if (has(false)) add(PLOT_DIFFERS, "place that differs");
        if (!plot_.overlap.IsEmpty()) {
            add(COLOR_LEFT, "difference, left");
            add(COLOR_RIGHT, "difference, right");
        }
        if (plot_.drift) add(PLOT_DRIFT, "drift");
    }

    void AddRecording(const PlottedRecording& recording, const char* label, const char* color) {
        AddRow(label + recording.name, times_.X(recording.range.start));
        const double middle = y_ + LANE_HEIGHT / 2.0;
        std::string upper;
        std::vector<std::string> lower;
        for (int column = 0; column < PLOT_LANES_WIDTH; ++column) {
            const auto& [start, end] = recording.range;
            const long long from = std::max<long long>(times_.FrameAt(column), start);
            const long long next = std::max(times_.FrameAt(column + 1), times_.FrameAt(column) + 1);
            const long long to = std::min<long long>(next, end);
            if (from >= to) continue;
            const double peak = recording.peak(from - start, to - start);
            const double height = std::max(0.5, std::min(1.0, peak) * LANE_HEIGHT / 2.0);
            upper += SvgPoint(PLOT_LEFT + column, middle - height);
            lower.push_back(SvgPoint(PLOT_LEFT + column, middle + height));
        }
        svg_ += SvgShape("waveform", color, upper, lower);
        y_ += LANE_HEIGHT;
    }

    /// Adds the measured places between the recordings, each with its offset and its correlation.
    void AddPlaces() {
        for (const PlottedPlace& place : plot_.places) {
            const double x = times_.X(place.range.start);
            svg_ += "<rect class=\"place\"" + SvgAttribute("x", x) + SvgAttribute("y", y_ + 6) +
                    SvgAttribute("width", std::max(2.0, times_.X(place.range.end) - x)) +
                    " height=\"8\"" + SvgFill(place.agrees ? PLOT_AGREES : PLOT_DIFFERS) +
                    SvgAttribute("fill-opacity", 0.25 + 0.75 * std::min(1.0, place.correlation)) +
                    "><title>offset " + std::to_string(place.offset) + ", correlation " +
                    FormatNumber(place.correlation, 3) + "</title></rect>\n";
        }
        y_ += TEXT_ROW;
    }

    void AddSegments(int top) {
        for (const FrameRange& segment : plot_.segments) {
            const double x = times_.X(segment.start);
            svg_ +=
                SvgRectangle("segment",
                             {x, static_cast<double>(top), std::max(1.5, times_.X(segment.end) - x),
                              LANE_HEIGHT},
                             SvgFill(COLOR_SEARCHED) + " fill-opacity=\"0.35\" stroke=\"#b08000\"");
        }
    }

    /// The frames of B at the edges of the columns of the overlap. A column without a frame has no
    /// edge.
    std::vector<long long> BoundsOfColumns() const {
        std::vector<long long> bounds;
        for (int column = 0; column < PLOT_LANES_WIDTH; ++column) {
            const long long from = std::max<long long>(times_.FrameAt(column), plot_.overlap.start);
            const long long to = std::min<long long>(times_.FrameAt(column + 1), plot_.overlap.end);
            if (from >= to) continue;
            if (bounds.empty()) bounds.push_back(from - plot_.offset);
            bounds.push_back(to - plot_.offset);
        }
        return bounds;
    }

    void AddDifference() {
        const std::vector<long long> bounds = BoundsOfColumns();
        if (bounds.empty()) return AddRow("difference: the recordings do not overlap");
        const Difference difference = plot_.difference(bounds);
        AddRow("difference A - B, compared with A: left " + Decibels(difference.decibels[0]) +
                   ", right " + Decibels(difference.decibels[1]),
               PLOT_LEFT);
        AddChannel(difference, 0, bounds, COLOR_LEFT);
        AddChannel(difference, 1, bounds, COLOR_RIGHT);
    }

    /// Adds a channel of the difference, with half the height of a lane.
    void AddChannel(const Difference& difference, std::size_t side,
                    const std::vector<long long>& bounds, const char* color) {
        constexpr double HALF = LANE_HEIGHT / 4.0;
        std::string upper;
        std::vector<std::string> lower;
        for (std::size_t edge = 0; edge < bounds.size(); ++edge) {
            const std::size_t part = std::min(edge, difference.peaks.size() - 1);
            const double height = std::max(0.5, std::min(1.0, difference.peaks[part][side]) * HALF);
            const double x = times_.X(bounds[edge] + plot_.offset);
            upper += SvgPoint(x, y_ + HALF - height);
            lower.push_back(SvgPoint(x, y_ + HALF + height));
        }
        svg_ += SvgShape("difference", color, upper, lower);
        y_ += LANE_HEIGHT / 2;
    }

    /// Adds the offsets of the places and the line of the drift.
    void AddOffsets() {
        if (plot_.places.empty()) return;
        AddRow(plot_.drift ? "offset of the places and their line: drift " +
                                 FormatNumber(plot_.drift->ppm, 2) + " ppm"
                           : "offset of the places: too few, or too close together, for a drift",
               PLOT_LEFT);
        svg_ += OffsetDiagram(plot_, times_, y_);
        y_ += OFFSET_DIAGRAM_HEIGHT;
    }

    /// Adds the time axis, which counts from the start of A.
    void AddTimes() {
        const double row = y_;
        svg_ += SvgLine("axis", {PLOT_LEFT, row, PLOT_LEFT + PLOT_LANES_WIDTH, row}, "#303030");
        const double start = static_cast<double>(times_.Begin()) / plot_.rate;
        const double end = static_cast<double>(times_.End()) / plot_.rate;
        for (const RulerTick& tick : RulerTicks(start, end, PLOT_LANES_WIDTH, PlotTextWidth)) {
            const double x = PLOT_LEFT + tick.x;
            svg_ += SvgLine("tick", {x, row, x, row + (tick.label.empty() ? 3 : 6)}, "#303030");
            if (!tick.label.empty()) svg_ += SvgText(x + RULER_LABEL_X, y_ + 17, tick.label);
        }
        y_ += TEXT_ROW;
    }

    const PlottedAlignment& plot_;
    PlotTimes times_;
    int y_ = 0;  ///< first free row
    std::string svg_;
};

}  // namespace

std::string AlignmentSvg(const PlottedAlignment& plot) {
    return SvgPlot(plot).Document();
}

}  // namespace orlo::host
