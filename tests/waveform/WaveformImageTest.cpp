// SPDX-License-Identifier: MIT
// Every pixel of a picture is either background or waveform. The expected pixels are computed here
// from the peaks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>

#include "sonrel/waveform/WaveformPreview.h"
#include "tests/waveform/WaveformFixture.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::WaveformPreview;
using Format = WaveformPreview::Format;
using Scale = WaveformPreview::Scale;
using Style = WaveformPreview::Style;

constexpr Pixel BACKGROUND = 0xff0a141e;
constexpr Pixel WAVEFORM = 0xffc86432;

/// Rows of a column that must have the waveform's colour, and rows that may have it because a line
/// from or to a neighbouring column crosses them.
struct Span {
    int mustFirst, mustLast;
    int mayFirst, mayLast;
};

int CutRow(double row) {
    return static_cast<int>(row);
}

int ExpectedPeakRow(int byte, int baseline, int half, Scale scale) {
    const double value = std::max(byte / 127.0, -1.0);
    const double floor = std::log(0.01);
    const auto rows = [&](double u) { return (std::log(u) - floor) * half / (0.0 - floor); };
    if (scale == Scale::Linear) return CutRow(baseline - value * 0.9 * half);
    if (value > 0.0) return CutRow(baseline - rows(std::max(value, 0.01) * 0.9));
    return CutRow(rows(std::min(value, -0.01) * -0.9) + baseline);
}

int ExpectedEnvelopeRow(int byte, int height, Scale scale) {
    const double amplitude = byte / 255.0;
    const double floor = std::log(0.01);
    if (scale == Scale::Linear) return CutRow((height - 1) - height * amplitude);
    const double rows = (std::log(std::max(amplitude, 0.01)) - floor) * height / (0.0 - floor);
    return CutRow((height - 1) - rows);
}

/// The rows of a channel's line in a column.
std::vector<int> VisitedRows(const std::pair<int, int>& limits, int baseline, int half,
                             Scale scale) {
    std::vector<int> rows;
    if (limits.first != 0) rows.push_back(ExpectedPeakRow(limits.first, baseline, half, scale));
    if (limits.second != 0) rows.push_back(ExpectedPeakRow(limits.second, baseline, half, scale));
    if (rows.empty()) rows.push_back(ExpectedPeakRow(0, baseline, half, scale));
    return rows;
}

/// The rows of one channel's line in each column.
std::vector<Span> LineSpans(const std::vector<std::pair<int, int>>& limits, int baseline, int half,
                            Scale scale) {
    std::vector<std::vector<int>> visited;
    for (const auto& column : limits) {
        visited.push_back(VisitedRows(column, baseline, half, scale));
    }
    visited.front().insert(visited.front().begin(), baseline);
    std::vector<Span> spans;
    for (std::size_t x = 0; x < visited.size(); ++x) {
        const auto [low, high] = std::minmax_element(visited[x].begin(), visited[x].end());
        Span span{*low, *high, *low, *high};
        const auto reach = [&span](int row) {
            span.mayFirst = std::min(span.mayFirst, row);
            span.mayLast = std::max(span.mayLast, row);
        };
        if (x > 0) reach(visited[x - 1].back());
        if (x + 1 < visited.size()) reach(visited[x + 1].front());
        // The painter may omit the pixel where a mostly level line meets a steep line, and the last
        // pixel.
        const auto blunt = [&span, low = *low, high = *high](int row, int neighbour) {
            if (std::abs(row - neighbour) > 1) return;
            if (row == low) span.mustFirst = low + 1;
            if (row == high) span.mustLast = high - 1;
        };
        if (x > 0) blunt(visited[x].front(), visited[x - 1].back());
        const bool last = x + 1 == visited.size();
        blunt(visited[x].back(), last ? visited[x].back() : visited[x + 1].front());
        spans.push_back(span);
    }
    return spans;
}

/// The rows of the filled envelope in each column.
std::vector<Span> EnvelopeSpans(const std::vector<int>& amplitudes, int height, Scale scale) {
    std::vector<int> rows;
    for (const int amplitude : amplitudes) {
        rows.push_back(ExpectedEnvelopeRow(amplitude, height, scale));
    }
    std::vector<Span> spans;
    for (std::size_t x = 0; x < rows.size(); ++x) {
        int highest = rows[x];
        if (x > 0) highest = std::min(highest, rows[x - 1]);
        if (x + 1 < rows.size()) highest = std::min(highest, rows[x + 1]);
        spans.push_back({rows[x], height - 1, highest, height - 1});
    }
    return spans;
}

