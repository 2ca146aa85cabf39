// SPDX-License-Identifier: MIT
// Plugins that throw, ask for impossible ranges or change the project while they run: the
// damage is limited to their own sound, and without them the mixer works as before.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <stdexcept>
#include <string>
#include <thread>

#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

constexpr int COUNT = 3 * FRAME;

/// Where the plugin runs.
enum class Place { Sequence, Composition, ObjectRender, LayerRender };

// One object and one layer play the same noise through the same two plugins.
class HostilePlugin : public ::testing::TestWithParam<Place> {
protected:
    HostilePlugin() {
        const auto media = builder_.AddMedia(Noise(30000, 1));
        object_ = builder_.AddObject(media, 0, 10);
        layer_ = builder_.AddLayer(composition_, media, 0, 10);
        if (OnObject()) {
            uses_ = {object_->AddEffect(first_), object_->AddEffect(second_)};
        } else {
            uses_ = {layer_->AddEffect(first_), layer_->AddEffect(second_)};
        }
        rig_.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 1);
    }

    bool OnObject() const {
        return GetParam() == Place::Sequence || GetParam() == Place::ObjectRender;
    }
    /// The samples of the place, from the start of the noise stream.
    Samples Run(int* result) {
        rig_.Mixer().ResetMixSession();
        if (GetParam() == Place::ObjectRender)
            return Valid(rig_.Render(builder_, object_, 0, COUNT), result);
        if (GetParam() == Place::LayerRender) {
            return Valid(rig_.Render(builder_, layer_, 48000, 0, COUNT), result);
        }
        const Mix mix = GetParam() == Place::Sequence
                            ? rig_.Request(builder_, 0, COUNT)
                            : rig_.Request(builder_.Project(), composition_, 0, COUNT);
        EXPECT_TRUE(mix.buffer.GuardsIntact());
        *result = mix.result;
        return mix.buffer.Values();
    }
    /// Without the plugins the samples equal the samples of a mixer that never had them.
    void ExpectSoundWithoutThem() {
        EXPECT_TRUE(rig_.Mixer().Mutex().try_lock());
        rig_.Mixer().Mutex().unlock();
        object_->Effects().Clear();
        layer_->Effects().Clear();
        int result = 0;
        EXPECT_EQ(Run(&result), Undisturbed());
        EXPECT_EQ(result, COUNT);
        EXPECT_TRUE(NextFloatBlockIsZero());
    }
    void ExpectThrow() {
        int result = 0;
        EXPECT_ANY_THROW(Run(&result));
        ExpectSoundWithoutThem();
    }
    void ExpectResult(int expected) {
        int result = 0;
        Run(&result);
        // A render reports that it has nothing; a mix continues without it.
        const bool isMix = GetParam() == Place::Sequence || GetParam() == Place::Composition;
        EXPECT_EQ(result, isMix ? COUNT : expected);
        ExpectSoundWithoutThem();
    }
    void NeedRange(const std::shared_ptr<SpyEffect>& effect, long long first, long long end) {
        effect->onRanges = [=](const RangesCall&, auto& ranges) { ranges.push_back({first, end}); };
    }

    ProjectBuilder builder_{{25.0, 48000, 10}};
    MixRig rig_;
    std::shared_ptr<project::CompositionAsset> composition_ =
        builder_.AddComposition({25.0, 48000, 10});
    std::shared_ptr<project::AssetAudioObject> object_;
    std::shared_ptr<project::AssetLayer> layer_;
    std::shared_ptr<SpyEffect> first_ = std::make_shared<SpyEffect>();
    std::shared_ptr<SpyEffect> second_ = std::make_shared<SpyEffect>();
    std::vector<std::shared_ptr<project::EffectInstance>> uses_;

private:
    static Samples Valid(const Rendered& rendered, int* result) {
        *result = rendered.result;
        EXPECT_LE(rendered.result, COUNT);
        return rendered.Valid();
    }
    Samples Undisturbed() {
        MixRig fresh;
        std::swap(rig_, fresh);
        rig_.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 1);
        int result = 0;
        Samples samples = Run(&result);
        std::swap(rig_, fresh);
        return samples;
    }
    bool NextFloatBlockIsZero() {
        auto& pool = sonrel::AudioMixerAccess::Impl(rig_.Mixer()).floatBlocks;
        pool.Reset();
        const auto block = pool.Acquire(0);
        return std::all_of(block.get(), block.get() + 192000,
                           [](float value) { return value == 0.0f; });
    }
};

