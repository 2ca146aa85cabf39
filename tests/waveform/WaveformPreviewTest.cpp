// SPDX-License-Identifier: MIT
#include "sonrel/waveform/WaveformPreview.h"

#include <gtest/gtest.h>

#include <QImage>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "tests/support/ResourceLimit.h"
#include "tests/waveform/WaveformFixture.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::WaveformPreview;
using Color = WaveformPreview::Color;
using Format = WaveformPreview::Format;
using Scale = WaveformPreview::Scale;
using Style = WaveformPreview::Style;
using Range = std::pair<long long, long long>;

std::string WordsOfConstructor(int channels, const std::wstring& path) {
    try {
        const WaveformPreview preview(48000, 1000, channels, path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

// ---- construction and settings

TEST(WaveformPreview, SixteenChannelsAreAcceptedAndSeventeenRefused) {
    EXPECT_EQ(WordsOfConstructor(16, L"a.xwpk"), "nothing");
    EXPECT_EQ(WordsOfConstructor(17, L"a.xwpk"), "Unsupported channel count");
}

TEST(WaveformPreview, ChannelCountsHaveNoLowerLimit) {
    EXPECT_EQ(WordsOfConstructor(0, L"a.xwpk"), "nothing");
    EXPECT_EQ(WordsOfConstructor(-5, L"a.xwpk"), "nothing");
}

TEST(WaveformPreview, AnEmptyPathIsRefused) {
    EXPECT_EQ(WordsOfConstructor(2, L""), "Waveform peak file error");
}

TEST(WaveformPreview, TheChannelCountIsTestedBeforeThePath) {
    EXPECT_EQ(WordsOfConstructor(17, L""), "Unsupported channel count");
}

TEST(WaveformPreview, StartsBlackOnTransparentAsALinearEnvelopeOfTheWholeStream) {
    const WaveformPreview preview(48000, 1000, 2, L"a.xwpk");

    EXPECT_EQ(preview.BackgroundColor(), (Color{0, 0, 0, 0}));
    EXPECT_EQ(preview.WaveformColor(), (Color{0, 0, 0, 255}));
    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, 1000));
    EXPECT_EQ(preview.PreviewStyle(), Style::RMSEnvelope);
    EXPECT_EQ(preview.PreviewScale(), Scale::Linear);
}

TEST(WaveformPreview, SettingsAreReadBack) {
    WaveformPreview preview(48000, 1000, 2, L"a.xwpk");

    preview.SetBackgroundColor({1, 2, 3, 4});
    preview.SetWaveformColor({5, 6, 7, 8});
    preview.SetPreviewStyle(Style::ChannelsOverlaid);
    preview.SetPreviewScale(Scale::Logarithmic);

    EXPECT_EQ(preview.BackgroundColor(), (Color{1, 2, 3, 4}));
    EXPECT_EQ(preview.WaveformColor(), (Color{5, 6, 7, 8}));
    EXPECT_EQ(preview.PreviewStyle(), Style::ChannelsOverlaid);
    EXPECT_EQ(preview.PreviewScale(), Scale::Logarithmic);
}

TEST(WaveformPreview, EnumeratorsHaveTheValuesThatHostsStore) {
    EXPECT_EQ(static_cast<int>(Style::ChannelLanes), 0);
    EXPECT_EQ(static_cast<int>(Style::ChannelsOverlaid), 1);
    EXPECT_EQ(static_cast<int>(Style::RMSEnvelope), 2);
    EXPECT_EQ(static_cast<int>(Scale::Linear), 0);
    EXPECT_EQ(static_cast<int>(Scale::Logarithmic), 1);
    EXPECT_EQ(static_cast<int>(Format::RGB888), 0);
    EXPECT_EQ(static_cast<int>(Format::ARGB32), 1);
    EXPECT_EQ(sizeof(Color), 4u);
}

TEST(WaveformPreview, ARangeOfSamplesIsLimitedToTheStream) {
    WaveformPreview preview(48000, 1000, 2, L"a.xwpk");

    preview.SetPreviewRangeSamples(-1, 1001);
    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, 1000));
    preview.SetPreviewRangeSamples(1, 999);
    EXPECT_EQ(preview.PreviewRangeSamples(), Range(1, 999));
}

