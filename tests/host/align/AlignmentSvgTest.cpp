// SPDX-License-Identifier: MIT
#include "host/align/AlignmentSvg.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <regex>

#include "host/waveform/PicturePainter.h"

namespace {

using namespace orlo::host;

struct TextBox {
    double left, right, top, bottom;
    std::string text;
};

double NumberOf(const std::string& element, const std::string& name) {
    const std::size_t at = element.find(" " + name + "=\"");
    return at == std::string::npos ? -1.0 : std::atof(element.c_str() + at + name.size() + 3);
}

std::vector<std::string> ElementsOf(const std::string& svg, const std::string& start) {
    std::vector<std::string> elements;
    for (std::size_t at = svg.find(start); at != std::string::npos; at = svg.find(start, at + 1)) {
        elements.push_back(svg.substr(at, svg.find('\n', at) - at));
    }
    return elements;
}

/// The boxes of all texts as a common font draws them.
std::vector<TextBox> BoxesOf(const std::string& svg) {
    static const std::unique_ptr<LabelFont> FONT =
        FindPicturePainter().openFont("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", 12);
    std::vector<TextBox> boxes;
    for (const std::string& element : ElementsOf(svg, "<text")) {
        const std::size_t start = element.find('>') + 1;
        const std::string text = element.substr(start, element.find('<', start) - start);
        const double x = NumberOf(element, "x");
        const double y = NumberOf(element, "y");
        boxes.push_back({x, x + FONT->WidthOf(text), y - 10, y + 3, text});
    }
    return boxes;
}

void ExpectNoOverlaps(const std::string& svg) {
    const std::vector<TextBox> boxes = BoxesOf(svg);
    const double height = NumberOf(svg, "height");
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const TextBox& one = boxes[i];
        EXPECT_GE(one.left, 0.0) << one.text;
        EXPECT_LE(one.right, 1200.0) << one.text;
        EXPECT_LE(one.bottom, height) << one.text;
        for (std::size_t j = 0; j < i; ++j) {
            const TextBox& other = boxes[j];
            const bool apart = one.left >= other.right || other.left >= one.right ||
                               one.top >= other.bottom || other.top >= one.bottom;
            EXPECT_TRUE(apart) << one.text << " and " << other.text;
        }
    }
}

/// Two recordings of 100 s at 8000 Hz; the second starts 20 s after the first.
PlottedAlignment Plotted() {
    PlottedAlignment plot;
    plot.rate = 8000;
    plot.title = "offset 160000 sample frames (20 s), correlation 0.9, aligned";
    plot.a = {"a.wav", {0, 800000}, [](long long, long long) { return 0.5; }};
    plot.b = {"b.wav", {160000, 960000}, [](long long, long long) { return 2.0; }};
    plot.overlap = {160000, 800000};
    plot.segments = {{200000, 208000}};
    plot.places = {{{200000, 216000}, 160004, 4.0, 0.9, true},
                   {{600000, 616000}, 160012, 12.0, 0.8, true},
                   {{700000, 716000}, 999999, 839999.0, 0.1, false}};
    plot.drift = Drift{20.0, 0.5, 12.8, 248000.0, 8.0};
    plot.offset = 160000;
    plot.difference = [](const std::vector<long long>& bounds) {
        return Difference{std::vector<std::array<double, 2>>(bounds.size() - 1, {0.25, 1.0}),
                          {-6.02, -40.0}};
    };
    return plot;
}

/// The numbers of the points of a shape.
std::vector<double> PointsOf(const std::string& element) {
    std::vector<double> numbers;
    const std::string points = element.substr(element.find("points=\"") + 8);
    const std::regex number("-?[0-9.]+");
    for (std::sregex_iterator at(points.begin(), points.end(), number), end; at != end; ++at) {
        numbers.push_back(std::stod(at->str()));
    }
    return numbers;
}

// The lanes are from column 72 to 1192: 1120 columns for 960,000 frames.
constexpr double X_OF_OVERLAP = 72.0 + 160000.0 * 1120.0 / 960000.0;
constexpr double X_OF_OVERLAP_END = 72.0 + 800000.0 * 1120.0 / 960000.0;

TEST(AlignmentSvg, HasATimeAxisOfTheClockOfA) {
    const std::string svg = AlignmentSvg(Plotted());

    // 120 s on 1120 pixels: 10 s are 93.33 pixels.
    std::map<std::string, double> starts;
    for (const TextBox& box : BoxesOf(svg)) starts[box.text] = box.left;
    ASSERT_EQ(starts.count("0:00"), 1u);
    ASSERT_EQ(starts.count("1:00"), 1u);
    EXPECT_NEAR(starts["0:00"], 72.0 + 3.0, 0.01);
    EXPECT_NEAR(starts["1:00"], 72.0 + 3.0 + 6 * 93.3333, 0.01);
}

