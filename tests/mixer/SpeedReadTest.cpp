// SPDX-License-Identifier: MIT
// Reads at a speed other than 1: the range read of the source, and the output of the filter.
#include <gtest/gtest.h>

#include <limits>

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "tests/reference/ReferenceResampler.h"
#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

/// The formula over @p span frames of a source from @p begin, with frame 0 of the output at
/// @p margin.
Samples Filtered(const Samples& source, int begin, int span, int margin, double speed, int count,
                 int rate = 48000) {
    Samples output(2 * static_cast<std::size_t>(count));
    sonrel::reference::ResampleStereo(rate, speed, source.data() + 2 * begin, margin, span,
                                      output.data(), count);
    return output;
}

// An object at the beginning of the timeline with in-point 0: timeline position p plays from
// source position trunc(p * speed).
class SpeedRead : public ::testing::Test {
protected:
    Rendered Render(const Samples& source, double speed, long long start, int count) {
        const auto object = builder_.AddObject(builder_.AddMedia(source), 0, 100);
        object->Animation().SetStaticValue("speed", speed);
        return rig_.Render(builder_, object, start, count);
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(SpeedRead, BeginsSixtyFourFramesBeforeTheStart) {
    const Samples source = Noise(10000, 3);

    const Rendered rendered = Render(source, 2.0, 2500, 1000);

    // 2000 frames wanted from 5000 on, and 128 more: 2128 from 4936.
    ASSERT_EQ(rendered.result, 1000);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 4936, 2128, 64, 2.0, 1000));
}

TEST_F(SpeedRead, HasNoMarginNearTheBeginningOfTheSource) {
    const Samples source = Noise(2000, 4);

    const Rendered rendered = Render(source, 0.5, 20, 200);

    // From 10 on: 100 wanted, 228 read.
    ASSERT_EQ(rendered.result, 200);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 10, 228, 0, 0.5, 200));
}

TEST_F(SpeedRead, BeforeTheSourceReturnsNothing) {
    const auto asset = builder_.AddMedia(Counting(2000));
    auto& mixer = sonrel::AudioMixerAccess::Impl(rig_.Mixer());
    GuardedBuffer buffer(400);
    const auto read = [&](long long start, double speed) {
        zrtl::StereoFrame* frames = zrtl::FramesOf(buffer.Data());
        const sonrel::detail::SourceFrames source = sonrel::detail::ReadMedia(
            mixer, *asset, {start, 100, speed, 48000}, {frames, buffer.Size()});
        return sonrel::detail::ResampleSource(mixer.resampler, source, frames);
    };

    for (const long long start : {-1LL, -64LL, -65LL, -100000LL}) {
        EXPECT_EQ(read(start, 2.0), -1) << start;
        EXPECT_EQ(read(start, 0.5), -1) << start;
    }
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(read(0, 2.0), 100);
}

// The effect needs 10 samples before the first one, which at this speed are 20 frames before the
// source.
TEST_F(SpeedRead, OfAnEffectThatLooksBackBeforeTheSourceIsSilent) {
    const auto spy = std::make_shared<SpyEffect>();
    spy->onRanges = [](const RangesCall& call, std::vector<project::SampleRange>& ranges) {
        ranges.push_back({call.firstSample - 10, call.firstSample + call.sampleCount});
    };
    const auto object = builder_.AddObject(builder_.AddMedia(Counting(2000)), 0, 100);
    object->Animation().SetStaticValue("speed", 2.0);
    object->AddEffect(spy);

    EXPECT_EQ(rig_.Render(builder_, object, 9, 100).result, -1);
    EXPECT_TRUE(spy->processCalls.empty());
    EXPECT_EQ(rig_.Render(builder_, object, 10, 100).result, 100);
}

