// SPDX-License-Identifier: MIT
// Transitions between two objects of a track: when they run, their arguments, their effect.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

// Objects A of 1000 and B of 2000, joined at frame 100 with a transition of 20 frames from 10
// frames before the join. Both sources reach far beyond the transition on both sides.
class Transitions : public ::testing::Test {
protected:
    void Join(int length = 20, int relativeStart = -10) {
        JoinWithTransition(track_->Objects(), a_->ID(), b_->ID(), spy_, length, relativeStart);
    }
    Mix RequestFrame(int frame) { return rig_.Request(builder_, frame * FRAME, FRAME); }

    ProjectBuilder builder_;
    MixRig rig_;
    std::shared_ptr<SpyTransition> spy_ = std::make_shared<SpyTransition>();
    std::shared_ptr<project::AudioTrack> track_ = builder_.AddTrack();
    std::shared_ptr<project::AssetAudioObject> a_ =
        builder_.AddObject(track_, builder_.AddMedia(Constant(300000, 1000, -1000)), 0, 100);
    std::shared_ptr<project::AssetAudioObject> b_ =
        builder_.AddObject(track_, builder_.AddMedia(Constant(300000, 2000, -2000)), 100, 200, 20);
};

TEST_F(Transitions, RunFromTheirStartToTheirEnd) {
    Join();

    for (const int frame : {89, 90, 99, 100, 109, 110}) {
        spy_->calls.clear();
        RequestFrame(frame);
        const bool runs = frame >= 90 && frame < 110;
        ASSERT_EQ(spy_->calls.size(), runs ? 1u : 0u) << frame;
        if (runs) {
            EXPECT_EQ(spy_->calls[0].direction, frame < 100 ? 2 : 1) << frame;
            EXPECT_EQ(spy_->calls[0].positionMs, (frame - 90) * 40) << frame;
        }
    }
}

TEST_F(Transitions, ReceiveTheirLengthAndJoin) {
    Join();
    RequestFrame(90);
    RequestFrame(100);

    for (const TransitionCall& call : spy_->calls) {
        EXPECT_EQ(call.instance, a_->OutgoingTransition().get());
        EXPECT_EQ(call.channels, 2);
        EXPECT_EQ(call.sampleRate, 48000);
        EXPECT_EQ(call.bitsPerSample, 16);
        EXPECT_EQ(call.lengthMs, 800);
        EXPECT_EQ(call.lengthSamples, 38400);
        EXPECT_EQ(call.joinOffsetMs, 400);
    }
    EXPECT_EQ(spy_->calls[0].positionMs, 0);
    EXPECT_EQ(spy_->calls[1].positionMs, 400);
}

TEST_F(Transitions, GetTheLeftObjectAsOutput) {
    Join();
    spy_->onProcess = [](const TransitionCall& call) {
        EXPECT_EQ(call.direction, 2);
        EXPECT_EQ(call.from, call.output);
        EXPECT_NE(call.to, call.output);
        EXPECT_EQ(call.fromCount, FRAME);
        EXPECT_EQ(call.toCount, FRAME);
        EXPECT_EQ(call.outputCount, FRAME);
        EXPECT_EQ(call.from[0], 1000);
        EXPECT_EQ(call.to[0], 2000);
    };

    RequestFrame(95);

    EXPECT_EQ(spy_->calls.size(), 1u);
}

TEST_F(Transitions, GetTheEnteredObjectAsOutput) {
    Join();
    spy_->onProcess = [](const TransitionCall& call) {
        EXPECT_EQ(call.direction, 1);
        EXPECT_EQ(call.to, call.output);
        EXPECT_NE(call.from, call.output);
        EXPECT_EQ(call.fromCount, FRAME);
        EXPECT_EQ(call.toCount, FRAME);
        EXPECT_EQ(call.outputCount, FRAME);
        EXPECT_EQ(call.from[0], 1000);
        EXPECT_EQ(call.to[0], 2000);
    };

    RequestFrame(105);

    EXPECT_EQ(spy_->calls.size(), 1u);
}

TEST_F(Transitions, ReplaceTheSamplesOfTheBlocksObject) {
    Join();
    spy_->onProcess = [](const TransitionCall& call) {
        for (int i = 0; i < 2 * call.outputCount; ++i) {
            call.output[i] = static_cast<short>(call.from[i] + call.to[i]);
        }
    };

    EXPECT_EQ(RequestFrame(95)[0], Frame(3000, -3000));
    EXPECT_EQ(RequestFrame(105)[FRAME - 1], Frame(3000, -3000));
    EXPECT_EQ(RequestFrame(110)[0], Frame(2000, -2000));
}

