// SPDX-License-Identifier: MIT
// The operations that a host may call while another thread mixes.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "tests/mixer/Meanwhile.h"
#include "tests/support/MixRig.h"
#include "tests/support/TracingPlugins.h"

namespace sonrel_tests {
namespace {

class MixThreads : public ::testing::Test {
protected:
    MixThreads() {
        for (int i = 0; i < 4; ++i) {
            const auto track = builder_.AddTrack();
            objects_.push_back(builder_.AddObject(
                track, builder_.AddMedia(Noise(20000, static_cast<unsigned int>(i))), 0, 10));
        }
    }
    /// Mixes until the host has had @p turns turns as well.
    void MixBeside(const Meanwhile& host, int requests, int turns) {
        for (int i = 0; i < requests || host.Turns() < turns; ++i) {
            ASSERT_EQ(rig_.Request(builder_, 0, 5 * FRAME).result, 5 * FRAME);
        }
    }

    ProjectBuilder builder_{{25.0, 48000, 10}};
    MixRig rig_;
    std::vector<std::shared_ptr<project::AssetAudioObject>> objects_;
};

TEST_F(MixThreads, LetAHostEditFlagsLevelsAndBalanceUnderTheMutex) {
    const Meanwhile host([&](int turn) {
        const std::lock_guard lock(rig_.Mixer().Mutex());
        const auto& track = builder_.Sequence()->AudioTracks()[static_cast<std::size_t>(turn % 4)];
        const auto& object = objects_[static_cast<std::size_t>(turn % 4)];
        track->SetMuted(turn % 3 == 0);
        track->SetSolo(turn % 5 == 0);
        object->SetMuted(turn % 7 == 0);
        object->Animation().SetStaticValue("audioLevel", static_cast<float>(-(turn % 20)));
        object->Animation().SetKeyframe("audioLevel", turn % 50, static_cast<float>(-(turn % 9)));
        track->Animation().SetStaticValue("audioLevel", static_cast<float>(-(turn % 10)));
        track->Animation().SetStaticValue("stereoBalance", static_cast<float>(turn % 3 - 1));
        builder_.Sequence()->AudioMasterTrack()->Animation().SetStaticValue(
            "audioLevel", static_cast<float>(-(turn % 4)));
    });

    MixBeside(host, 50, 300);
}

TEST_F(MixThreads, LetAHostEditLayersUnderTheMutex) {
    const auto composition = builder_.AddComposition({25.0, 48000, 10});
    const auto layer = builder_.AddLayer(composition, builder_.AddMedia(Noise(20000, 9)), 0, 10);
    const Meanwhile host([&](int turn) {
        const std::lock_guard lock(rig_.Mixer().Mutex());
        layer->SetMuted(turn % 3 == 0);
        layer->Animation().SetStaticValue("audioLevel", static_cast<float>(-(turn % 20)));
    });

    for (int i = 0; i < 50 || host.Turns() < 300; ++i) {
        ASSERT_EQ(rig_.Request(builder_.Project(), composition, 0, 5 * FRAME).result, 5 * FRAME);
    }
}

TEST_F(MixThreads, LetAHostSwitchEffectsAtAnyTime) {
    std::vector<std::shared_ptr<project::EffectInstance>> uses;
    for (const auto& object : objects_) {
        object->SetSourceStartFrame(2);
        for (const int back : {0, 100, 3000}) {
            uses.push_back(object->AddEffect(std::make_shared<TracingEffect>(back, 10)));
        }
    }
    const Meanwhile host([&](int turn) {
        uses[static_cast<std::size_t>(turn * 7) % uses.size()]->SetEnabled(turn % 2 == 0);
    });

    MixBeside(host, 50, 1000);
}

TEST_F(MixThreads, LetAHostAskForFailedReadsAtAnyTime) {
    const auto lost = builder_.AddMedia(Noise(20000, 9));
    builder_.AddObject(lost, 0, 10);
    std::filesystem::remove(zrtl::ToUtf8(lost->AudioStream()->ConformedFilePath()));
    const Meanwhile host([&](int turn) {
        const unsigned long long mark =
            turn % 3 == 0 ? rig_.Mixer().MarkFailedReads() : static_cast<unsigned long long>(turn);
        for (const sonrel::FailedRead& failed : rig_.Mixer().FailedReadsSince(mark)) {
            EXPECT_EQ(failed.conformedPath, lost->AudioStream()->ConformedFilePath());
        }
    });

    MixBeside(host, 50, 300);
}

TEST_F(MixThreads, LetAHostReadTheMetersAtAnyTime) {
    rig_.Mixer().StartMeterSession(4, 100);
    const Meanwhile host([&](int) {
        const unsigned long long count = rig_.Mixer().MeterBlockCount();
        if (count == 0) return;
        const sonrel::AudioMetrics metrics = rig_.Mixer().MetricsForBlock(count - 1);
        ASSERT_EQ(metrics.masterMetrics.sampleCount, 100);
        ASSERT_EQ(metrics.trackMetrics.size(), 4u);
    });

    MixBeside(host, 50, 300);
}

TEST_F(MixThreads, MayReadTheFirstThreeFilesSideBySide) {
    std::vector<std::shared_ptr<project::MediaAsset>> media;
    for (int i = 0; i < 5; ++i) {
        media.push_back(builder_.AddMedia(
            Constant(1000, static_cast<short>(i + 1), static_cast<short>(i + 1))));
        GuardedBuffer buffer(4);
        ASSERT_EQ(rig_.Mixer().GetSamples(media.back(), 0, 1, buffer.Data(), 4), 1);
    }
    const auto readAll = [&] {
        for (int i = 0; i < 300; ++i) {
            for (std::size_t file = 2; file < 5; ++file) {
                GuardedBuffer buffer(400);
                ASSERT_EQ(rig_.Mixer().GetSamples(media[file], i, 100, buffer.Data(), 400), 100);
                ASSERT_EQ(buffer.Value(99, 0), static_cast<short>(file + 1));
            }
        }
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(readAll);
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace sonrel_tests
