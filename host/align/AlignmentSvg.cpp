// SPDX-License-Identifier: MIT
#include "host/align/AlignmentSvg.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Markup.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/shell/TimeRuler.h"

namespace orlo::host {

namespace {

using zrtl::FrameRange;

constexpr int WIDTH = 1200;
constexpr int LEFT = 72;  ///< of the lanes; the labels of the offsets are left of it
constexpr int LANES_WIDTH = WIDTH - LEFT - 8;
constexpr int LANE_HEIGHT = 120;
constexpr int OFFSETS_HEIGHT = 96;
constexpr int TEXT_ROW = 20;       ///< a row with one line of text
constexpr int CHARACTER = 8;       ///< widest character of the font of 12 pixels, on average
constexpr double MIN_RANGE = 1.0;  ///< milliseconds from the middle of the offsets to their edge

constexpr const char* COLOR_A = "#1f6fb4";
constexpr const char* COLOR_B = "#b35a00";
constexpr const char* COLOR_LEFT = "#8e44ad";
constexpr const char* COLOR_RIGHT = "#00838f";
constexpr const char* COLOR_AGREES = "#2e7d32";
constexpr const char* COLOR_DIFFERS = "#c03030";
constexpr const char* COLOR_SEARCHED = "#e0b000";
constexpr const char* COLOR_OVERLAP = "#f2f2f2";
constexpr const char* COLOR_DRIFT = "#303030";

std::string Coordinate(double value) {
    return FormatNumber(value, 2);
}

std::string Attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + Coordinate(value) + "\"";
}

std::string ClassOf(const char* name) {
    return std::string(" class=\"") + name + "\"";
}

std::string FillOf(const char* color) {
    return std::string(" fill=\"") + color + "\"";
}

std::string Rectangle(const char* name, double x, double y, double width, double height,
                      const std::string& more) {
    return "<rect" + ClassOf(name) + Attribute("x", x) + Attribute("y", y) +
           Attribute("width", width) + Attribute("height", height) + more + "/>\n";
}

std::string Line(const char* name, double x1, double y1, double x2, double y2, const char* color) {
    return "<line" + ClassOf(name) + Attribute("x1", x1) + Attribute("y1", y1) +
           Attribute("x2", x2) + Attribute("y2", y2) + " stroke=\"" + color + "\"/>\n";
}

std::string TextAt(double x, double baseline, const std::string& text) {
    return "<text" + Attribute("x", x) + Attribute("y", baseline) + ">" + XmlText(text) +
           "</text>\n";
}

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

/// The smallest 1, 2 or 5 times a power of ten that is not below a value above 0.
double RoundUp(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (step * power >= value * (1.0 - 1e-9)) return step * power;
    }
    return 10.0 * power;
}

/// Draws the parts of a plot one below another.
class SvgPlot {
public:
    explicit SvgPlot(const PlottedAlignment& plot) : plot_(plot) {
        begin_ = std::min(plot.a.range.start, plot.b.range.start);
        end_ = std::max<long long>({plot.a.range.end, plot.b.range.end, begin_ + 1});
    }

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
        const std::string overlap = Rectangle("overlap", X(plot_.overlap.start), top,
                                              X(plot_.overlap.end) - X(plot_.overlap.start),
                                              y_ - top, FillOf(COLOR_OVERLAP));
        AddTimes();
        return Start() + overlap + svg_ + "</svg>\n";
    }