TEST_F(SpeedRead, GetsItsMarginFromFrame64On) {
    const Samples source = Noise(2000, 5);

    const Rendered without = Render(source, 0.5, 127, 100);  // from 63 on
    const Rendered with = Render(source, 0.5, 128, 100);     // from 64 on

    EXPECT_EQ(without.Valid(), Filtered(source, 63, 178, 0, 0.5, 100));
    EXPECT_EQ(with.Valid(), Filtered(source, 0, 178, 64, 0.5, 100));
}

TEST_F(SpeedRead, CountsTheFirstSourceFrameTwiceBetweenFrames) {
    // Positions are cut toward zero, not down: the taps at 0 and at -1 both name frame 0.
    Samples source(2 * 200, 0);
    source[0] = 10000;

    const Rendered rendered = Render(source, 0.5, 0, 6);

    ASSERT_EQ(rendered.result, 6);
    EXPECT_EQ(rendered[0].first, 9999);
    EXPECT_EQ(rendered[1].first, 12720);
    EXPECT_EQ(rendered[2].first, 0);
    EXPECT_EQ(rendered[3].first, -4207);
    EXPECT_EQ(rendered[4].first, 0);
    EXPECT_EQ(rendered[5].first, 2486);
}

TEST_F(SpeedRead, OfASourceOfOneFrameIsFiltered) {
    const Rendered rendered = Render({10000, -10000}, 0.5, 0, 3);

    // The weights of the one frame at positions 0, 0.5 and 1, as in the test above.
    ASSERT_EQ(rendered.result, 3);
    EXPECT_EQ(rendered[0], Frame(9999, -9999));
    EXPECT_EQ(rendered[1], Frame(12720, -12720));
    EXPECT_EQ(rendered[2], Frame(0, 0));
}

TEST_F(SpeedRead, IsUnfilteredWhenTheWantedLengthIsTheCount) {
    // 1000 * 1.0004 is 1000.4, and 2500 * 1.0004 is 2501: the start is scaled all the same.
    const Rendered rendered = Render(Counting(10000), 1.0004, 2500, 1000);

    ASSERT_EQ(rendered.result, 1000);
    EXPECT_EQ(rendered[0], Frame(2501, -27499));
    EXPECT_EQ(rendered[999], Frame(3500, -26500));
}

TEST_F(SpeedRead, CutsTheWantedLengthOfADouble) {
    // 1000 * 1.001 is 1000.9999999999999 in doubles.
    const Rendered rendered = Render(Counting(10000), 1.001, 1000, 1000);

    ASSERT_EQ(rendered.result, 1000);
    EXPECT_EQ(rendered[0].first, 1000);  // 1000 * 1.001 once more
    EXPECT_EQ(rendered[999].first, 1999);
}

TEST_F(SpeedRead, OfOneFrameIsUnfilteredBelowTwiceTheSpeed) {
    const Rendered rendered = Render(Counting(10000), 1.9, 1000, 1);

    ASSERT_EQ(rendered.result, 1);
    EXPECT_EQ(rendered[0], Frame(1900, -28100));
}

TEST_F(SpeedRead, IsFilteredAsSoonAsTheWantedLengthDiffers) {
    const Samples source = Noise(10000, 6);

    // 1601 * 1.001 is 1602.6.
    EXPECT_EQ(Render(source, 1.001, 1000, 1601).Valid(),
              Filtered(source, 936, 1602 + 128, 64, 1.001, 1601));
    // 1000 * 0.9999 is 999.9.
    EXPECT_EQ(Render(source, 0.9999, 1000, 1000).Valid(),
              Filtered(source, 999 - 64, 999 + 128, 64, 0.9999, 1000));
}

TEST_F(SpeedRead, NearTheEndReturnsTheTailOfTheFilterAndSilence) {
    const Samples source = Constant(1000, 20000, -20000);

    const Rendered rendered = Render(source, 2.0, 490, 200);

    // From 980 on, of which 20 frames are left: the filter sees 84 and the output is whole.
    ASSERT_EQ(rendered.result, 200);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 916, 84, 64, 2.0, 200));
    EXPECT_NE(rendered[9].first, 0);
    EXPECT_EQ(rendered[199], Frame(0, 0));
}

