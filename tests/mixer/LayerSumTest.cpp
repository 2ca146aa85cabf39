// SPDX-License-Identifier: MIT
// The sum of the layers in one block of a composition.
#include "sonrel/mixer/detail/LayerSum.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "sonrel/mixer/SampleConverter.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

using sonrel::DitherType;
using sonrel::SampleConverter;
using sonrel::detail::BlockLevels;
using sonrel::detail::LayerSum;
using sonrel::detail::MixBlockPool;
using testing::ElementsAre;

constexpr int FRAMES = 4;
constexpr BlockLevels UNCHANGED{0.0f, 0.0f};

std::vector<short> Converted(LayerSum& sum) {
    SampleConverter converter(DitherType::None, 1);
    std::vector<short> output(2 * FRAMES, -1);
    sum.Convert(converter, output.data());
    return output;
}

TEST(LayerSum, OfOneLayerIsTheLayer) {
    MixBlockPool pool;
    LayerSum sum(pool, FRAMES);
    const std::vector<short> layer = {1, 2, 3, 4, 5, 6, 7, 8};

    sum.Add(layer.data(), FRAMES, UNCHANGED);

    EXPECT_THAT(Converted(sum), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(LayerSum, OfALayerThatEndsInTheBlockIsSilentAfterIt) {
    MixBlockPool pool;
    LayerSum sum(pool, FRAMES);
    const std::vector<short> layer = {1, 2, 3, 4, 500, 600, 700, 800};

    sum.Add(layer.data(), 2, UNCHANGED);

    EXPECT_THAT(Converted(sum), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
}

TEST(LayerSum, OfThreeLayersAddsThemAll) {
    MixBlockPool pool;
    LayerSum sum(pool, FRAMES);
    const std::vector<short> first = {1, 2, 3, 4, 5, 6, 7, 8};
    const std::vector<short> second = {10, 20, 30, 40, 50, 60, 70, 80};
    const std::vector<short> third = {100, 200};

    sum.Add(first.data(), FRAMES, UNCHANGED);
    sum.Add(second.data(), FRAMES, UNCHANGED);
    sum.Add(third.data(), 1, UNCHANGED);

    EXPECT_THAT(Converted(sum), ElementsAre(111, 222, 33, 44, 55, 66, 77, 88));
}

TEST(LayerSum, KeepsAReleasedLayer) {
    MixBlockPool pool;
    LayerSum sum(pool, FRAMES);
    std::vector<short> layer = {1, 2, 3, 4, 5, 6, 7, 8};

    sum.Add(layer.data(), FRAMES, UNCHANGED);
    sum.ReleaseSamples();
    layer.assign(2 * FRAMES, 900);

    EXPECT_THAT(Converted(sum), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(LayerSum, OfALayerOnARampFollowsIt) {
    MixBlockPool pool;
    LayerSum sum(pool, FRAMES);
    const std::vector<short> layer(2 * FRAMES, 10000);

    sum.Add(layer.data(), FRAMES, {0.0f, -60.0f});

    const std::vector<short> output = Converted(sum);
    EXPECT_EQ(output[0], 10000);
    EXPECT_GT(output[0], output[2]);
    EXPECT_GT(output[2], output[4]);
    EXPECT_GT(output[4], output[6]);
}

}  // namespace
}  // namespace sonrel_tests