private:
    std::string Start() const {
        const std::string width = std::to_string(WIDTH);
        const std::string height = std::to_string(y_ + 8);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
               height + "\" viewBox=\"0 0 " + width + " " + height +
               "\" font-family=\"sans-serif\" font-size=\"12\">\n"
               "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    }

    double X(long long frame) const {
        return LEFT + static_cast<double>(frame - begin_) * LANES_WIDTH /
                          static_cast<double>(end_ - begin_);
    }

    /// The first frame of a column of pixels of the lanes.
    long long FrameAt(int column) const {
        return begin_ + static_cast<long long>(static_cast<double>(column) *
                                               static_cast<double>(end_ - begin_) / LANES_WIDTH);
    }

    /// Adds a line of text.
    void AddRow(const std::string& text, double x = 8) {
        y_ += TEXT_ROW;
        const std::string fitted = Fitted(text, WIDTH - 16);
        const double right = WIDTH - 8.0 - PlotTextWidth(fitted);
        svg_ += TextAt(std::max(8.0, std::min(x, right)), y_ - 6, fitted);
    }

    /// The colours that the plot has.
    void AddLegend() {
        constexpr int SWATCH = 14;
        constexpr int GAP = 20;
        int x = WIDTH;
        const auto add = [&](const char* color, const std::string& text) {
            const int width = SWATCH + 6 + PlotTextWidth(text) + GAP;
            if (x + width > WIDTH) {
                y_ += TEXT_ROW;
                x = 8;
            }
            svg_ +=
                Rectangle("legend", x, y_ - 15, SWATCH, 10, FillOf(color) + " stroke=\"#808080\"");
            svg_ += TextAt(x + SWATCH + 6, y_ - 6, text);
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
        if (has(true)) add(COLOR_AGREES, "place that agrees");
        if (has(false)) add(COLOR_DIFFERS, "place that differs");
        if (!plot_.overlap.IsEmpty()) {
            add(COLOR_LEFT, "difference, left");
            add(COLOR_RIGHT, "difference, right");
        }
        if (plot_.drift) add(COLOR_DRIFT, "drift");
    }

    /// Adds a shape over columns of pixels, from its upper edge to its lower edge.
    void AddShape(const char* name, const char* color, const std::string& upper,
                  const std::vector<std::string>& lower) {
        std::string points = upper;
        for (auto point = lower.rbegin(); point != lower.rend(); ++point) points += *point;
        svg_ += "<polygon" + ClassOf(name) + FillOf(color) + " points=\"" + points + "\"/>\n";
    }

    static std::string Point(double x, double y) {
        return FormatNumber(x, 1) + "," + FormatNumber(y, 1) + " ";
    }

    void AddRecording(const PlottedRecording& recording, const char* label, const char* color) {
        AddRow(label + recording.name, X(recording.range.start));
        const double middle = y_ + LANE_HEIGHT / 2.0;
        std::string upper;
        std::vector<std::string> lower;
        for (int column = 0; column < LANES_WIDTH; ++column) {
            const auto& [start, end] = recording.range;
            const long long from = std::max<long long>(FrameAt(column), start);
            const long long next = std::max(FrameAt(column + 1), FrameAt(column) + 1);
            const long long to = std::min<long long>(next, end);
            if (from >= to) continue;
            const double peak = recording.peak(from - start, to - start);
            const double height = std::max(0.5, std::min(1.0, peak) * LANE_HEIGHT / 2.0);
            upper += Point(LEFT + column, middle - height);
            lower.push_back(Point(LEFT + column, middle + height));
        }
        AddShape("waveform", color, upper, lower);
        y_ += LANE_HEIGHT;
    }

    /// Adds the measured places between the recordings, each with its offset and its correlation.
    void AddPlaces() {
        for (const PlottedPlace& place : plot_.places) {
            const double x = X(place.range.start);
            svg_ += "<rect class=\"place\"" + Attribute("x", x) + Attribute("y", y_ + 6) +
                    Attribute("width", std::max(2.0, X(place.range.end) - x)) + " height=\"8\"" +
                    FillOf(place.agrees ? COLOR_AGREES : COLOR_DIFFERS) +
                    Attribute("fill-opacity", 0.25 + 0.75 * std::min(1.0, place.correlation)) +
                    "><title>offset " + std::to_string(place.offset) + ", correlation " +
                    FormatNumber(place.correlation, 3) + "</title></rect>\n";
        }
        y_ += TEXT_ROW;
    }

    void AddSegments(int top) {
        for (const FrameRange& segment : plot_.segments) {
            const double x = X(segment.start);
            svg_ += Rectangle("segment", x, top, std::max(1.5, X(segment.end) - x), LANE_HEIGHT,
                              FillOf(COLOR_SEARCHED) + " fill-opacity=\"0.35\" stroke=\"#b08000\"");
        }
    }

    /// The frames of B at the edges of the columns of the overlap. A column without a frame has no
    /// edge.
    std::vector<long long> BoundsOfColumns() const {
        std::vector<long long> bounds;
        for (int column = 0; column < LANES_WIDTH; ++column) {
            const long long from = std::max<long long>(FrameAt(column), plot_.overlap.start);
            const long long to = std::min<long long>(FrameAt(column + 1), plot_.overlap.end);
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
               LEFT);
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
            const double x = X(bounds[edge] + plot_.offset);
            upper += Point(x, y_ + HALF - height);
            lower.push_back(Point(x, y_ + HALF + height));
        }
        AddShape("difference", color, upper, lower);
        y_ += LANE_HEIGHT / 2;
    }

    double Milliseconds(double frames) const { return frames * 1000.0 / plot_.rate; }

    /// Milliseconds from the middle of the offsets to their edge.
    double RangeOfOffsets() const {
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

    double DriftAt(long long frame) const { return plot_.drift->At(frame - plot_.offset); }

    /// Adds the offsets of the places and the line of the drift.
    void AddOffsets() {
        if (plot_.places.empty()) return;
        AddRow(plot_.drift ? "offset of the places and their line: drift " +
                                 FormatNumber(plot_.drift->ppm, 2) + " ppm"
                           : "offset of the places: too few, or too close together, for a drift",
               LEFT);
        const double range = RangeOfOffsets();
        const double middle = y_ + OFFSETS_HEIGHT / 2.0;
        const auto rowOf = [&](double frames) {
            const double share = std::clamp(Milliseconds(frames) / range, -1.0, 1.0);
            return middle - share * (OFFSETS_HEIGHT / 2.0 - 8);
        };
        for (const double share : {1.0, 0.0, -1.0}) {
            const double row = middle - share * (OFFSETS_HEIGHT / 2.0 - 8);
            svg_ += Line("level", LEFT, row, LEFT + LANES_WIDTH, row, "#c0c0c0");
            svg_ += TextAt(8, row + 4, FormatNumber(share * range, 3) + " ms");
        }
        for (const PlottedPlace& place : plot_.places) {
            const double x = (X(place.range.start) + X(place.range.end)) / 2.0;
            svg_ += std::string("<circle class=\"deviation\"") + Attribute("cx", x) +
                    Attribute("cy", rowOf(place.deviation)) + " r=\"3\"" +
                    FillOf(place.agrees ? COLOR_AGREES : COLOR_DIFFERS) + "/>\n";
        }
        if (plot_.drift) {
            const auto& [start, end] = plot_.overlap;
            svg_ += Line("drift", X(start), rowOf(DriftAt(start)), X(end), rowOf(DriftAt(end)),
                         COLOR_DRIFT);
        }
        y_ += OFFSETS_HEIGHT;
    }

    /// Adds the time axis, which counts from the start of A.
    void AddTimes() {
        svg_ += Line("axis", LEFT, y_, LEFT + LANES_WIDTH, y_, "#303030");
        const double start = static_cast<double>(begin_) / plot_.rate;
        const double end = static_cast<double>(end_) / plot_.rate;
        for (const RulerTick& tick : RulerTicks(start, end, LANES_WIDTH, PlotTextWidth)) {
            const double x = LEFT + tick.x;
            svg_ += Line("tick", x, y_, x, y_ + (tick.label.empty() ? 3 : 6), "#303030");
            if (!tick.label.empty()) svg_ += TextAt(x + RULER_LABEL_X, y_ + 17, tick.label);
        }
        y_ += TEXT_ROW;
    }

    const PlottedAlignment& plot_;
    long long begin_ = 0;
    long long end_ = 0;
    int y_ = 0;  ///< first free row
    std::string svg_;
};

}  // namespace

std::string AlignmentSvg(const PlottedAlignment& plot) {
    return SvgPlot(plot).Document();
}

}  // namespace orlo::host
