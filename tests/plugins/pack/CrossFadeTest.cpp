// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using sonrel_tests::ENTERED;
using sonrel_tests::LEFT;
using sonrel_tests::Samples;
using sonrel_tests::Stereo;
using ::testing::ElementsAre;

constexpr short GUARD = 12345;

/// One block of a cross-fade. The output is in the buffer of the object that the block shows.
struct Block {
    std::string curve = "linear";
    int direction = LEFT;
    int rate = 1000;  // so that a millisecond is a sample
    Samples from;     // stereo; empty for a null buffer
    Samples to;
    int nullCount = 0;  // the count of a null buffer
    int positionMs = 0;
    int lengthSamples = 4;

    /// The output, both channels.
    Samples Run() {
        const auto plugin =
            PluginPack::CreateTransition("cross-fade", {{"curve", PluginPack::CurveNumber(curve)}});
        Samples& own = direction == ENTERED ? to : from;
        const int frames = static_cast<int>(own.size() / 2);
        const int fromCount = from.empty() ? nullCount : static_cast<int>(from.size() / 2);
        const int toCount = to.empty() ? nullCount : static_cast<int>(to.size() / 2);
        for (Samples* side : {&from, &to}) {
            if (!side->empty()) side->insert(side->end(), 8, GUARD);
        }
        plugin->ProcessTransition(nullptr, direction, 2, rate, 16, Bytes(from), fromCount,
                                  Bytes(to), toCount, Bytes(own), frames, positionMs, 0,
                                  lengthSamples, 0);
        for (Samples* side : {&from, &to}) {
            if (side->empty()) continue;
            EXPECT_TRUE(std::all_of(side->end() - 8, side->end(), [](short v) {
                return v == GUARD;
            })) << "bytes after the end of a buffer were written";
            side->resize(side->size() - 8);
        }
        return own;
    }

    static unsigned char* Bytes(Samples& samples) {
        return samples.empty() ? nullptr : reinterpret_cast<unsigned char*>(samples.data());
    }
};

TEST(CrossFade, LinearRunsFromOneSideToTheOtherInEqualSteps) {
    Block block;
    block.from = Stereo({1000, 1000, 1000, 1000, 1000, 1000});
    block.to = Stereo({2000, 2000, 2000, 2000, 2000, 2000});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(1000, 1250, 1500, 1750, 2000, 2000));
}

TEST(CrossFade, EqualPowerUsesCosineAndSine) {
    Block block;
    block.curve = "equal-power";
    block.lengthSamples = 3;
    block.from = Stereo({10000, 10000, 10000, 10000});
    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(10000, 8660, 5000, 0));

    block.direction = ENTERED;
    block.from.clear();
    block.to = Stereo({10000, 10000, 10000, 10000});
    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(0, 5000, 8660, 10000));
}

TEST(CrossFade, DecibelCoversSixtyDecibelsAndIsSilentAtTheEnd) {
    Block block;
    block.curve = "db";
    block.lengthSamples = 3;
    block.from = Stereo({10000, 10000, 10000, 10000});
    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(10000, 1000, 100, 0));

    block.direction = ENTERED;
    block.from.clear();
    block.to = Stereo({32767, 32767, 32767, 32767});
    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(0, 328, 3277, 32767));
}

TEST(CrossFade, EqualPowerIsTheDefaultCurve) {
    const auto plugin = PluginPack::CreateTransition("cross-fade");
    Samples from = Stereo({10000, 10000});

    plugin->ProcessTransition(nullptr, LEFT, 2, 1000, 16, Block::Bytes(from), 2, nullptr, 0,
                              Block::Bytes(from), 2, 1, 3, 3, 0);

    EXPECT_THAT(sonrel_tests::Left(from), ElementsAre(8660, 5000));
}

TEST(CrossFade, TheSumIsRoundedHalfAwayFromZero) {
    Block block;
    block.positionMs = 2;  // both gains 0.5
    block.from = {1, -1};
    block.to = {2, -2};

    EXPECT_THAT(block.Run(), ElementsAre(2, -2));
}

TEST(CrossFade, TheSumIsClipped) {
    Block block;
    block.curve = "equal-power";
    block.positionMs = 2;  // both gains 0.7071
    block.from = {32767, -32768};
    block.to = {32767, -32768};

    EXPECT_THAT(block.Run(), ElementsAre(32767, -32768));
}