TEST(AlignmentSvg, TheAxisOfARecordingThatStartsBeforeAHasTimesBelowZero) {
    PlottedAlignment plot = Plotted();
    plot.b.range = {-400000, 400000};
    plot.overlap = {0, 400000};
    plot.offset = -400000;

    const std::string svg = AlignmentSvg(plot);

    EXPECT_NE(svg.find(">-0:40</text>"), std::string::npos);
    ExpectNoOverlaps(svg);
}

TEST(AlignmentSvg, HasALegendOfTheColoursThatItHas) {
    const std::string svg = AlignmentSvg(Plotted());
    for (const char* text :
         {">A<", ">B<", ">overlap<", ">searched for<", ">place that agrees<",
          ">place that differs<", ">difference, left<", ">difference, right<", ">drift<"}) {
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    }
    EXPECT_EQ(ElementsOf(svg, "<rect class=\"legend\"").size(), 9u);

    PlottedAlignment bare = Plotted();
    bare.places.clear();
    bare.segments.clear();
    bare.drift.reset();
    bare.overlap = {0, 0};
    EXPECT_EQ(ElementsOf(AlignmentSvg(bare), "<rect class=\"legend\"").size(), 2u);
}

TEST(AlignmentSvg, TheDifferenceIsOverTheOverlapWithAShapeForEachChannel) {
    const std::string svg = AlignmentSvg(Plotted());

    const std::vector<std::string> shapes = ElementsOf(svg, "<polygon class=\"difference\"");
    ASSERT_EQ(shapes.size(), 2u);
    const double peaks[] = {0.25, 1.0};
    for (std::size_t side = 0; side < 2; ++side) {
        const std::vector<double> points = PointsOf(shapes[side]);
        ASSERT_GE(points.size(), 8u);
        EXPECT_NEAR(points[0], X_OF_OVERLAP, 1.0);
        EXPECT_NEAR(points[points.size() / 2 - 2], X_OF_OVERLAP_END, 1.0);
        // Full scale is 30 rows from the middle.
        EXPECT_NEAR(points.back() - points[1], 60.0 * peaks[side], 0.02);
    }
    EXPECT_GT(PointsOf(shapes[1])[1], PointsOf(shapes[0]).back());
    EXPECT_NE(svg.find("left -6 dB, right -40 dB"), std::string::npos);
}

TEST(AlignmentSvg, TheDriftLineLeadsOverTheOverlapAtTheScaleOfTheOffsets) {
    const std::string svg = AlignmentSvg(Plotted());

    const std::vector<std::string> lines = ElementsOf(svg, "<line class=\"drift\"");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NEAR(NumberOf(lines[0], "x1"), X_OF_OVERLAP, 0.01);
    EXPECT_NEAR(NumberOf(lines[0], "x2"), X_OF_OVERLAP_END, 0.01);
    // The line is 8 - 4.96 = 3.04 frames at the start of B and 15.84 frames at frame 640,000, so
    // 1.98 ms. The scale is 2 ms on 40 rows.
    const double rise = NumberOf(lines[0], "y1") - NumberOf(lines[0], "y2");
    EXPECT_NEAR(rise, (15.84 - 3.04) / 8.0 / 2.0 * 40.0, 0.02);
    EXPECT_NE(svg.find(">2 ms</text>"), std::string::npos);
    EXPECT_NE(svg.find(">-2 ms</text>"), std::string::npos);
    EXPECT_NE(svg.find("drift 20 ppm"), std::string::npos);
}

TEST(AlignmentSvg, APlaceFarFromTheOffsetIsAtTheEdgeOfTheScale) {
    const std::string svg = AlignmentSvg(Plotted());

    const std::vector<std::string> circles = ElementsOf(svg, "<circle class=\"deviation\"");
    const std::vector<std::string> levels = ElementsOf(svg, "<line class=\"level\"");
    ASSERT_EQ(circles.size(), 3u);
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(NumberOf(circles[2], "cy"), NumberOf(levels[0], "y1"));
    // 4 frames are 0.5 ms of 2 ms: a quarter of the way from the middle to the upper level.
    EXPECT_NEAR(NumberOf(circles[0], "cy"), NumberOf(levels[1], "y1") - 10.0, 0.01);
}

TEST(AlignmentSvg, LabelsNeverOverlapNorLeaveThePlot) {
    for (const std::string& name :
         {std::string("a.wav"), std::string(300, 'n'), std::string("<&>\n")}) {
        for (const long long frames : {1, 7, 1999, 800000, 400000000}) {
            for (const long long offset : {0LL, frames / 2, -frames / 2, 30 * frames}) {
                PlottedAlignment plot = Plotted();
                plot.a.name = plot.b.name = name;
                plot.a.range = {0, frames};
                plot.b.range = {offset, offset + frames};
                plot.offset = offset;
                plot.overlap = {std::max(0LL, offset), std::min(frames, offset + frames)};
                ExpectNoOverlaps(AlignmentSvg(plot));
            }
        }
    }
}

}  // namespace