/// Compares every pixel of a picture with the spans of its lines.
void ExpectSpans(Picture& picture, const std::vector<std::vector<Span>>& lines) {
    for (int x = 0; x < picture.Width(); ++x) {
        for (int y = 0; y < picture.Height(); ++y) {
            bool must = false;
            bool may = false;
            for (const std::vector<Span>& line : lines) {
                const Span& span = line[static_cast<std::size_t>(x)];
                must = must || (y >= span.mustFirst && y <= span.mustLast);
                may = may || (y >= span.mayFirst && y <= span.mayLast);
            }
            const Pixel pixel = picture.At(x, y);
            ASSERT_TRUE(pixel == BACKGROUND || pixel == WAVEFORM) << x << ", " << y;
            if (must) {
                ASSERT_EQ(pixel, WAVEFORM) << x << ", " << y;
            }
            if (!may) {
                ASSERT_EQ(pixel, BACKGROUND) << x << ", " << y;
            }
        }
    }
}

class WaveformImage : public testing::Test {
protected:
    std::unique_ptr<WaveformPreview> Preview(Style style, const std::vector<PeakBlock>& blocks,
                                             Scale scale = Scale::Linear) const {
        const int channels = static_cast<int>(blocks.front().limits.size());
        WriteFile(folder_ / "a.xwpk", PeakBytes(channels, blocks));
        auto preview = std::make_unique<WaveformPreview>(
            48000, 32 * static_cast<long long>(blocks.size()), channels, folder_.Wide("a.xwpk"));
        preview->SetBackgroundColor({0x0a, 0x14, 0x1e, 0xff});
        preview->SetWaveformColor({0xc8, 0x64, 0x32, 0xff});
        preview->SetPreviewStyle(style);
        preview->SetPreviewScale(scale);
        return preview;
    }

    static std::vector<PeakBlock> RandomBlocks(int count, int channels) {
        std::mt19937 source(static_cast<unsigned>(100 * count + channels));
        std::vector<PeakBlock> blocks;
        for (int i = 0; i < count; ++i) {
            PeakBlock block{static_cast<int>(source() % 256), {}};
            for (int c = 0; c < channels; ++c) {
                const int minimum = source() % 4 == 0 ? 0 : -static_cast<int>(source() % 129);
                const int maximum = source() % 4 == 0 ? 0 : static_cast<int>(source() % 128);
                block.limits.emplace_back(minimum, maximum);
            }
            blocks.push_back(block);
        }
        return blocks;
    }

    static std::vector<std::pair<int, int>> LimitsOf(const std::vector<PeakBlock>& blocks,
                                                     int channel) {
        std::vector<std::pair<int, int>> limits;
        for (const PeakBlock& block : blocks) {
            limits.push_back(block.limits[static_cast<std::size_t>(channel)]);
        }
        return limits;
    }

    /// Compares every pixel for all scales, formats and some heights of a style.
    void ExpectPeakPictures(Style style, int channels) {
        const std::vector<PeakBlock> blocks = RandomBlocks(60, channels);
        for (const Scale scale : {Scale::Linear, Scale::Logarithmic}) {
            for (const Format format : {Format::RGB888, Format::ARGB32}) {
                for (const int height : {1, 16, 101, 280}) {
                    Picture picture(60, height, format);
                    ASSERT_EQ(picture.Draw(*Preview(style, blocks, scale)), 0);
                    const int lane = style == Style::ChannelLanes ? height / channels : height;
                    std::vector<std::vector<Span>> lines;
                    for (int c = 0; c < channels; ++c) {
                        const int top = style == Style::ChannelLanes ? c * lane : 0;
                        lines.push_back(
                            LineSpans(LimitsOf(blocks, c), lane / 2 + top, lane / 2, scale));
                    }
                    ExpectSpans(picture, lines);
                }
            }
        }
    }

    TemporaryFolder folder_;
};

// ---- every pixel of random peaks

TEST_F(WaveformImage, LanesFollowTheFormula) {
    for (const int channels : {1, 2, 3, 16}) ExpectPeakPictures(Style::ChannelLanes, channels);
}

TEST_F(WaveformImage, OverlaidChannelsFollowTheFormula) {
    for (const int channels : {1, 2, 8}) ExpectPeakPictures(Style::ChannelsOverlaid, channels);
}

TEST_F(WaveformImage, EnvelopesFollowTheFormula) {
    const std::vector<PeakBlock> blocks = RandomBlocks(60, 2);
    std::vector<int> amplitudes;
    for (const PeakBlock& block : blocks) amplitudes.push_back(block.rms);
    for (const Scale scale : {Scale::Linear, Scale::Logarithmic}) {
        for (const Format format : {Format::RGB888, Format::ARGB32}) {
            for (const int height : {1, 16, 101, 280}) {
                Picture picture(60, height, format);
                ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, blocks, scale)), 0);
                ExpectSpans(picture, {EnvelopeSpans(amplitudes, height, scale)});
            }
        }
    }
}