TEST(WaveformPreview, AReversedRangeOfSamplesIsStoredUnchanged) {
    WaveformPreview preview(48000, 1000, 2, L"a.xwpk");

    preview.SetPreviewRangeSamples(2000, -3);

    EXPECT_EQ(preview.PreviewRangeSamples(), Range(2000, -3));
}

TEST(WaveformPreview, ARangeOfTimeIsLimitedToTheStream) {
    WaveformPreview preview(48000, 96000, 2, L"a.xwpk");

    preview.SetPreviewRangeTime(-0.5, 7.0);

    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, 96000));
}

TEST(WaveformPreview, ARangeOfTimeIsRoundedHalfAwayFromZero) {
    WaveformPreview preview(1000, 96000, 2, L"a.xwpk");

    preview.SetPreviewRangeTime(0.0015, 0.0024);  // samples 1.5 and 2.4
    EXPECT_EQ(preview.PreviewRangeSamples(), Range(2, 2));
    preview.SetPreviewRangeTime(0.0004, 0.0025);  // samples 0.4 and 2.5
    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, 3));
}

TEST(WaveformPreview, TimesWithoutA64BitPositionAreBeforeTheStream) {
    WaveformPreview preview(48000, 96000, 2, L"a.xwpk");
    const double infinite = std::numeric_limits<double>::infinity();

    preview.SetPreviewRangeTime(std::nan(""), infinite);

    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, LLONG_MIN));
}

TEST(WaveformPreview, ClearingTheRangeRestoresTheWholeStream) {
    WaveformPreview preview(48000, 1000, 2, L"a.xwpk");
    preview.SetPreviewRangeSamples(5, 7);

    preview.ClearPreviewRange();

    EXPECT_EQ(preview.PreviewRangeSamples(), Range(0, 1000));
}

// ---- results: four blocks of one channel, 128 samples

class WaveformResult : public testing::Test {
protected:
    void SetUp() override { Write(PeakBytes(1, Envelope({255, 128, 64, 0}))); }

    void Write(const std::string& bytes) { WriteFile(folder_ / "a.xwpk", bytes); }
    WaveformPreview Preview(int channels = 1, long long samples = 128) const {
        return {48000, samples, channels, folder_.Wide("a.xwpk")};
    }

    TemporaryFolder folder_;
};

TEST_F(WaveformResult, AnImageInTheBufferIs0) {
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(Preview()), 0);
    EXPECT_TRUE(picture.Buffer().GuardsIntact());
}

TEST_F(WaveformResult, ABufferOneByteTooSmallReturnsTheNeededBytes) {
    Picture picture(4, 10, Format::ARGB32, 4 * 4 * 10 - 1);

    EXPECT_EQ(picture.Draw(Preview()), 160);
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, RowsOfThreeBytePixelsArePaddedToWords) {
    Picture picture(5, 10, Format::RGB888, 159);

    EXPECT_EQ(picture.Draw(Preview()), 160);
}

TEST_F(WaveformResult, TheNeededBytesAreTheBytesOfAnImageOfThatSize) {
    for (int width = 1; width < 40; ++width) {
        Picture rgb(width, 7, Format::RGB888, 0);
        Picture argb(width, 7, Format::ARGB32, 0);
        EXPECT_EQ(rgb.Draw(Preview()), QImage(width, 7, QImage::Format_RGB888).sizeInBytes());
        EXPECT_EQ(argb.Draw(Preview()), QImage(width, 7, QImage::Format_ARGB32).sizeInBytes());
    }
}

TEST_F(WaveformResult, ATooSmallBufferIsRefusedBeforeTheFileIsOpened) {
    std::filesystem::remove(folder_ / "a.xwpk");
    Picture picture(4, 10, Format::ARGB32, 159);

    EXPECT_EQ(picture.Draw(Preview()), 160);
}