TEST_P(HostilePlugin, ThatThrowsInThePlanPassesItOn) {
    first_->onRanges = [](const RangesCall&, auto&) { throw std::runtime_error("no"); };
    ExpectThrow();
}

TEST_P(HostilePlugin, ThatThrowsWhileItRunsLetsItThrough) {
    second_->onProcess = [](const ProcessCall&, short*) { throw std::runtime_error("no"); };
    ExpectThrow();
}

TEST_P(HostilePlugin, ThatThrowsAnotherTypeThanAnExceptionPassesItOn) {
    second_->onProcess = [](const ProcessCall&, short*) { throw 7; };
    int result = 0;
    EXPECT_THROW(Run(&result), int);
    ExpectSoundWithoutThem();
}

TEST_P(HostilePlugin, ThatThrowsInALaterBlockLetsItThrough) {
    if (GetParam() == Place::ObjectRender || GetParam() == Place::LayerRender) {
        first_->onProcess = [](const ProcessCall&, short*) { throw std::runtime_error("no"); };
    } else {
        first_->onProcess = [](const ProcessCall& call, short*) {
            if (call.firstSample == 2 * FRAME) throw std::runtime_error("no");
        };
    }
    ExpectThrow();
}

TEST_P(HostilePlugin, ThatReturnsRubbishIsHeardAllTheSame) {
    first_->result = INT_MIN;
    second_->result = 12345;
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatNeedsATrillionFramesIsSilent) {
    NeedRange(second_, -(1LL << 40), 1LL << 40);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsTwoToThe32FramesIsSilent) {
    // Cut to 32 bits the length would be 0.
    NeedRange(second_, 0, 1LL << 32);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsMoreThanSixteenMillionFramesIsSilent) {
    NeedRange(second_, 0, (1 << 24) + 1);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsSixteenMillionFramesGetsThem) {
    NeedRange(second_, 0, 1 << 24);
    int seen = 0;
    second_->onProcess = [&](const ProcessCall& call, short* samples) {
        seen = call.inputCount;
        samples[2 * (1 << 24) - 1] = 1;
    };
    ExpectResult(COUNT);
    EXPECT_EQ(seen, 1 << 24);
}

TEST_P(HostilePlugin, ThatNeedsEverythingThereIsIsSilent) {
    NeedRange(first_, LLONG_MIN, LLONG_MAX);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsALengthlessRangeAtTheEndOfTimeRuns) {
    NeedRange(first_, LLONG_MAX, LLONG_MAX);
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatNeedsSamplesFarAfterTheSourceIsSilent) {
    NeedRange(first_, LLONG_MAX - 100, LLONG_MAX);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsSamplesFarBeforeTheSourceIsSilent) {
    NeedRange(first_, LLONG_MIN, LLONG_MIN + 100);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsARangeTheWrongWayRoundIsSilent) {
    NeedRange(first_, 100, 50);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, ThatNeedsTheLongestRangeTheWrongWayRoundIsSilent) {
    NeedRange(first_, LLONG_MAX, LLONG_MIN);
    ExpectResult(-1);
}

TEST_P(HostilePlugin, AfterAnEffectThatRepairsAReversedRangeRuns) {
    NeedRange(second_, 100, 50);
    NeedRange(first_, 0, 10);
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatNamesAThousandRangesGetsTheFirst) {
    first_->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.assign(1000, {LLONG_MIN, LLONG_MAX});
        ranges.front() = {call.firstSample, call.firstSample + call.sampleCount};
    };
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatFillsAllItsRoomStaysInside) {
    second_->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + call.sampleCount + 3333});
    };
    first_->onProcess = [](const ProcessCall& call, short* samples) {
        std::fill_n(samples, 2 * (call.outputCount), short{-1});
    };
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatSwitchesItselfOffInThePlanIsSkipped) {
    first_->onRanges = [&](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + call.sampleCount + 5000});
        uses_[0]->SetEnabled(false);
    };
    ExpectResult(COUNT);
    EXPECT_TRUE(first_->processCalls.empty());
}

TEST_P(HostilePlugin, ThatSwitchesTheNextOneOffDoesNotDeliverItsInput) {
    second_->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + call.sampleCount + 5000});
    };
    first_->onProcess = [&](const ProcessCall&, short*) { uses_[1]->SetEnabled(false); };
    ExpectResult(COUNT);
    EXPECT_TRUE(second_->processCalls.empty());
}

