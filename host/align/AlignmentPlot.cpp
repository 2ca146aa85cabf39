// SPDX-License-Identifier: MIT
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "host/align/AlignmentReport.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr int WIDTH = 1200;
constexpr int LANE_HEIGHT = 120;
constexpr int LANE_GAP = 36;
constexpr int TOP = 56;
constexpr int HEIGHT = TOP + 2 * LANE_HEIGHT + LANE_GAP + 40;

std::string XmlText(const std::string& text) {
    std::string safe;
    for (const char letter : OneLine(text)) {
        switch (letter) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            default:
                safe += letter;
        }
    }
    return safe;
}

std::string Coordinate(double value) {
    return FormatNumber(value, 2);
}

std::string Attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + Coordinate(value) + "\"";
}

/// Draws both recordings on the clock of A.
class Plot {
public:
    Plot(const RecordingPair& pair, const AlignmentResult& result)
        : pair_(pair), result_(result), offset_(result.found.refined.offset) {
        begin_ = std::min(0LL, offset_);
        end_ = std::max(pair.A().Frames(), pair.B().Frames() + offset_);
        if (end_ <= begin_) end_ = begin_ + 1;
    }

    std::string Document() {
        svg_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(WIDTH) +
               "\" height=\"" + std::to_string(HEIGHT) + "\" viewBox=\"0 0 " +
               std::to_string(WIDTH) + " " + std::to_string(HEIGHT) +
               "\" font-family=\"sans-serif\" font-size=\"13\">\n";
        svg_ += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
        Title();
        DrawOverlap();
        DrawLane(pair_.A(), 0, TOP, "#1f5fa8");
        DrawLane(pair_.B(), offset_, TOP + LANE_HEIGHT + LANE_GAP, "#a8501f");
        DrawSegments();
        DrawPlaces();
        svg_ += "</svg>\n";
        return svg_;
    }

private:
    double X(long long frame) const {
        return static_cast<double>(frame - begin_) * WIDTH / static_cast<double>(end_ - begin_);
    }

    void Text(double x, double y, const std::string& text) {
        svg_ += "<text" + Attribute("x", x) + Attribute("y", y) + ">" + XmlText(text) + "</text>\n";
    }

    void Title() {
        const double seconds = static_cast<double>(offset_) / pair_.Rate();
        Text(8, 20,
             "offset " + std::to_string(offset_) + " sample frames (" + FormatNumber(seconds, 6) +
                 " s), correlation " + FormatNumber(result_.found.refined.correlation, 3) + ", " +
                 VerdictName(result_.verdict));
        if (result_.drift) {
            Text(8, 38, "drift " + FormatNumber(result_.drift->ppm, 2) + " ppm");
        }
    }

    void DrawOverlap() {
        const FrameRange overlap = pair_.OverlapAt(offset_);
        const double x = X(overlap.start + offset_);
        svg_ += "<rect class=\"overlap\"" + Attribute("x", x) + Attribute("y", TOP) +
                Attribute("width", X(overlap.end + offset_) - x) +
                Attribute("height", 2 * LANE_HEIGHT + LANE_GAP) + " fill=\"#f2f2f2\"/>\n";
    }

    void DrawLane(const Recording& recording, long long start, int top, const char* color) {
        const double middle = top + LANE_HEIGHT / 2.0;
        // Along the upper edge from left to right, and back along the lower edge.
        std::string points;
        std::vector<std::string> lower;
        const int first = static_cast<int>(X(start));
        const int last = std::min(WIDTH, static_cast<int>(X(start + recording.Frames())) + 1);
        for (int x = first; x < last; ++x) {
            const long long from = FrameAt(x) - start;
            const double peak = std::min(1.0, recording.levels.Peak(from, FrameAt(x + 1) - start));
            const double height = std::max(0.5, peak * LANE_HEIGHT / 2.0);
            points += Point(x, middle - height);
            lower.push_back(Point(x, middle + height));
        }
        for (auto point = lower.rbegin(); point != lower.rend(); ++point) points += *point;
        svg_ += std::string("<polygon class=\"waveform\" fill=\"") + color + "\" points=\"" +
                points + "\"/>\n";
        Text(std::max(8.0, X(start)), top - 6,
             std::filesystem::path(recording.input).filename().string());
    }

    static std::string Point(int x, double y) { return Coordinate(x) + "," + Coordinate(y) + " "; }

    long long FrameAt(int x) const {
        return begin_ + static_cast<long long>(static_cast<double>(x) *
                                               static_cast<double>(end_ - begin_) / WIDTH);
    }

    /// Draws the seconds that were searched for in the lane of their recording.
    void DrawSegments() {
        const int top = result_.referenceIsA ? TOP : TOP + LANE_HEIGHT + LANE_GAP;
        const long long start = result_.referenceIsA ? 0 : offset_;
        for (const FrameRange& segment : result_.found.segments) {
            const double x = X(segment.start + start);
            svg_ += "<rect class=\"segment\"" + Attribute("x", x) + Attribute("y", top) +
                    Attribute("width", std::max(1.5, X(segment.end + start) - x)) +
                    Attribute("height", LANE_HEIGHT) +
                    " fill=\"#e0b000\" fill-opacity=\"0.35\" stroke=\"#b08000\"/>\n";
        }
    }

    /// Draws the measured places, each with its offset and its correlation.
    void DrawPlaces() {
        const int y = TOP + LANE_HEIGHT + LANE_GAP / 2;
        for (const Measure& place : result_.found.places) {
            const double x = X(place.place.start + offset_);
            const double width = std::max(2.0, X(place.place.end + offset_) - x);
            const bool agrees = Agrees(place, result_.found.refined, pair_.Rate());
            svg_ += "<rect class=\"place\"" + Attribute("x", x) + Attribute("y", y - 4) +
                    Attribute("width", width) + " height=\"8\" fill=\"" +
                    (agrees ? "#2a8a2a" : "#c03030") + "\"" +
                    Attribute("fill-opacity", 0.25 + 0.75 * std::min(1.0, place.correlation)) +
                    "><title>offset " + std::to_string(place.offset) + ", correlation " +
                    FormatNumber(place.correlation, 3) + "</title></rect>\n";
        }
    }

    const RecordingPair& pair_;
    const AlignmentResult& result_;
    long long offset_;
    long long begin_ = 0;
    long long end_ = 0;
    std::string svg_;
};

}  // namespace

std::string AlignmentPlot(const RecordingPair& pair, const AlignmentResult& result) {
    return Plot(pair, result).Document();
}

}  // namespace orlo::host
