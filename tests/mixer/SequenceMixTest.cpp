// SPDX-License-Identifier: MIT
// The mix of one block of a sequence: which tracks sound, where objects begin and end, levels,
// balance, the master track.
#include <gtest/gtest.h>

#include <bit>
#include <boost/variant/get.hpp>
#include <cmath>
#include <cstdint>
#include <limits>

#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/SequenceMixer.h"
#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

/// Quarter of a second of a constant, at 25 frames of 1920 samples a second.
Samples Tone(short left, short right) {
    return Constant(12000, left, right);
}

class SequenceMix : public ::testing::Test {
protected:
    std::shared_ptr<project::AudioTrack> AddToneTrack(short left, short right) {
        const auto track = builder_.AddTrack();
        builder_.AddObject(track, builder_.AddMedia(Tone(left, right)), 0, 100);
        return track;
    }
    /// Starts a meter session of one-frame blocks, whose peaks are the magnitudes of the mix.
    void MeterEachFrame() {
        rig_.Mixer().StartMeterSession(builder_.Sequence()->AudioTracks().size(), 1);
    }
    /// The magnitude of a frame's left channel in the finished float mix.
    float Master(int frame) {
        return rig_.Mixer()
            .MetricsForBlock(static_cast<unsigned long long>(frame))
            .masterMetrics.peak[0];
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(SequenceMix, AddsUpItsTracks) {
    AddToneTrack(1000, -100);
    AddToneTrack(20, 30);
    AddToneTrack(-3, 4);

    const Mix mix = rig_.Request(builder_, 0, 100);

    EXPECT_EQ(mix[0], Frame(1017, -66));
    EXPECT_EQ(mix[99], Frame(1017, -66));
}

TEST_F(SequenceMix, WithoutTracksIsSilent) {
    const Mix mix = rig_.Request(builder_, 0, 4000);

    EXPECT_EQ(mix.result, 4000);
    EXPECT_EQ(mix.buffer.Values(), Samples(8000, 0));
}

TEST_F(SequenceMix, SilencesAMutedTrack) {
    AddToneTrack(1000, 1000)->SetMuted(true);
    AddToneTrack(20, 20);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(20, 20));
}

TEST_F(SequenceMix, SilencesAMutedObject) {
    const auto object = builder_.AddObject(builder_.AddMedia(Tone(1000, 1000)), 0, 100);
    AddToneTrack(20, 20);
    object->SetMuted(true);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(20, 20));
}

TEST_F(SequenceMix, PlaysOnlyTheSoloTracksWhileThereAreAny) {
    AddToneTrack(1000, 1000)->SetSolo(true);
    AddToneTrack(20, 20);
    AddToneTrack(3, 3)->SetSolo(true);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(1003, 1003));
}

TEST_F(SequenceMix, KeepsAMutedSoloTrackSilentAndTheOthersToo) {
    const auto muted = AddToneTrack(1000, 1000);
    muted->SetSolo(true);
    muted->SetMuted(true);
    AddToneTrack(20, 20);
    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(0, 0));

    AddToneTrack(3, 3)->SetSolo(true);
    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(3, 3));
}

TEST_F(SequenceMix, ReadsFlagsAtEachBlock) {
    const auto track = builder_.AddTrack();
    const auto object = builder_.AddObject(track, builder_.AddMedia(Tone(1000, 1000)), 0, 100);
    const auto spy = std::make_shared<SpyEffect>();
    object->AddEffect(spy);
    spy->onProcess = [&](const ProcessCall&, short*) { track->SetMuted(true); };

    const Mix mix = rig_.Request(builder_, 0, 3840);

    EXPECT_EQ(mix[1919], Frame(1000, 1000));
    EXPECT_EQ(mix[1920], Frame(0, 0));
}

TEST_F(SequenceMix, FindsAnObjectOnItsStartFrameAndNotOnItsEndFrame) {
    builder_.AddObject(builder_.AddMedia(Tone(1000, 1000)), 2, 4);

    EXPECT_EQ(rig_.Request(builder_, 1 * 1920, 1)[0], Frame(0, 0));
    EXPECT_EQ(rig_.Request(builder_, 2 * 1920, 1)[0], Frame(1000, 1000));
    EXPECT_EQ(rig_.Request(builder_, 3 * 1920, 1)[0], Frame(1000, 1000));
    EXPECT_EQ(rig_.Request(builder_, 4 * 1920, 1)[0], Frame(0, 0));
}