TEST_F(SpeedRead, AfterTheEndStillReadsItsMargin) {
    const Samples source = Constant(1000, 20000, -20000);

    // From 1010 on; the read begins at 946.
    const Rendered rendered = Render(source, 2.0, 505, 100);

    ASSERT_EQ(rendered.result, 100);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 946, 54, 64, 2.0, 100));
}

TEST_F(SpeedRead, HasNothingLeftWhereTheMarginIsAfterTheEnd) {
    const Samples source = Constant(1000, 20000, -20000);

    // The read would begin at 1064 - 64, one before at 998.
    EXPECT_EQ(Render(source, 2.0, 532, 100).result, -1);
    EXPECT_EQ(Render(source, 2.0, 531, 100).result, 100);
}

TEST_F(SpeedRead, OfAStreamWithoutSamplesIsSilent) {
    EXPECT_EQ(Render({}, 2.0, 0, 100).result, -1);
}

TEST_F(SpeedRead, OfZeroHoldsOneSourcePosition) {
    const Samples source = Constant(1000, 10000, -10000);

    const Rendered rendered = Render(source, 0.0, 500, 50);

    ASSERT_EQ(rendered.result, 50);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 0, 128, 0, 0.0, 50));
}

TEST_F(SpeedRead, OfNoUsableNumberIsSilent) {
    const Samples source = Constant(1000, 10000, -10000);
    constexpr double INFINITE = std::numeric_limits<double>::infinity();

    for (const double speed :
         {-1.0, 1e300, -1e300, INFINITE, -INFINITE, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Render(source, speed, 100, 200).result, -1) << speed;
        EXPECT_EQ(Render(source, speed, 0, 200).result, -1) << speed;
    }
}

TEST_F(SpeedRead, OfACompositionFiltersItsMixAtItsOwnRate) {
    const Samples source = Noise(4000, 7);
    const auto composition = builder_.AddComposition({25.0, 8000, 20});
    builder_.AddLayer(composition, builder_.AddMedia(source), 0, 20);
    const auto object = builder_.AddObject(composition, 0, 100);
    object->Animation().SetStaticValue("speed", 1.5);

    const Rendered rendered = rig_.Render(builder_, object, 1000, 400);

    // From 1500 on: 600 wanted, 728 read from 1436, filtered with the cutoff of 8000 Hz.
    ASSERT_EQ(rendered.result, 400);
    EXPECT_EQ(rendered.Valid(), Filtered(source, 1436, 728, 64, 1.5, 400, 8000));
}

TEST_F(SpeedRead, OfACompositionIsCutWhereTheOutputWouldPassItsLength) {
    // 20 frames at 8000 Hz: 6400 samples. The bound applies to start + count, not to the count
    // multiplied by the speed.
    const auto composition = builder_.AddComposition({25.0, 8000, 20});
    builder_.AddLayer(composition, builder_.AddMedia(Constant(6400, 9000, 9000)), 0, 20);
    const auto object = builder_.AddObject(composition, 0, 100);
    object->Animation().SetStaticValue("speed", 0.5);

    // From 6300 to the end are 100 samples, and 200 were requested.
    EXPECT_EQ(rig_.Render(builder_, object, 12600, 200).result, 100);
}

TEST_F(SpeedRead, OfACompositionAfterItsEndIsSilent) {
    const auto composition = builder_.AddComposition({25.0, 8000, 20});
    builder_.AddLayer(composition, builder_.AddMedia(Constant(6400, 9000, 9000)), 0, 20);
    const auto object = builder_.AddObject(composition, 0, 100);
    object->Animation().SetStaticValue("speed", 2.0);

    EXPECT_EQ(rig_.Render(builder_, object, 3200, 100).result, -1);
    EXPECT_GT(rig_.Render(builder_, object, 3199, 100).result, 0);
}

}  // namespace
}  // namespace sonrel_tests