// ---- pictures that a reader can follow

TEST_F(WaveformImage, ThreeLanesOfAHundredRowsAreCentredAtRows16And49And82) {
    const PeakBlock block{0, {{0, 0}, {0, 0}, {0, 0}}};
    Picture picture(4, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelLanes, {block, block, block, block})), 0);

    std::string rows = Rows(100, 16, 16);
    rows[49] = rows[82] = '#';
    for (int x = 0; x < 4; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), rows);
}

TEST_F(WaveformImage, FullScaleIsInsideItsLane) {
    const PeakBlock block{0, {{-127, 127}, {0, 0}, {-127, 127}}};
    Picture picture(4, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelLanes, {block, block, block, block})), 0);

    // Half a lane of 33 rows is 16, and 0.9 of it 14.4: rows 1.6 to 30.4 and 67.6 to 96.4.
    std::string rows = Rows(100, 1, 30);
    rows[49] = '#';
    std::fill(rows.begin() + 67, rows.begin() + 97, '#');
    for (int x = 0; x < 4; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), rows);
}

TEST_F(WaveformImage, OverlaidChannelsShareTheMiddleRow) {
    const PeakBlock block{0, {{0, 127}, {-127, 0}, {0, 0}}};
    Picture picture(4, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelsOverlaid, {block, block, block, block})), 0);

    // The first column starts at the baseline. After it only full scale is plotted: row 5 of the
    // first channel, row 95 of the second.
    EXPECT_EQ(ColumnOf(picture, 0, WAVEFORM), Rows(100, 5, 95));
    std::string rows = Rows(100, 5, 5);
    rows[50] = rows[95] = '#';
    for (int x = 1; x < 4; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), rows);
}

TEST_F(WaveformImage, SilenceOnTheLogarithmicScaleIsAboveTheBaseline) {
    const PeakBlock block{0, {{0, 0}}};
    Picture picture(4, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelsOverlaid, {block, block, block, block},
                                    Scale::Logarithmic)),
              0);

    EXPECT_EQ(ColumnOf(picture, 0, WAVEFORM), Rows(100, 48, 50));
    for (int x = 1; x < 4; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 48, 48));
}

TEST_F(WaveformImage, AMinimumBelowFullScaleCountsAsFullScale) {
    const PeakBlock block{0, {{-128, 0}}};
    Picture picture(2, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelsOverlaid, {block, block})), 0);

    EXPECT_EQ(ColumnOf(picture, 1, WAVEFORM), Rows(100, 95, 95));
}

TEST_F(WaveformImage, AnEnvelopeIsFilledToTheBottom) {
    Picture picture(4, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, Envelope({128, 128, 128, 128}))), 0);

    // 99 - 100 * 128 / 255 = 48.8
    for (int x = 0; x < 4; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 48, 99));
}

TEST_F(WaveformImage, AnEnvelopeOfFullScaleFillsThePicture) {
    Picture picture(3, 20, Format::RGB888);

    ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, Envelope({255, 255, 255}))), 0);

    for (int x = 0; x < 3; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(20, 0, 19));
}

TEST_F(WaveformImage, MoreLanesThanRowsAreOnTheTopRow) {
    const PeakBlock block{0, std::vector<std::pair<int, int>>(16, {-127, 127})};
    Picture picture(2, 10, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelLanes, {block, block})), 0);

    EXPECT_EQ(ColumnOf(picture, 0, WAVEFORM), Rows(10, 0, 0));
}

TEST_F(WaveformImage, AnyOtherStyleIsOverlaid) {
    const std::vector<PeakBlock> blocks = RandomBlocks(30, 2);
    Picture overlaid(30, 50, Format::ARGB32);
    ASSERT_EQ(overlaid.Draw(*Preview(Style::ChannelsOverlaid, blocks)), 0);
    for (const int style : {3, -1}) {
        Picture other(30, 50, Format::ARGB32);
        ASSERT_EQ(other.Draw(*Preview(static_cast<Style>(style), blocks)), 0);
        for (int x = 0; x < 30; ++x) {
            EXPECT_EQ(ColumnOf(other, x, WAVEFORM), ColumnOf(overlaid, x, WAVEFORM));
        }
    }
}

// ---- blocks and columns