TEST_F(SequenceMix, RunsAnObjectToTheEndOfTheBlockThatItEndsIn) {
    builder_.AddObject(builder_.AddMedia(Tone(1000, 1000)), 0, 2);

    // The block begins in frame 1 and ends 1420 samples after the object.
    const Mix mix = rig_.Request(builder_, 1920 + 900, 1920);

    EXPECT_EQ(mix[0], Frame(1000, 1000));
    EXPECT_EQ(mix[1919], Frame(1000, 1000));
}

TEST_F(SequenceMix, StartsAnObjectWithTheBlockAfterItsStart) {
    builder_.AddObject(builder_.AddMedia(Tone(1000, 1000)), 2, 4);

    const Mix mix = rig_.Request(builder_, 1920 + 900, 2 * 1920);

    EXPECT_EQ(mix[1019], Frame(0, 0));
    EXPECT_EQ(mix[1020], Frame(0, 0));  // the object's first sample
    EXPECT_EQ(mix[1919], Frame(0, 0));
    EXPECT_EQ(mix[1920], Frame(1000, 1000));
}

TEST_F(SequenceMix, FindsTheFrameOfABlockByRounding) {
    builder_.AddObject(builder_.AddMedia(Counting(12000)), 2, 4, 1);

    // Position 2880 is frame 1.5, and 2879 is less. The samples before the object's start come
    // from its in-point of 1920 samples.
    EXPECT_EQ(rig_.Request(builder_, 2879, 1)[0], Frame(0, 0));
    EXPECT_EQ(rig_.Request(builder_, 2880, 1)[0], Frame(2880 - 3840 + 1920, 960 - 30000));
}

TEST_F(SequenceMix, ComputesTheFrameOfABlockFromItsSeconds) {
    // 27840 / 48000 * 25 is 14.499999999999998 in this order, though it is 14.5.
    builder_.AddObject(builder_.AddMedia(Tone(1000, 1000)), 14, 15, 5);

    EXPECT_EQ(rig_.Request(builder_, 27840, 1)[0], Frame(1000, 1000));
    EXPECT_EQ(rig_.Request(builder_, 27841, 1)[0], Frame(0, 0));
}

TEST_F(SequenceMix, AddsAsMuchOfAnObjectAsThereIs) {
    builder_.AddObject(builder_.AddMedia(Constant(700, 1000, 1000)), 0, 100);
    AddToneTrack(20, 20);

    const Mix mix = rig_.Request(builder_, 0, 1000);

    EXPECT_EQ(mix[699], Frame(1020, 1020));
    EXPECT_EQ(mix[700], Frame(20, 20));
    EXPECT_EQ(mix[999], Frame(20, 20));
}

TEST_F(SequenceMix, SilencesOnlyTheTrackWhoseObjectCannotBeRendered) {
    builder_.AddObject(builder_.AddSilentMedia(), 0, 100);
    AddToneTrack(20, 20);

    const Mix mix = rig_.Request(builder_, 0, 10);

    EXPECT_EQ(mix.result, 10);
    EXPECT_EQ(mix[0], Frame(20, 20));
}

TEST_F(SequenceMix, IsSilentWhereAnObjectShowsNoAsset) {
    const auto gap = std::make_shared<project::GapAudioObject>();
    gap->SetRange(0, 100);
    builder_.AddTrack()->Objects().Add(gap);
    AddToneTrack(20, 20);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(20, 20));
}

TEST_F(SequenceMix, IsSilentWhereAnAssetIsNoLongerInTheProject) {
    const auto media = builder_.AddMedia(Tone(1000, 1000));
    builder_.AddObject(media, 0, 100);
    builder_.Project()->Assets().Remove(media->ID());

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(0, 0));
}

TEST_F(SequenceMix, KeepsSumsBeyondFullScaleUntilTheyAreConverted) {
    AddToneTrack(30000, -30000);
    AddToneTrack(30000, -30000);
    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(32767, -32768));

    AddToneTrack(-30000, 30000);
    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(30000, -30000));
}

TEST_F(SequenceMix, RefusesABlockOfMoreThanAFrame) {
    AddToneTrack(1000, 1000);
    GuardedBuffer buffer(4 * 1921);
    auto& mixer = sonrel::AudioMixerAccess::Impl(rig_.Mixer());
    const auto mix = [&](int count) {
        return sonrel::detail::SequenceMixer(mixer, builder_.Project(), builder_.Sequence())
            .MixBlock({0, count, 48000}, 25.0, zrtl::FramesOf(buffer.Data()));
    };

    EXPECT_EQ(mix(1921), -3);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(mix(1920), 1920);
}

