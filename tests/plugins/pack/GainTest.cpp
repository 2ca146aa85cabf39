// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using ::testing::ElementsAre;

Samples Amplified(double gainDb, const Samples& source) {
    RenderedObject object;
    object.source = source;
    object.effects = {PluginPack::CreateEffect("gain", {{"gainDb", gainDb}})};
    return object.Render(0, static_cast<int>(source.size() / 2));
}

TEST(Gain, ScalesByThePowerOfTenAndRoundsHalfAwayFromZero) {
    // 10^(-6/20) is 0.501187...: 5011.87, and 0.5012 and 1.5036 for 1 and 3.
    EXPECT_THAT(Amplified(-6.0, {10000, -10000, 1, -1, 3, -3}),
                ElementsAre(5012, -5012, 1, -1, 2, -2));
}

TEST(Gain, ClipsToFullScale) {
    EXPECT_THAT(Amplified(20.0, {3276, 3277, -3276, -3277}),
                ElementsAre(32760, 32767, -32760, -32768));
}

TEST(Gain, ChangesNoSampleAtZeroDecibels) {
    EXPECT_THAT(Amplified(0.0, {32767, -32768, 1, -1}), ElementsAre(32767, -32768, 1, -1));
}

TEST(Gain, KeepsTheChannelsSeparate) {
    EXPECT_THAT(Amplified(-20.0, {1000, -2000, 3000, -4000}), ElementsAre(100, -200, 300, -400));
}

TEST(Gain, IsSilentAfterTheEndOfTheSource) {
    RenderedObject object;
    object.source = {100, 200, 300, 400};
    object.effects = {PluginPack::CreateEffect("gain", {{"gainDb", 20.0}})};

    EXPECT_THAT(object.Render(1, 3), ElementsAre(3000, 4000, 0, 0, 0, 0));
}

TEST(Gain, NeedsOnlyItsOutput) {
    const auto gain = PluginPack::CreateEffect("gain");

    const auto range = sonrel_tests::RequiredRange(*gain, 48000, 5000, 100, 0);

    EXPECT_EQ(range.first, 5000);
    EXPECT_EQ(range.endExclusive, 5100);
}

}  // namespace
}  // namespace orlo::sonrel