TEST_F(WaveformResult, MoreBytesThanAnIntAreTheMaximumInt) {
    Picture picture(INT_MAX, INT_MAX, Format::RGB888, 100);
    Picture tall(1, INT_MAX, Format::ARGB32, 100);

    EXPECT_EQ(picture.Draw(Preview()), INT_MAX);
    EXPECT_EQ(tall.Draw(Preview()), INT_MAX);
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, TheBytesOfAnImageAreTheNeededSizeOfItsBuffer) {
    for (const Format format : {Format::RGB888, Format::ARGB32}) {
        for (const int width : {1, 2, 3, 4, 5, 8, 1000}) {  // stretched from 5 on
            const int bytes = Preview().ImageBytes(width, 10, format);
            const bool words = format == Format::ARGB32 || width > 4;
            EXPECT_EQ(bytes, 10 * (words ? 4 * width : (3 * width + 3) / 4 * 4)) << width;
            Picture tight(width, 10, format, static_cast<std::size_t>(bytes) - 1);
            Picture enough(width, 10, format, static_cast<std::size_t>(bytes));
            EXPECT_NE(tight.Draw(Preview()), 0) << width;
            EXPECT_EQ(enough.Draw(Preview()), 0) << width;
            EXPECT_FALSE(enough.Buffer().Untouched()) << width;
        }
    }
}

TEST_F(WaveformResult, AnImageThatIsNotDrawnHasNoBytes) {
    for (const auto& [width, height] : {std::pair{0, 10}, {10, 0}, {10, -1}, {0, 0}}) {
        EXPECT_EQ(Preview().ImageBytes(width, height, Format::ARGB32), 0) << width << " " << height;
    }
    WaveformPreview empty = Preview();
    empty.SetPreviewRangeSamples(64, 64);
    EXPECT_EQ(empty.ImageBytes(4, 10, Format::ARGB32), 0);
}

TEST_F(WaveformResult, AnImageOfMoreBytesThanAnyBufferIsNotDrawn) {
    GuardedBuffer buffer(100);
    for (const auto& [width, height] : {std::pair{INT_MAX, INT_MAX}, {1, INT_MAX}}) {
        EXPECT_EQ(Preview().ImageBytes(width, height, Format::ARGB32), INT_MAX);
        EXPECT_EQ(Preview().CreateImage(width, height, Format::ARGB32, buffer.Data(), INT_MAX),
                  INT_MAX);
    }
    EXPECT_TRUE(buffer.Untouched());
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
// The picture needs 1.6 gigabytes.
TEST_F(WaveformResult, AnImageThatExceedsTheMemoryIs0AndLeavesTheBufferUnchanged) {
    GuardedBuffer buffer(100);
    int bytes = -1;
    int result = -1;
    {
        const ResourceLimit gigabyte(RLIMIT_AS, 1 << 30);
        bytes = Preview().ImageBytes(20000, 20000, Format::ARGB32);
        result = Preview().CreateImage(20000, 20000, Format::ARGB32, buffer.Data(), 1600000000);
    }

    EXPECT_EQ(bytes, 0);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(Preview().ImageBytes(20000, 20000, Format::ARGB32), 1600000000);
}
#endif

TEST_F(WaveformResult, TheBytesOfAFailingImageAreTheCodeOfTheFailure) {
    const auto bytes = [](const WaveformPreview& preview, int width = 4) {
        return preview.ImageBytes(width, 10, Format::ARGB32);
    };
    EXPECT_EQ(bytes(Preview(), -1), -3);
    EXPECT_EQ(bytes(Preview(2)), -2);
    Write(PeakHeader(1, 0x80000000u) + std::string(12, '\x40'));
    EXPECT_EQ(bytes(Preview()), -3);
    std::filesystem::remove(folder_ / "a.xwpk");
    EXPECT_EQ(bytes(Preview()), -1);
    WaveformPreview reversed = Preview();
    reversed.SetPreviewRangeSamples(64, 63);
    EXPECT_EQ(bytes(reversed), -5);
}

TEST_F(WaveformResult, AMissingPeakFileIsMinus1) {
    std::filesystem::remove(folder_ / "a.xwpk");
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(Preview()), -1);
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, APeakFileWithoutBlocksIsMinus1) {
    Write(PeakHeader(1, 0));
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(Preview()), -1);
}