// Levels and balance. A sample of -32768 is exactly -1, so that a frame's magnitude in the float
// mix is its gain.

class SequenceLevels : public SequenceMix {
protected:
    SequenceLevels() : track_(builder_.AddTrack()) {
        object_ = builder_.AddObject(track_, builder_.AddMedia(Tone(-32768, -32768)), 0, 100);
    }
    float GainOfOneFrame(long long start) {
        MeterEachFrame();
        EXPECT_EQ(rig_.Request(builder_, start, 1).result, 1);
        return Master(0);
    }
    static float Gain(float level) { return std::pow(10.0f, level / 20.0f); }

    std::shared_ptr<project::AudioTrack> track_;
    std::shared_ptr<project::AssetAudioObject> object_;
};

TEST_F(SequenceLevels, AreUnityAtZeroDecibels) {
    EXPECT_EQ(GainOfOneFrame(0), 1.0f);
}

TEST_F(SequenceLevels, OfObjectAndTrackAddInDecibels) {
    object_->Animation().SetStaticValue("audioLevel", -6.0f);
    track_->Animation().SetStaticValue("audioLevel", -3.0f);

    // The product of the two factors would end in 19.
    EXPECT_EQ(GainOfOneFrame(0), std::bit_cast<float>(0x3eb5aa1a));
}

TEST_F(SequenceLevels, OfAnObjectAreReadOnItsOwnClock) {
    object_->SetRange(25, 100);
    object_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    object_->Animation().SetKeyframe("audioLevel", 100, -10.0f);

    // 50 milliseconds after the object's start at one second.
    EXPECT_EQ(GainOfOneFrame(48000 + 2400), Gain(-5.0f));
}

TEST_F(SequenceLevels, OfATrackAreReadOnTheClockOfTheSequence) {
    object_->SetRange(25, 100);
    track_->Animation().SetKeyframe("audioLevel", 1000, 0.0f);
    track_->Animation().SetKeyframe("audioLevel", 1100, -10.0f);

    EXPECT_EQ(GainOfOneFrame(48000 + 2400), Gain(-5.0f));
}

TEST_F(SequenceLevels, OfTheMasterTrackAreReadOnTheClockOfTheSequence) {
    object_->SetRange(25, 100);
    auto& master = builder_.Sequence()->AudioMasterTrack()->Animation();
    master.SetKeyframe("audioLevel", 1000, 0.0f);
    master.SetKeyframe("audioLevel", 1100, -10.0f);

    EXPECT_EQ(GainOfOneFrame(48000 + 2400), Gain(-5.0f));
}

TEST_F(SequenceLevels, AreReadAtWholeMillisecondsRoundedFromSeconds) {
    track_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    track_->Animation().SetKeyframe("audioLevel", 100, -100.0f);

    // 24 samples are half a millisecond; 23 and 24 are less.
    EXPECT_EQ(GainOfOneFrame(22), 1.0f);
    EXPECT_EQ(GainOfOneFrame(24), Gain(-1.0f));
}

TEST_F(SequenceLevels, OfAnObjectEndTheBlocksLengthAfterItsStart) {
    // Start 552 / 48000 is 11.5 ms, rounded to 12. The end is (2472 - 552) / 48000 after it, which
    // adds up to less than 51.5 ms: 51, though 2472 / 48000 is 51.5 and rounds to 52.
    object_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    object_->Animation().SetKeyframe("audioLevel", 100, -100.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 552, 1920).result, 1920);

    const float slope = (-51.0f - -12.0f) / 1920.0f;
    EXPECT_EQ(Master(0), Gain(-12.0f));
    EXPECT_EQ(Master(480), Gain(960.0f * slope + -12.0f));
}

TEST_F(SequenceLevels, OfATrackEndAtTheEndOfTheBlock) {
    track_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    track_->Animation().SetKeyframe("audioLevel", 100, -100.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 552, 1920).result, 1920);

    const float slope = (-52.0f - -12.0f) / 1920.0f;
    EXPECT_EQ(Master(0), Gain(-12.0f));
    EXPECT_EQ(Master(480), Gain(960.0f * slope + -12.0f));
}

TEST_F(SequenceLevels, RampReachesItsEndHalfWayAndContinuesToTwiceTheChange) {
    // 1000 samples are 20.8 milliseconds, rounded to 21.
    object_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    object_->Animation().SetKeyframe("audioLevel", 21, -12.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 1000).result, 1000);

    EXPECT_EQ(Master(0), 1.0f);
    EXPECT_EQ(Master(1), std::bit_cast<float>(0x3f7f4b2b));
    EXPECT_EQ(Master(250), std::bit_cast<float>(0x3f004dce));
    EXPECT_EQ(Master(500), std::bit_cast<float>(0x3e809bcc));  // -12 dB
    EXPECT_EQ(Master(501), std::bit_cast<float>(0x3e8040f4));
    EXPECT_EQ(Master(999), std::bit_cast<float>(0x3d8193df));  // -23.98 dB
}