TEST_P(HostilePlugin, ThatIsSwitchedOnAfterThePlanIsSkippedWhenNothingIsLeft) {
    uses_[1]->SetEnabled(false);
    first_->onProcess = [&](const ProcessCall&, short*) { uses_[1]->SetEnabled(true); };
    ExpectResult(COUNT);
    // In the first render of a request it had planned nothing.
    EXPECT_EQ(second_->processCalls.size(), second_->rangesCalls.size());
}

TEST_P(HostilePlugin, ThatRemovesItselfFromTheListRuns) {
    auto& effects = OnObject() ? object_->Effects() : layer_->Effects();
    first_->onProcess = [&](const ProcessCall&, short*) { effects.Remove(uses_[0]); };
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatEmptiesTheListRuns) {
    auto& effects = OnObject() ? object_->Effects() : layer_->Effects();
    second_->onRanges = [&](const RangesCall&, auto&) { effects.Clear(); };
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, ThatChangesItsKindAfterThePlanStaysWithinTheRequest) {
    second_->onRanges = [&](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + call.sampleCount + 5000});
        second_->kind = 2;
    };
    ExpectResult(COUNT);
}

TEST_P(HostilePlugin, FindsTheMutexFree) {
    const auto tryLock = [&] {
        bool free = false;
        std::thread([&] {
            free = rig_.Mixer().Mutex().try_lock();
            if (free) rig_.Mixer().Mutex().unlock();
        }).join();
        EXPECT_TRUE(free);
    };
    first_->onRanges = [&](const RangesCall&, auto&) { tryLock(); };
    first_->onProcess = [&](const ProcessCall&, short*) { tryLock(); };
    ExpectResult(COUNT);
}

std::string NameOf(const ::testing::TestParamInfo<Place>& info) {
    const char* const names[] = {"Sequence", "Composition", "ObjectRender", "LayerRender"};
    return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Places, HostilePlugin,
                         ::testing::Values(Place::Sequence, Place::Composition, Place::ObjectRender,
                                           Place::LayerRender),
                         NameOf);

// Transitions.

class HostileTransition : public ::testing::Test {
protected:
    HostileTransition() { JoinWithTransition(track_->Objects(), a_->ID(), b_->ID(), spy_, 4, -2); }
    Mix RequestAll() { return rig_.Request(builder_, 0, 10 * FRAME); }

    ProjectBuilder builder_{{25.0, 48000, 10}};
    MixRig rig_;
    std::shared_ptr<SpyTransition> spy_ = std::make_shared<SpyTransition>();
    std::shared_ptr<project::AudioTrack> track_ = builder_.AddTrack();
    std::shared_ptr<project::AssetAudioObject> a_ =
        builder_.AddObject(track_, builder_.AddMedia(Noise(30000, 1)), 0, 5);
    std::shared_ptr<project::AssetAudioObject> b_ =
        builder_.AddObject(track_, builder_.AddMedia(Noise(30000, 2)), 5, 10, 3);
};

TEST_F(HostileTransition, ThatThrowsLetsItThroughAndLeavesASoundMixer) {
    const Samples sound = RequestAll().buffer.Values();
    spy_->onProcess = [](const TransitionCall&) { throw std::runtime_error("no"); };

    EXPECT_THROW(RequestAll(), std::runtime_error);

    EXPECT_TRUE(rig_.Mixer().Mutex().try_lock());
    rig_.Mixer().Mutex().unlock();
    spy_->onProcess = nullptr;
    EXPECT_EQ(RequestAll().buffer.Values(), sound);
}

TEST_F(HostileTransition, FindsTheMutexFree) {
    int found = 0;
    spy_->onProcess = [&](const TransitionCall&) {
        std::thread([&] {
            if (!rig_.Mixer().Mutex().try_lock()) return;
            ++found;
            rig_.Mixer().Mutex().unlock();
        }).join();
    };

    RequestAll();

    EXPECT_EQ(found, 4);
}

TEST_F(HostileTransition, ThatRemovesItsNeighbourRuns) {
    spy_->onProcess = [&](const TransitionCall&) { track_->Objects().Remove(b_->ID()); };

    EXPECT_EQ(RequestAll().result, 10 * FRAME);
}

TEST_F(HostileTransition, ThatRemovesItselfRuns) {
    spy_->onProcess = [&](const TransitionCall&) {
        a_->SetOutgoingTransition(nullptr);
        b_->SetIncomingTransition(nullptr);
    };

    EXPECT_EQ(RequestAll().result, 10 * FRAME);
    EXPECT_EQ(spy_->calls.size(), 1u);
}

}  // namespace
}  // namespace sonrel_tests
