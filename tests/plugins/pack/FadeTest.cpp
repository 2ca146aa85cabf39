// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::CurveNumber;
using PluginPack::Parameters;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using sonrel_tests::Stereo;
using ::testing::Each;
using ::testing::ElementsAre;

/// An object whose samples are all 1000, with 4 samples in a video frame and handles of 8 samples
/// on both sides.
RenderedObject Constant(const Parameters& parameters) {
    RenderedObject object;
    object.rate = 100;
    object.objectOffset = -8;
    object.source = Stereo(Samples(200, 1000));
    object.effects = {PluginPack::CreateEffect("fade", parameters)};
    return object;
}

Samples Faded(const Parameters& parameters, long long first, int count) {
    return sonrel_tests::Left(Constant(parameters).Render(first, count));
}

TEST(Fade, AFadeInCoversItsFramesFromTheStartOfTheObject) {
    EXPECT_THAT(Faded({{"inFrames", 1}, {"curve", CurveNumber("linear")}}, 0, 6),
                ElementsAre(0, 250, 500, 750, 1000, 1000));
}

TEST(Fade, AFadeOutCoversItsFramesToTheEndOfTheObject) {
    const Parameters out = {
        {"outFrames", 1}, {"objectFrames", 10}, {"curve", CurveNumber("linear")}};

    EXPECT_THAT(Faded(out, 34, 8), ElementsAre(1000, 1000, 1000, 750, 500, 250, 0, 0));
}

TEST(Fade, IsEqualPowerByDefault) {
    EXPECT_THAT(Faded({{"inFrames", 1.5}}, 0, 7), ElementsAre(0, 259, 500, 707, 866, 966, 1000));
}

TEST(Fade, DecibelIsSilentAtTheEnd) {
    const double db = CurveNumber("db");
    EXPECT_THAT(Faded({{"inFrames", 0.75}, {"curve", db}}, 0, 4), ElementsAre(0, 10, 100, 1000));
    EXPECT_THAT(Faded({{"outFrames", 0.75}, {"objectFrames", 2}, {"curve", db}}, 5, 4),
                ElementsAre(1000, 100, 10, 0));
}

TEST(Fade, InAndOutMultiplyWhereTheyMeet) {
    // In over samples 0 to 8, out over 0 to 8 as well.
    const Parameters both = {
        {"inFrames", 2}, {"outFrames", 2}, {"objectFrames", 2}, {"curve", CurveNumber("linear")}};

    EXPECT_THAT(Faded(both, 0, 8), ElementsAre(0, 109, 188, 234, 250, 234, 188, 109));
}

TEST(Fade, AnOutLongerThanItsObjectStartsBeforeIt) {
    const Parameters out = {
        {"outFrames", 4}, {"objectFrames", 2}, {"curve", CurveNumber("linear")}};

    EXPECT_THAT(Faded(out, 0, 4), ElementsAre(500, 438, 375, 313));
}

TEST(Fade, HandlesBeforeAFadeInAndAfterAFadeOutAreSilent) {
    const Parameters both = {{"inFrames", 1}, {"outFrames", 1}, {"objectFrames", 10}};

    EXPECT_THAT(Faded(both, -8, 8), Each(0));
    EXPECT_THAT(Faded(both, 40, 8), Each(0));
}

TEST(Fade, WithoutALengthTouchesNothing) {
    const Parameters none = {{"objectFrames", 10}};

    EXPECT_THAT(Faded(none, -8, 8), Each(1000));
    EXPECT_THAT(Faded(none, 36, 8), Each(1000));
}

TEST(Fade, LengthsAreTruncatedToWholeSamples) {
    // A frame at 29.97 frames a second and 48000 Hz is 1601.6 samples: the fade is 1601 long, and
    // sample 800 has 800/1601 of its level. Over 1602 samples it would be 16363.
    RenderedObject object;
    object.source = Stereo(Samples(1700, 32767));
    object.effects = {PluginPack::CreateEffect(
        "fade", {{"inFrames", 1}, {"frameRate", 29.97}, {"curve", CurveNumber("linear")}})};

    const Samples faded = sonrel_tests::Left(object.Render(0, 1700));

    EXPECT_EQ(faded[800], 16373);
    EXPECT_EQ(faded[1600], 32747);
    EXPECT_EQ(faded[1601], 32767);
}

TEST(Fade, TheLengthOfTheObjectIsTruncatedBeforeTheFadeOutIsPlaced) {
    // At 44100 Hz a frame is 1471.47 samples and two are 2942.94, truncated to 2942: the fade-out
    // of 1471 begins at 1471. With the length rounded it would begin at 1472.
    RenderedObject object;
    object.rate = 44100;
    object.source = Stereo(Samples(3000, 14710));
    object.effects = {PluginPack::CreateEffect("fade", {{"outFrames", 1},
                                                        {"objectFrames", 2},
                                                        {"frameRate", 29.97},
                                                        {"curve", CurveNumber("linear")}})};

    const Samples faded = sonrel_tests::Left(object.Render(0, 3000));

    EXPECT_EQ(faded[1471], 14710);
    EXPECT_EQ(faded[1472], 14700);
    EXPECT_EQ(faded[2941], 10);
    EXPECT_EQ(faded[2942], 0);
}

TEST(Fade, ABlockThatTouchesAFadeByOneSampleIsFaded) {
    const Parameters both = {
        {"inFrames", 1}, {"outFrames", 1}, {"objectFrames", 10}, {"curve", CurveNumber("linear")}};

    EXPECT_THAT(Faded(both, 3, 3), ElementsAre(750, 1000, 1000));
    EXPECT_THAT(Faded(both, 4, 3), Each(1000));
    EXPECT_THAT(Faded(both, 34, 3), Each(1000));
    EXPECT_THAT(Faded(both, 35, 3), ElementsAre(1000, 1000, 750));
}

TEST(Fade, FullScaleIsUnchangedOutsideTheFades) {
    RenderedObject object;
    object.rate = 100;
    object.source = {32767, -32768, 32767, -32768, 32767, -32768};
    object.effects = {PluginPack::CreateEffect(
        "fade", {{"inFrames", 0.25}, {"outFrames", 0.25}, {"objectFrames", 1}})};

    EXPECT_THAT(object.Render(1, 2), ElementsAre(32767, -32768, 32767, -32768));
}

TEST(Fade, RoundsHalfAwayFromZeroOnBothChannels) {
    RenderedObject object;
    object.rate = 100;
    object.source = {0, 0, 1, -1, 3, -3};
    object.effects = {
        PluginPack::CreateEffect("fade", {{"inFrames", 0.5}, {"curve", CurveNumber("linear")}})};

    EXPECT_THAT(object.Render(1, 2), ElementsAre(1, -1, 3, -3));
}

TEST(Fade, IsSilentAfterTheEndOfTheSource) {
    RenderedObject object = Constant({});
    object.source = Stereo({7, 7, 7, 7, 7, 7, 7, 7, 7, 9});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(7, 9, 0, 0, 0));
}

TEST(Fade, NeedsOnlyItsOutput) {
    const auto fade = PluginPack::CreateEffect("fade", {{"inFrames", 100}});

    const auto range = sonrel_tests::RequiredRange(*fade, 48000, 5000, 100, 0);

    EXPECT_EQ(range.first, 5000);
    EXPECT_EQ(range.endExclusive, 5100);
}

}  // namespace
}  // namespace orlo::sonrel