TEST_F(SequenceLevels, RampRestartsWithEachBlock) {
    object_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    object_->Animation().SetKeyframe("audioLevel", 40, -4.0f);
    object_->Animation().SetKeyframe("audioLevel", 80, -8.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 3840).result, 3840);

    EXPECT_LT(Master(1919), Gain(-7.99f));
    EXPECT_EQ(Master(1920), Gain(-4.0f));
}

TEST_F(SequenceLevels, RampOfAPartlyReadObjectSpansTheFramesThatItHas) {
    const auto track = builder_.AddTrack();
    const auto partly =
        builder_.AddObject(track, builder_.AddMedia(Constant(500, -32768, -32768)), 0, 100);
    track_->SetMuted(true);
    partly->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    partly->Animation().SetKeyframe("audioLevel", 21, -12.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 1000).result, 1000);

    EXPECT_EQ(Master(250), std::bit_cast<float>(0x3e809bcc));  // -12 dB after half of 500
    EXPECT_EQ(Master(500), 0.0f);
}

TEST_F(SequenceLevels, OfAnOppositeRampCancelAtBothEndsAndSoInBetween) {
    object_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    object_->Animation().SetKeyframe("audioLevel", 40, -12.0f);
    track_->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    track_->Animation().SetKeyframe("audioLevel", 40, 12.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 1920).result, 1920);

    for (int i = 0; i < 1920; ++i) ASSERT_EQ(Master(i), 1.0f) << i;
}

TEST_F(SequenceLevels, OfNaNBecomeTheMostNegativeSample) {
    object_->Animation().SetStaticValue("audioLevel", std::numeric_limits<float>::quiet_NaN());

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(-32768, -32768));
}

TEST_F(SequenceLevels, OfMinusInfinityAreSilence) {
    object_->Animation().SetStaticValue("audioLevel", -std::numeric_limits<float>::infinity());

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(0, 0));
}

TEST_F(SequenceLevels, OfTheMasterAtZeroLeaveEveryBit) {
    track_->SetMuted(true);
    builder_.AddObject(builder_.AddMedia(Noise(12000, 1)), 0, 100);
    builder_.Sequence()->AudioMasterTrack()->Animation().SetStaticValue("audioLevel", -0.0f);

    EXPECT_EQ(rig_.Request(builder_, 0, 12000).buffer.Values(), Noise(12000, 1));
}

TEST_F(SequenceLevels, OfTheMasterScaleTheMixBeforeItsMeter) {
    builder_.Sequence()->AudioMasterTrack()->Animation().SetStaticValue("audioLevel", -6.0f);

    EXPECT_EQ(GainOfOneFrame(0), std::bit_cast<float>(0x3f004dce));  // 0.501187205
    // 0.501187205 * 32768 = 16422.9, cut toward zero.
    EXPECT_EQ(rig_.Request(builder_, 0, 1)[0], Frame(-16422, -16422));
}

TEST_F(SequenceLevels, OfTheMasterRampFromZero) {
    auto& master = builder_.Sequence()->AudioMasterTrack()->Animation();
    master.SetKeyframe("audioLevel", 0, 0.0f);
    master.SetKeyframe("audioLevel", 21, -12.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 1000).result, 1000);

    EXPECT_EQ(Master(0), 1.0f);
    EXPECT_EQ(Master(250), std::bit_cast<float>(0x3f004dce));
    EXPECT_EQ(Master(500), std::bit_cast<float>(0x3e809bcc));
    EXPECT_EQ(Master(999), std::bit_cast<float>(0x3d8193df));
}

TEST_F(SequenceLevels, OfTheMasterRampToZero) {
    auto& master = builder_.Sequence()->AudioMasterTrack()->Animation();
    master.SetKeyframe("audioLevel", 0, -12.0f);
    master.SetKeyframe("audioLevel", 21, 0.0f);
    MeterEachFrame();
    ASSERT_EQ(rig_.Request(builder_, 0, 1000).result, 1000);

    EXPECT_EQ(Master(0), Gain(-12.0f));
    EXPECT_EQ(Master(500), Gain(1000.0f * (12.0f / 1000.0f) + -12.0f));
    EXPECT_GT(Master(999), Gain(11.9f));
}