TEST_F(Transitions, LeaveTheOutputOfTheirPlugin) {
    Join();

    EXPECT_EQ(RequestFrame(95)[0], Frame(1000, -1000));
    EXPECT_EQ(RequestFrame(105)[0], Frame(2000, -2000));
}

TEST_F(Transitions, HaveTheLevelOfTheSideThatTheBlockIsOn) {
    Join();
    a_->Animation().SetStaticValue("audioLevel", -20.0f);
    b_->Animation().SetStaticValue("audioLevel", -40.0f);
    spy_->onProcess = [](const TransitionCall& call) {
        std::fill_n(call.output, 2 * call.outputCount, short{10050});
    };

    EXPECT_EQ(RequestFrame(99)[0], Frame(1005, 1005));
    EXPECT_EQ(RequestFrame(100)[0], Frame(100, 100));
}

TEST_F(Transitions, HearAMutedNeighbour) {
    Join();
    b_->SetMuted(true);
    spy_->onProcess = [](const TransitionCall& call) { EXPECT_EQ(call.to[0], 2000); };

    RequestFrame(95);

    EXPECT_EQ(spy_->calls[0].toCount, FRAME);
}

TEST_F(Transitions, DoNotRunForAMutedObject) {
    Join();
    b_->SetMuted(true);

    EXPECT_EQ(RequestFrame(105)[0], Frame(0, 0));

    EXPECT_TRUE(spy_->calls.empty());
}

TEST_F(Transitions, HearANeighbourWithItsEffectsAndSpeed) {
    Join();
    const auto effect = std::make_shared<SpyEffect>();
    effect->onProcess = [](const ProcessCall& call, short* samples) {
        std::fill_n(samples, 2 * call.outputCount, short{77});
    };
    b_->AddEffect(effect);
    spy_->onProcess = [](const TransitionCall& call) { EXPECT_EQ(call.to[0], 77); };

    RequestFrame(95);

    // The frame before the join is 5 frames before the neighbour's start.
    ASSERT_EQ(effect->processCalls.size(), 1u);
    EXPECT_EQ(effect->processCalls[0].firstSample, -5 * FRAME);
    EXPECT_FALSE(effect->processCalls[0].previewing);
}

TEST_F(Transitions, HaveNoLowerBoundOnAnIncomingSide) {
    // The transition is wholly after the join; before its start the position is negative.
    Join(10, 5);

    RequestFrame(100);
    RequestFrame(114);
    RequestFrame(115);

    ASSERT_EQ(spy_->calls.size(), 2u);
    EXPECT_EQ(spy_->calls[0].direction, 1);
    EXPECT_EQ(spy_->calls[0].positionMs, -200);
    EXPECT_EQ(spy_->calls[0].joinOffsetMs, -200);
    EXPECT_EQ(spy_->calls[1].positionMs, 360);
}

TEST_F(Transitions, HaveNoUpperBoundOnAnOutgoingSide) {
    // The transition ends 5 frames before the join.
    Join(5, -10);

    RequestFrame(99);

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].direction, 2);
    EXPECT_EQ(spy_->calls[0].positionMs, 360);
    EXPECT_EQ(spy_->calls[0].lengthMs, 200);
}

TEST_F(Transitions, RunTheIncomingOneOnlyWhereBothApply) {
    const auto outgoing = std::make_shared<SpyTransition>();
    Join();
    b_->SetRange(100, 105);
    b_->SetOutgoingTransition(
        std::make_shared<project::Transition>(outgoing, b_->ID(), zrtl::ZRID(), 10, -10));

    RequestFrame(102);

    EXPECT_EQ(spy_->calls.size(), 1u);
    EXPECT_TRUE(outgoing->calls.empty());
}

TEST_F(Transitions, RunTheOutgoingTransitionAfterTheIncomingHasEnded) {
    const auto outgoing = std::make_shared<SpyTransition>();
    Join();
    b_->SetOutgoingTransition(
        std::make_shared<project::Transition>(outgoing, b_->ID(), zrtl::ZRID(), 10, -90));

    RequestFrame(109);
    RequestFrame(110);

    EXPECT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(outgoing->calls.size(), 1u);
}

TEST_F(Transitions, StepByWholeFrameTimesAndDoNotFloorTheirSamples) {
    // 1000 / 29.97 = 33.3667 ms and 48000 / 29.97 = 1601.6 samples a frame.
    builder_.Sequence()->Settings().SetFrameRate(29.97);
    Join();

    rig_.Request(builder_, 95 * 1601 + 800, 1601);

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].lengthMs, 667);         // 667.33
    EXPECT_EQ(spy_->calls[0].lengthSamples, 32032);  // not 20 * 1601
    EXPECT_EQ(spy_->calls[0].joinOffsetMs, 333);     // 333.67
    EXPECT_EQ(spy_->calls[0].positionMs, 166);       // 5 frames: 166.83
}