TEST(CrossFade, TheFadeContinuesSampleBySampleFromThePositionOfTheBlock) {
    Block block;
    block.rate = 48000;
    block.positionMs = 100;  // 4800 samples
    block.lengthSamples = 9600;
    block.from = Stereo(Samples(4801, 9600));

    const Samples output = sonrel_tests::Left(block.Run());

    EXPECT_EQ(output[0], 4800);
    EXPECT_EQ(output[1], 4799);
    EXPECT_EQ(output[4799], 1);
    EXPECT_EQ(output[4800], 0);
}

TEST(CrossFade, ThePositionKeepsItsFractionOfASample) {
    Block block;
    block.rate = 44100;
    block.positionMs = 1;  // 44.1 samples: a tenth, where 44 would leave 9002
    block.lengthSamples = 441;
    block.from = {10000, 10000};

    EXPECT_THAT(block.Run(), ElementsAre(9000, 9000));
}

TEST(CrossFade, APositionManyHoursLongDoesNotOverflow) {
    Block block;
    block.rate = 48000;
    block.positionMs = 20000000;       // 960 million samples
    block.lengthSamples = 1920000000;  // twice that
    block.from = {10000, -10000};

    EXPECT_THAT(block.Run(), ElementsAre(5000, -5000));
}

TEST(CrossFade, BeforeItsStartOnlyTheOldSideIsHeard) {
    Block block;
    block.direction = ENTERED;
    block.positionMs = -3;
    block.from = Stereo({500, 600, 700, 800});
    block.to = Stereo({9000, 9000, 9000, 9000});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(500, 600, 700, 800));
}

TEST(CrossFade, AfterItsEndOnlyTheNewSideIsHeard) {
    Block block;
    block.positionMs = 4;
    block.from = Stereo({9000, 9000});
    block.to = Stereo({500, 600});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(500, 600));
}

TEST(CrossFade, OfOneSampleBeginsWithTheOldSide) {
    Block block;
    block.lengthSamples = 1;
    block.from = Stereo({9000, 9000});
    block.to = Stereo({500, 600});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(9000, 600));
}

TEST(CrossFade, WithoutALengthOnlyTheNewSideIsHeard) {
    for (const int length : {0, -1}) {
        Block block;
        block.lengthSamples = length;
        block.from = Stereo({9000, 9000});
        block.to = Stereo({500, 600});

        EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(500, 600)) << length;
    }
}

TEST(CrossFade, TheOutputIsInTheBufferOfTheObjectThatTheBlockShows) {
    Block leaving;
    leaving.from = {100, -100};
    leaving.to = {300, -300};
    leaving.positionMs = 1;
    EXPECT_THAT(leaving.Run(), ElementsAre(150, -150));
    EXPECT_THAT(leaving.to, ElementsAre(300, -300));

    Block entering;
    entering.direction = ENTERED;
    entering.from = {100, -100};
    entering.to = {300, -300};
    entering.positionMs = 1;
    EXPECT_THAT(entering.Run(), ElementsAre(150, -150));
    EXPECT_THAT(entering.from, ElementsAre(100, -100));
}

TEST(CrossFade, ANullSideIsSilenceForAnyCount) {
    for (const int count : {0, -1}) {
        Block block;
        block.from = Stereo({1000, 1000, 1000, 1000});
        block.nullCount = count;

        EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(1000, 750, 500, 250)) << count;
    }
}

TEST(CrossFade, AShortSideIsSilentAfterItsEnd) {
    Block block;
    block.from = Stereo({1000, 1000, 1000, 1000});
    block.to = Stereo({2000, 2000});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(1000, 1250, 500, 250));
}

TEST(CrossFade, ALongerNeighbourIsTruncatedToTheBlock) {
    Block block;
    block.from = Stereo({1000, 1000});
    block.to = Stereo({2000, 2000, 2000, 2000});

    EXPECT_THAT(sonrel_tests::Left(block.Run()), ElementsAre(1000, 1250));
}

TEST(CrossFade, TheChannelsAreSeparate) {
    Block block;
    block.positionMs = 1;
    block.from = {1000, 0, 1000, 0};
    block.to = {0, 1000, 0, 1000};

    EXPECT_THAT(block.Run(), ElementsAre(750, 250, 500, 500));
}

}  // namespace
}  // namespace orlo::sonrel