TEST_F(WaveformImage, FourBlocksOnTwoPixelsAreTwoColumnsWithoutScaling) {
    // A scaled picture would outgrow its exact buffer.
    Picture picture(2, 20, Format::RGB888);

    ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, Envelope({60, 60, 60, 60}))), 0);

    // 19 - 20 * 59 / 255 = 14.4 and 19 - 20 * 60 / 255 = 14.3
    EXPECT_EQ(ColumnOf(picture, 0, WAVEFORM), Rows(20, 14, 19));
    EXPECT_EQ(ColumnOf(picture, 1, WAVEFORM), Rows(20, 14, 19));
}

TEST_F(WaveformImage, AColumnOfSeveralBlocksHasTheirMinimumAndMaximum) {
    const std::vector<PeakBlock> blocks = {
        {0, {{-127, 10}}}, {0, {{-10, 127}}}, {0, {{-127, 10}}}, {0, {{-10, 127}}}};
    Picture picture(2, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelsOverlaid, blocks)), 0);

    for (int x = 0; x < 2; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 5, 95));
}

TEST_F(WaveformImage, ARangeIncludesTheBlocksOfItsFirstAndItsLastSample) {
    // Samples 63 to 96 touch blocks 1, 2 and 3, one each for three pixels: nothing is scaled.
    const auto preview = Preview(Style::RMSEnvelope, Envelope({0, 128, 128, 128, 0, 0, 0, 0}));
    preview->SetPreviewRangeSamples(63, 97);
    Picture picture(3, 100, Format::RGB888);

    ASSERT_EQ(picture.Draw(*preview), 0);

    for (int x = 0; x < 3; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 48, 99));
}

TEST_F(WaveformImage, ARangeOnBlockBoundariesIncludesNoOtherBlock) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({255, 128, 128, 255}));
    preview->SetPreviewRangeSamples(32, 96);
    Picture picture(2, 100, Format::RGB888);

    ASSERT_EQ(picture.Draw(*preview), 0);

    for (int x = 0; x < 2; ++x) EXPECT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 48, 99));
}

TEST_F(WaveformImage, ARangeAfterTheLastBlockShowsTheLastBlock) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({255, 255, 255, 128}));
    preview->SetPreviewRangeSamples(128, 128);
    Picture picture(1, 100, Format::RGB888);

    ASSERT_EQ(picture.Draw(*preview), 0);

    EXPECT_EQ(ColumnOf(picture, 0, WAVEFORM), Rows(100, 48, 99));
}

// ---- fewer blocks than pixels

TEST_F(WaveformImage, OneBlockIsStretchedOverAThousandPixels) {
    const PeakBlock block{0, {{-127, 127}}};
    Picture picture(1000, 100, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*Preview(Style::ChannelsOverlaid, {block})), 0);

    for (int x = 0; x < 1000; ++x) ASSERT_EQ(ColumnOf(picture, x, WAVEFORM), Rows(100, 5, 95));
}

TEST_F(WaveformImage, AStretchedRGBPictureHas32BitPixels) {
    Picture picture(10, 20, Format::RGB888, 4 * 10 * 20);

    ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, Envelope({128}))), 0);

    for (int x = 0; x < 10; ++x) {
        for (int y = 0; y < 20; ++y) {
            EXPECT_EQ(picture.WordAt(x, y), y < 8 ? BACKGROUND : WAVEFORM);
        }
    }
}

TEST_F(WaveformImage, ScalingBlendsNeighboursEquallyInBothFormats) {
    const std::vector<PeakBlock> blocks = RandomBlocks(7, 1);
    Picture argb(50, 40, Format::ARGB32);
    Picture rgb(50, 40, Format::RGB888, 4 * 50 * 40);
    ASSERT_EQ(argb.Draw(*Preview(Style::RMSEnvelope, blocks)), 0);
    ASSERT_EQ(rgb.Draw(*Preview(Style::RMSEnvelope, blocks)), 0);

    int blended = 0;
    for (int x = 0; x < 50; ++x) {
        for (int y = 0; y < 40; ++y) {
            EXPECT_EQ(argb.WordAt(x, y), rgb.WordAt(x, y));
            const Pixel pixel = argb.WordAt(x, y);
            blended += pixel != BACKGROUND && pixel != WAVEFORM;
        }
    }
    EXPECT_GT(blended, 0);
}

// ---- half-transparent colours

/// Whether a pixel's channels are within 2 of the expected values: Qt rounds blended values.
bool IsNear(Pixel pixel, Pixel expected) {
    for (int shift = 0; shift < 32; shift += 8) {
        const int actual = static_cast<int>(pixel >> shift & 0xff);
        if (std::abs(actual - static_cast<int>(expected >> shift & 0xff)) > 2) return false;
    }
    return true;
}