TEST_F(Transitions, HaveOnePositionForAllBlocksOfAFrame) {
    Join();

    rig_.Request(builder_, 95 * FRAME, 500);
    rig_.Request(builder_, 95 * FRAME + 500, 400);

    ASSERT_EQ(spy_->calls.size(), 2u);
    EXPECT_EQ(spy_->calls[0].positionMs, 200);
    EXPECT_EQ(spy_->calls[1].positionMs, 200);
}

TEST_F(Transitions, GetNothingForANeighbourThatWasRemoved) {
    Join();
    track_->Objects().Remove(b_->ID());

    EXPECT_EQ(RequestFrame(95)[0], Frame(1000, -1000));

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].to, nullptr);
    EXPECT_EQ(spy_->calls[0].toCount, 0);
    EXPECT_NE(spy_->calls[0].from, nullptr);
}

TEST_F(Transitions, GetNothingForSilence) {
    a_->SetOutgoingTransition(
        std::make_shared<project::Transition>(spy_, a_->ID(), zrtl::ZRID(), 20, -20));
    spy_->onProcess = [](const TransitionCall& call) {
        std::fill_n(call.output, 2 * call.outputCount, short{5});
    };

    EXPECT_EQ(RequestFrame(85)[0], Frame(5, 5));

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].to, nullptr);
    EXPECT_EQ(spy_->calls[0].toCount, 0);
}

TEST_F(Transitions, GetMinusOneForANeighbourThatCannotBeRendered) {
    Join();
    b_->SetSourceStartFrame(0);  // nothing before the join

    RequestFrame(95);

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].to, nullptr);
    EXPECT_EQ(spy_->calls[0].toCount, -1);
    EXPECT_EQ(spy_->calls[0].outputCount, FRAME);
}

TEST_F(Transitions, GetMinusOneForALeftObjectWhoseSourceHasEnded) {
    Join();
    const auto brief = builder_.AddMedia(Constant(100 * FRAME, 1000, 1000));
    a_->SetAsset(brief->ID());

    RequestFrame(105);

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].from, nullptr);
    EXPECT_EQ(spy_->calls[0].fromCount, -1);
    EXPECT_EQ(spy_->calls[0].toCount, FRAME);
}

TEST_F(Transitions, GetAsManyFramesAsEachSideHas) {
    Join();
    a_->SetAsset(builder_.AddMedia(Constant(95 * FRAME + 700, 1000, 1000))->ID());
    b_->SetAsset(builder_.AddMedia(Constant(15 * FRAME + 300, 2000, 2000))->ID());

    RequestFrame(95);

    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].fromCount, 700);
    EXPECT_EQ(spy_->calls[0].toCount, 300);
    EXPECT_EQ(spy_->calls[0].outputCount, 700);
}

TEST_F(Transitions, DoNotRunWhenTheBlocksObjectHasNothing) {
    Join();
    a_->SetAsset(builder_.AddSilentMedia()->ID());

    EXPECT_EQ(RequestFrame(95)[0], Frame(0, 0));

    EXPECT_TRUE(spy_->calls.empty());
}

TEST_F(Transitions, MayIgnoreTheirPluginsResult) {
    Join();
    spy_->result = -1;

    EXPECT_EQ(RequestFrame(95)[0], Frame(1000, -1000));
}

TEST_F(Transitions, AreMixedWithTheirTracksBalance) {
    Join();
    track_->Animation().SetStaticValue("stereoBalance", 1.0f);
    spy_->onProcess = [](const TransitionCall& call) {
        std::fill_n(call.output, 2 * call.outputCount, short{50});
    };

    EXPECT_EQ(RequestFrame(95)[0], Frame(0, 50));
}

TEST_F(Transitions, OfExtremePlacesAndLengthsAreNoOverflow) {
    for (const int relativeStart : {INT_MIN, -1, INT_MAX}) {
        spy_->calls.clear();
        Join(INT_MAX, relativeStart);
        RequestFrame(99);
        RequestFrame(100);
    }
    // INT_MAX: the outgoing side is far from its start, the incoming one far before its end.
    ASSERT_EQ(spy_->calls.size(), 1u);
    EXPECT_EQ(spy_->calls[0].direction, 1);
    EXPECT_EQ(spy_->calls[0].positionMs, INT_MIN);  // beyond 32 bits
    EXPECT_EQ(spy_->calls[0].lengthMs, INT_MIN);
}

}  // namespace
}  // namespace sonrel_tests
