// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <random>
#include <vector>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::CreateEffect;
using sonrel_tests::Effects;
using sonrel_tests::ENTERED;
using sonrel_tests::LEFT;
using sonrel_tests::RenderedObject;

Effects OneOfEach() {
    return {CreateEffect("gain", {{"gainDb", 24}}),
            CreateEffect("fade", {{"inFrames", 3}, {"outFrames", 2}, {"objectFrames", 4}}),
            CreateEffect("delay", {{"delayMs", 40}, {"taps", 8}, {"levelDb", 0}}),
            CreateEffect("low-pass", {{"q", 10}}),
            CreateEffect("high-pass", {{"frequencyHz", 10}}),
            CreateEffect("equalizer", {{"lowDb", 9}, {"midDb", 24}, {"highDb", -9}}),
            CreateEffect("compressor", {{"thresholdDb", -60}}),
            CreateEffect("gate", {{"thresholdDb", -1}}),
            CreateEffect("limiter", {{"ceilingDb", -24}})};
}

/// Rendering uses a buffer that is exactly as long as the longest requested range, with guards
/// before and after it, and checks the guards.
void RenderAnywhere(const Effects& effects) {
    std::mt19937 generator(23);
    for (int round = 0; round < 40; ++round) {
        RenderedObject object;
        object.source = sonrel_tests::Noise(static_cast<int>(generator() % 6000), round);
        object.objectOffset = -static_cast<long long>(generator() % 3000);
        object.rate = round % 2 ? 48000 : 8000;
        object.effects = effects;
        const long long first = object.objectOffset + static_cast<long long>(generator() % 8000);
        const int count = static_cast<int>(generator() % 2000) + 1;

        EXPECT_EQ(object.Render(first, count).size(), 2u * static_cast<unsigned>(count));
    }
}

TEST(WriteBounds, NoEffectWritesOutsideItsRequestedRange) {
    for (const auto& effect : OneOfEach()) RenderAnywhere({effect});
}

TEST(WriteBounds, NoChainWritesOutsideItsLongestRange) {
    const Effects chain = OneOfEach();
    RenderAnywhere(chain);
    RenderAnywhere(Effects(chain.rbegin(), chain.rend()));
}

TEST(WriteBounds, AnEffectWithoutOutputWritesNothing) {
    for (const auto& effect : OneOfEach()) {
        for (const int outputCount : {0, -1}) {
            std::vector<unsigned char> buffer(64, 0x5A);
            effect->ProcessAudio(nullptr, 2, 48000, 16, buffer.data(), 16, outputCount, 0, 0, 0,
                                 1000, 1000, 0, false);
            EXPECT_EQ(buffer, std::vector<unsigned char>(64, 0x5A));
        }
    }
}

TEST(WriteBounds, FramesAfterTheInputCountAsSilence) {
    for (const auto& effect : OneOfEach()) {
        const auto process = [&](short behindTheInput) {
            sonrel_tests::Samples samples = sonrel_tests::Noise(16, 1);
            std::fill(samples.begin() + 2 * 5, samples.end(), behindTheInput);
            effect->ProcessAudio(nullptr, 2, 8000, 16,
                                 reinterpret_cast<unsigned char*>(samples.data()), 5, 16, 0, 0, 0,
                                 500, 500, 0, false);
            return samples;
        };
        EXPECT_EQ(process(31000), process(0));
    }
}

TEST(WriteBounds, AnEffectWritesNothingInAnUnknownFormat) {
    for (const auto& effect : OneOfEach()) {
        std::vector<unsigned char> buffer(64, 0x5A);
        effect->ProcessAudio(nullptr, 1, 48000, 16, buffer.data(), 4, 4, 0, 0, 0, 0, 0, 0, false);
        effect->ProcessAudio(nullptr, 2, 48000, 24, buffer.data(), 4, 4, 0, 0, 0, 0, 0, 0, false);
        effect->ProcessAudio(nullptr, 2, 0, 16, buffer.data(), 4, 4, 0, 0, 0, 0, 0, 0, false);
        EXPECT_EQ(buffer, std::vector<unsigned char>(64, 0x5A));
    }
}

TEST(WriteBounds, ACrossFadeWritesOnlyItsOutput) {
    const auto crossFade = PluginPack::CreateTransition("cross-fade");
    for (const int direction : {ENTERED, LEFT}) {
        for (const int outputCount : {0, 1, 7, 8}) {
            std::vector<short> from(16, 1000);
            std::vector<short> to(16, 1000);
            auto& own = direction == ENTERED ? to : from;
            auto& other = direction == ENTERED ? from : to;
            crossFade->ProcessTransition(
                nullptr, direction, 2, 1000, 16, reinterpret_cast<unsigned char*>(from.data()), 8,
                reinterpret_cast<unsigned char*>(to.data()), 8,
                reinterpret_cast<unsigned char*>(own.data()), outputCount, 8, 16, 16, 8);

            EXPECT_EQ(other, std::vector<short>(16, 1000));
            EXPECT_TRUE(std::all_of(own.begin() + 2 * outputCount, own.end(),
                                    [](short value) { return value == 1000; }));
            EXPECT_TRUE(std::none_of(own.begin(), own.begin() + 2 * outputCount,
                                     [](short value) { return value == 1000; }));
        }
    }
}

}  // namespace
}  // namespace orlo::sonrel