// The shape is filled from row 3 to row 8 and its outline drawn over that, along column 0 among
// others, whose pixels are blended twice. With 128 of 255 once is 200 * 0.502 = 100, and twice 150.
TEST_F(WaveformImage, AHalfTransparentEnvelopeIsDenserWhereItsOutlineCoversIt) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({128, 128, 128, 128}));
    preview->SetBackgroundColor({0, 0, 0, 255});
    preview->SetWaveformColor({200, 100, 50, 128});
    for (const Format format : {Format::ARGB32, Format::RGB888}) {
        Picture picture(4, 10, format);

        ASSERT_EQ(picture.Draw(*preview), 0);

        EXPECT_EQ(picture.At(1, 2), 0xff000000u);
        EXPECT_PRED2(IsNear, picture.At(1, 6), 0xff643219u);
        EXPECT_PRED2(IsNear, picture.At(0, 6), 0xff964b26u);
    }
}

TEST_F(WaveformImage, AHalfTransparentEnvelopeOnATransparentBackgroundKeepsItsColour) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({128, 128, 128, 128}));
    preview->SetBackgroundColor({0, 0, 0, 0});
    preview->SetWaveformColor({200, 100, 50, 128});
    Picture picture(4, 10, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*preview), 0);

    EXPECT_EQ(picture.At(1, 2), 0u);
    EXPECT_PRED2(IsNear, picture.At(1, 6), 0x80c86432u);
    EXPECT_PRED2(IsNear, picture.At(0, 6), 0xc0c86432u);
}

// Two silent channels are two lines in the middle row.
TEST_F(WaveformImage, HalfTransparentChannelsAreBlendedOverEachOther) {
    const auto line = [&](int channels) {
        const PeakBlock silence{
            0, std::vector<std::pair<int, int>>(static_cast<std::size_t>(channels), {0, 0})};
        const auto preview = Preview(Style::ChannelsOverlaid, std::vector<PeakBlock>(8, silence));
        preview->SetBackgroundColor({0, 0, 0, 255});
        preview->SetWaveformColor({200, 100, 50, 128});
        Picture picture(8, 10, Format::ARGB32);
        EXPECT_EQ(picture.Draw(*preview), 0);
        return picture.At(4, 5);
    };

    EXPECT_PRED2(IsNear, line(1), 0xff643219u);
    EXPECT_PRED2(IsNear, line(2), 0xff964b26u);
}

// ---- bytes

TEST_F(WaveformImage, ARGBBytesAreBlueGreenRedAlphaNotPremultiplied) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({0, 0}));
    preview->SetBackgroundColor({10, 20, 30, 128});
    Picture picture(2, 10, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*preview), 0);

    EXPECT_EQ(picture.At(0, 0), 0x800a141eu);
    EXPECT_EQ(picture.Buffer().Data()[0], 0x1e);
    EXPECT_EQ(picture.Buffer().Data()[3], 0x80);
}

TEST_F(WaveformImage, AStretchedARGBPictureIsPremultiplied) {
    const auto preview = Preview(Style::RMSEnvelope, Envelope({0}));
    preview->SetBackgroundColor({10, 20, 30, 128});
    Picture picture(2, 10, Format::ARGB32);

    ASSERT_EQ(picture.Draw(*preview), 0);

    EXPECT_EQ(picture.At(0, 0), 0x80050a0fu);
}

TEST_F(WaveformImage, RGBPixelsAreRedGreenBlueAndTheirPaddingIsZero) {
    Picture picture(5, 10, Format::RGB888);

    ASSERT_EQ(picture.Draw(*Preview(Style::RMSEnvelope, Envelope({0, 0, 0, 0, 0}))), 0);

    const unsigned char* row = picture.Buffer().Data();
    EXPECT_EQ((std::vector<int>{row[0], row[1], row[2]}), (std::vector<int>{0x0a, 0x14, 0x1e}));
    EXPECT_EQ(row[15], 0);
}

TEST_F(WaveformImage, AnyOtherFormatActsAsARGB) {
    Picture argb(5, 10, Format::ARGB32);
    Picture other(5, 10, static_cast<Format>(2), 200);
    const auto preview = Preview(Style::RMSEnvelope, RandomBlocks(5, 1));

    ASSERT_EQ(argb.Draw(*preview), 0);
    ASSERT_EQ(other.Draw(*preview), 0);

    EXPECT_EQ(argb.Buffer().Values(), other.Buffer().Values());
}

}  // namespace
}  // namespace sonrel_tests