TEST_F(WaveformResult, AFileThatIsNotAPeakFileIsMinus1) {
    Picture picture(4, 10, Format::ARGB32);
    const std::vector<std::string> strangers = {"",
                                                "ORLOXWPK",
                                                "RIFFxxxxWAVE and more of it",
                                                PeakHeader(0, 4),
                                                PeakHeader(17, 4),
                                                PeakHeader(-1, 4)};
    for (const std::string& bytes : strangers) {
        Write(bytes);
        EXPECT_EQ(picture.Draw(Preview()), -1) << testing::PrintToString(bytes);
    }
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, AnotherChannelCountIsMinus2) {
    Picture picture(4, 10, Format::ARGB32);

    for (const int channels : {2, 0, -1}) EXPECT_EQ(picture.Draw(Preview(channels)), -2);
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, AFileCutShortIsMinus3InEveryStyle) {
    Write(PeakBytes(1, Envelope({255, 128, 64, 0})).substr(0, 20 + 3 * 3));
    Picture picture(4, 10, Format::ARGB32);
    for (const Style style : {Style::ChannelLanes, Style::ChannelsOverlaid, Style::RMSEnvelope}) {
        WaveformPreview preview = Preview();
        preview.SetPreviewStyle(style);
        EXPECT_EQ(picture.Draw(preview), -3);
    }
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, ABlockCountBeyondTheFileIsMinus3) {
    Picture picture(4, 10, Format::ARGB32);
    for (const std::uint32_t blocks : {5u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        Write(PeakHeader(1, blocks) + std::string(12, '\x40'));
        EXPECT_EQ(picture.Draw(Preview(1, 1000)), -3) << blocks;
        EXPECT_EQ(picture.Draw(Preview(1, 32LL * 0x7fffffff)), -3) << blocks;
    }
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, ANullBufferWithASufficientSizeIsMinus4) {
    EXPECT_EQ(Preview().CreateImage(4, 10, Format::ARGB32, nullptr, 160), -4);
}

TEST_F(WaveformResult, ANullBufferOfNoBytesReturnsTheNeededBytes) {
    EXPECT_EQ(Preview().CreateImage(4, 10, Format::ARGB32, nullptr, 0), 160);
}

TEST_F(WaveformResult, AStretchedRGBImageOutgrowsAnExactBufferWhichIsZeroed) {
    Picture picture(8, 10, Format::RGB888);  // 8 columns of 4 blocks, 24 bytes a row

    EXPECT_EQ(picture.Draw(Preview()), -4);

    GuardedBuffer& buffer = picture.Buffer();
    EXPECT_EQ(std::count(buffer.Data(), buffer.Data() + buffer.Size(), 0), 240);
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST_F(WaveformResult, AStretchedRGBImageFitsIntoFourBytesAPixel) {
    Picture tight(8, 10, Format::RGB888, 4 * 8 * 10 - 1);
    Picture wide(8, 10, Format::RGB888, 4 * 8 * 10);

    EXPECT_EQ(tight.Draw(Preview()), -4);
    EXPECT_EQ(wide.Draw(Preview()), 0);
}

TEST_F(WaveformResult, ARangeThatEndsBeforeItStartsIsMinus5BeforeAnythingElse) {
    std::filesystem::remove(folder_ / "a.xwpk");
    WaveformPreview preview = Preview();
    preview.SetPreviewRangeSamples(64, 63);
    Picture picture(4, 10, Format::ARGB32, 1);

    EXPECT_EQ(picture.Draw(preview), -5);
    EXPECT_TRUE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, AnEmptyRangeOnABlockBoundaryIsAnImageWithoutPixels) {
    WaveformPreview preview = Preview();
    preview.SetPreviewRangeSamples(64, 64);
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(preview), 0);
    EXPECT_TRUE(picture.Buffer().Untouched());
    EXPECT_EQ(preview.CreateImage(4, 10, Format::ARGB32, nullptr, 160), 0);
}

TEST_F(WaveformResult, ARangeAfterTheEndOfAShorterFileIsNotAFailure) {
    WaveformPreview preview = Preview(1, 100000);
    preview.SetPreviewRangeSamples(50000, 60000);
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(preview), 0);
    EXPECT_FALSE(picture.Buffer().Untouched());
}