class SequenceBalance : public SequenceMix {
protected:
    Frame MixAt(float balance, float level = 0.0f) {
        const auto track = AddToneTrack(20000, 20000);
        track->Animation().SetStaticValue("stereoBalance", balance);
        track->Animation().SetStaticValue("audioLevel", level);
        const Frame frame = rig_.Request(builder_, 0, 1)[0];
        track->SetMuted(true);
        return frame;
    }
};

TEST_F(SequenceBalance, LowersTheOtherChannelInALine) {
    EXPECT_EQ(MixAt(0.0f), Frame(20000, 20000));
    EXPECT_EQ(MixAt(0.5f), Frame(10000, 20000));
    EXPECT_EQ(MixAt(-0.25f), Frame(20000, 15000));
}

TEST_F(SequenceBalance, SilencesAChannelAtItsEnds) {
    EXPECT_EQ(MixAt(1.0f), Frame(0, 20000));
    EXPECT_EQ(MixAt(-1.0f), Frame(20000, 0));
}

TEST_F(SequenceBalance, TurnsAChannelOverBeyondItsEnds) {
    EXPECT_EQ(MixAt(1.5f), Frame(-10000, 20000));
    EXPECT_EQ(MixAt(-2.0f), Frame(20000, -20000));
}

TEST_F(SequenceBalance, OfNaNHasNoEffect) {
    EXPECT_EQ(MixAt(std::numeric_limits<float>::quiet_NaN()), Frame(20000, 20000));
}

TEST_F(SequenceBalance, MultipliesWithTheLevel) {
    // 20000 * 0.501187205 = 10023.7; half of it is 5011.9.
    EXPECT_EQ(MixAt(0.5f, -6.0f), Frame(5011, 10023));
}

// A property that is missing or of another kind leaves the mix as an exception.

class SequenceProperties : public SequenceMix {
protected:
    void ExpectBadGetThenASoundMix() {
        GuardedBuffer buffer(40);
        try {
            rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), 0, 10, buffer.Data(),
                                    40, 0, 0);
            ADD_FAILURE() << "no exception";
        } catch (const boost::bad_get& failure) {
            EXPECT_STREQ(failure.what(), "boost::bad_get: failed value get using boost::get");
        }
        EXPECT_TRUE(rig_.Mixer().Mutex().try_lock());
        rig_.Mixer().Mutex().unlock();
    }

    std::shared_ptr<project::AudioTrack> track_ = AddToneTrack(1000, 1000);
    std::shared_ptr<project::AbstractSequenceObject> object_ = track_->Objects().All().front();
};

TEST_F(SequenceProperties, ThatAreMissingLeaveTheMixAsAnException) {
    const auto restore = [](project::PropertyManager& animation) {
        animation.SetStaticValue("audioLevel", 0.0f);
        animation.SetStaticValue("stereoBalance", 0.0f);
        animation.SetStaticValue("speed", 1.0);
    };
    const auto master = builder_.Sequence()->AudioMasterTrack();
    const std::vector<std::pair<project::PropertyManager*, const char*>> properties = {
        {&track_->Animation(), "stereoBalance"}, {&track_->Animation(), "audioLevel"},
        {&object_->Animation(), "audioLevel"},   {&object_->Animation(), "speed"},
        {&master->Animation(), "audioLevel"},
    };

    for (const auto& [animation, key] : properties) {
        animation->RemoveProperty(key);
        ExpectBadGetThenASoundMix();
        restore(*animation);
        EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(1000, 1000)) << key;
    }
}

TEST_F(SequenceProperties, OfAnotherKindLeaveTheMixAsAnException) {
    track_->Animation().SetStaticValue("stereoBalance", 0.0);
    ExpectBadGetThenASoundMix();
    track_->Animation().SetStaticValue("stereoBalance", 0.0f);
    object_->Animation().SetStaticValue("speed", 1.0f);
    ExpectBadGetThenASoundMix();
    object_->Animation().SetStaticValue("speed", 1.0);
    object_->Animation().SetStaticValue("audioLevel", 0);
    ExpectBadGetThenASoundMix();
    object_->Animation().SetStaticValue("audioLevel", 0.0f);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(1000, 1000));
}

TEST_F(SequenceProperties, OfASilentTrackAreNotRead) {
    track_->Animation().RemoveProperty("stereoBalance");
    track_->SetMuted(true);

    EXPECT_EQ(rig_.Request(builder_, 0, 10)[0], Frame(0, 0));
}

}  // namespace
}  // namespace sonrel_tests
