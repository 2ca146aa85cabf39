// SPDX-License-Identifier: MIT
// Meters that are read and whose sessions change while another thread feeds them.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "sonrel/mixer/AudioMeter.h"
#include "tests/mixer/Meanwhile.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

class MeterThreads : public ::testing::Test {
protected:
    MeterThreads() {
        for (int i = 0; i < 4; ++i) builder_.AddTrack();
    }
    sonrel::AudioMixer& Mixer() { return rig_.Mixer(); }

    ProjectBuilder builder_{{25.0, 48000, 10}};
    MixRig rig_;
};

// Each session has its own block length, so that the length of a block names its session.
TEST_F(MeterThreads, ABlockNeverMixesTwoSessions) {
    constexpr int LENGTHS[] = {100, 70, 1920, 3};
    const Meanwhile host([&](int turn) {
        Mixer().StartMeterSession(static_cast<unsigned long long>(turn % 6), LENGTHS[turn % 4]);
        if (turn % 3 == 0) Mixer().RestartMeterSession();
    });
    const Meanwhile reader([&](int turn) {
        const sonrel::AudioMetrics block =
            Mixer().MetricsForBlock(static_cast<unsigned long long>(turn % 3));
        int length = block.masterMetrics.sampleCount;
        for (const auto& track : block.trackMetrics) {
            // The tracks are fed before the master. A track that came later has no meter.
            if (track.sampleCount == 0) continue;
            if (length == 0) length = track.sampleCount;
            ASSERT_EQ(track.sampleCount, length);
        }
    });

    for (int i = 0; i < 50 || host.Turns() < 300 || reader.Turns() < 300; ++i) {
        ASSERT_EQ(rig_.Request(builder_, 0, 9600).result, 9600);
    }
}

TEST_F(MeterThreads, ASessionIsSeenToEndAsAWhole) {
    constexpr unsigned long long TRACKS = 100;
    std::atomic<int> ended = 0;
    const Meanwhile reader([&](int) {
        if (Mixer().MeterBlockCount() < 2) return;
        const sonrel::AudioMetrics last = Mixer().MetricsForBlock(1);
        // The next session may have begun between the two calls.
        if (last.masterMetrics.sampleCount == 0) return;
        ++ended;
        ASSERT_EQ(last.trackMetrics.size(), TRACKS);
        for (const auto& track : last.trackMetrics) ASSERT_EQ(track.sampleCount, 50);
    });

    for (int i = 0; i < 100 || ended < 100; ++i) {
        Mixer().StartMeterSession(TRACKS, 100);
        ASSERT_EQ(rig_.Request(builder_, 0, 150).result, 150);
        Mixer().StopMeterSession();
    }
}

TEST_F(MeterThreads, SessionsEndAndBeginAtAnyMomentOfAMix) {
    const Meanwhile host([&](int turn) {
        if (turn % 3 == 0) Mixer().StartMeterSession(4, 1 + turn % 500);
        if (turn % 3 == 1) Mixer().RestartMeterSession();
        if (turn % 3 == 2) Mixer().StopMeterSession();
        Mixer().MetricsForBlocks(0, Mixer().MeterBlockCount());
    });

    for (int i = 0; i < 50 || host.Turns() < 300; ++i) {
        ASSERT_EQ(rig_.Request(builder_, 0, 9600).result, 9600);
    }
}

TEST(AudioMeterThreads, ASessionMayChangeAtAnyMoment) {
    sonrel::AudioMeter meter;
    const std::vector<float> loud(2 * 5000, 0.5f);
    const Meanwhile feeder([&](int) { meter.ProcessSamples(loud.data(), 5000); });
    int blocks = 0;

    for (int i = 0; blocks < 1000 || feeder.Turns() < 300; ++i) {
        const int length = i % 2 == 0 ? 4000 : 30;
        meter.StartMeterSession(length);
        if (i % 5 == 0) meter.Restart();
        while (i % 7 == 0 && meter.MeterBlockCount() < 3) std::this_thread::yield();
        const unsigned long long finished = meter.MeterBlockCount();
        for (unsigned long long index = 0; index < finished; ++index, ++blocks) {
            ASSERT_EQ(meter.MetricsForBlock(index).sampleCount, length);
            ASSERT_EQ(meter.MetricsForBlock(index).peak[1], 0.5f);
        }
        EXPECT_EQ(meter.MetricsForBlock(~0ull).sampleCount, 0);
        if (i % 3 == 0) meter.StopMeterSession();
    }
}

}  // namespace
}  // namespace sonrel_tests