TEST_F(WaveformResult, ARangeBeyondAllBlockNumbersDoesNotThrow) {
    WaveformPreview preview = Preview(1, LLONG_MAX);
    Picture picture(4, 10, Format::ARGB32);

    EXPECT_EQ(picture.Draw(preview), 0);
    preview.SetPreviewRangeSamples(64, LLONG_MAX);
    EXPECT_EQ(picture.Draw(preview), -3);
}

TEST_F(WaveformResult, SizesWithoutPixelsAreNotDrawn) {
    GuardedBuffer buffer(100);
    for (const auto& [width, height] : {std::pair{0, 10}, {10, 0}, {10, -1}, {0, 0}}) {
        EXPECT_EQ(Preview().CreateImage(width, height, Format::ARGB32, buffer.Data(), 100), 0);
    }
    EXPECT_EQ(Preview().CreateImage(-1, 10, Format::ARGB32, buffer.Data(), 100), -3);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(WaveformResult, AnImageWithoutWidthNeedsNoMemory) {
    GuardedBuffer buffer(100);
    const auto peakKilobytes = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const long before = peakKilobytes();

    // One column of so many pixels would need 800 megabytes.
    EXPECT_EQ(Preview().CreateImage(0, 200000000, Format::ARGB32, buffer.Data(), 100), 0);

    EXPECT_LT(peakKilobytes() - before, 100000);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(WaveformResult, DamagedFilesHaveOneOfTheResults) {
    std::mt19937 source(7);
    const std::string whole = PeakBytes(1, Envelope({255, 128, 64, 0}));
    Picture picture(3, 5, Format::ARGB32);
    for (int run = 0; run < 300; ++run) {
        std::string bytes = whole;
        for (int i = 0; i < 3; ++i) {
            // After the magic, so that every damage is examined.
            bytes[8 + source() % (bytes.size() - 8)] = static_cast<char>(source());
        }
        bytes.resize(bytes.size() - source() % 8);
        Write(bytes);
        WaveformPreview preview = Preview(1, 1LL << (source() % 40));
        preview.SetPreviewStyle(static_cast<Style>(source() % 3));

        const int result = picture.Draw(preview);

        EXPECT_TRUE(result == 0 || (result <= -1 && result >= -3)) << result;
    }
    EXPECT_TRUE(picture.Buffer().GuardsIntact());
}

TEST_F(WaveformResult, AReplacedFileIsUsedForTheNextImage) {
    Write(PeakBytes(1, Envelope({128, 128, 128, 128})));
    Picture picture(4, 10, Format::ARGB32);
    const WaveformPreview preview = Preview();
    ASSERT_EQ(picture.Draw(preview), 0);
    EXPECT_EQ(ColumnOf(picture, 1, 0xff000000), Rows(10, 3, 9));  // 9 - 10 * 128 / 255 = 3.98

    Write(PeakBytes(1, Envelope({0, 0, 0, 0})));
    ASSERT_EQ(picture.Draw(preview), 0);

    EXPECT_EQ(ColumnOf(picture, 1, 0xff000000), Rows(10, 9, 9));
}

}  // namespace
}  // namespace sonrel_tests
