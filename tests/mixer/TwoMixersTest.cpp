// SPDX-License-Identifier: MIT
// Two mixers on one project, each on its own thread.
#include <gtest/gtest.h>

#include <barrier>
#include <random>
#include <thread>
#include <vector>

#include "tests/reference/RandomScene.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

constexpr int RATE = 48000;
constexpr int FRAMES = 12;
constexpr int PIECE = 700;

/// The whole sequence in small pieces, and each composition in one.
std::vector<Samples> MixAll(MixRig& rig, const RealisedScene& scene, std::size_t compositions) {
    std::vector<Samples> mixes;
    for (int start = 0; start < FRAMES * RATE / 25; start += PIECE) {
        mixes.push_back(
            rig.Request(scene.Project(), scene.Sequence(), start, PIECE).buffer.Values());
    }
    for (std::size_t i = 0; i < compositions; ++i) {
        mixes.push_back(
            rig.Request(scene.Project(), scene.Composition(i), 0, PIECE).buffer.Values());
    }
    return mixes;
}

TEST(TwoMixers, MixOneProjectAtTheSameTimeAsEachDoesSeparately) {
    constexpr int SCENES = 8;
    std::mt19937 random(400);
    SceneKind kind;
    kind.settings = {25.0, RATE, FRAMES};
    kind.effects = kind.transitions = kind.compositions = true;
    for (int number = 0; number < SCENES; ++number) {
        const reference::Scene scene = MakeRandomScene(kind, random);
        const RealisedScene real(scene);
        const std::size_t compositions = scene.compositions.size();
        MixRig alone;
        const std::vector<Samples> expected = MixAll(alone, real, compositions);
        MixRig rigs[2];
        std::vector<Samples> mixes[2];
        {
            std::barrier start(2);
            std::vector<std::jthread> threads;
            for (int i = 0; i < 2; ++i) {
                threads.emplace_back([&, i] {
                    start.arrive_and_wait();
                    mixes[i] = MixAll(rigs[i], real, compositions);
                });
            }
        }

        EXPECT_EQ(mixes[0], expected) << "scene " << number;
        EXPECT_EQ(mixes[1], expected) << "scene " << number;
    }
}

}  // namespace
}  // namespace sonrel_tests
