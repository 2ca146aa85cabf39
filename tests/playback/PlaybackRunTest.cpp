// SPDX-License-Identifier: MIT
// All buffers that whole runs submit to the voice, byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/playback/ExpectedRun.h"
#include "tests/playback/PlaybackRig.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

constexpr int RATE = 8000;

/// Frame rate, direction and speed.
using RunShape = std::tuple<double, Direction, int>;

std::string ShapeName(const testing::TestParamInfo<RunShape>& info) {
    const auto [frameRate, direction, speed] = info.param;
    return std::string(direction == FORWARD ? "ForwardAt" : "ReverseAt") + std::to_string(speed) +
           "TimesWith" + std::to_string(static_cast<int>(frameRate * 1000)) + "FramesIn1000s";
}

/// A sequence of 403 frames with two tracks of noise, one of them between silence.
class WholeRun : public testing::TestWithParam<RunShape> {
protected:
    WholeRun()
        : rig_({std::get<0>(GetParam()), RATE, 403}),
          rules_{RATE, std::get<0>(GetParam()), 0, std::get<1>(GetParam()),
                 std::get<2>(GetParam())} {
        rules_.total = static_cast<long long>(std::floor(403 * (RATE / rules_.frameRate)));
        const int length = static_cast<int>(rules_.total);
        rig_.builder.AddObject(rig_.builder.AddMedia(Noise(length, 1)), 0, 403);
        rig_.builder.AddObject(rig_.builder.AddMedia(Noise(length / 2, 2)), 7, 150);
    }

    /// Uses a separate mixer.
    Source Mixed() {
        return [this](long long position, int count) {
            const Mix mix = reference_.Request(rig_.builder, position, count);
            return mix.result == count ? mix.buffer.Values() : std::vector<short>();
        };
    }

    /// Whether fewer buffers than this are left of the run after the buffer heard last.
    bool HasFewerLeft(int buffers) const {
        const std::optional<long long> heard = rig_.device.LastHeardSample();
        if (!heard) return false;
        const long long left = rules_.direction == FORWARD ? rules_.total - *heard : *heard;
        return left < static_cast<long long>(buffers) * rules_.speed * rules_.BufferFrames();
    }

    PlaybackRig rig_;
    RunRules rules_;
    MixRig reference_;
};

TEST_P(WholeRun, SubmitsTheExpectedBuffersFromAnyStart) {
    ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);
    std::mt19937 random(20);
    std::vector<long long> starts = {1, rules_.total / 2, rules_.total - 1,
                                     static_cast<long long>(random() % rules_.total),
                                     static_cast<long long>(random() % rules_.total)};
    if (rules_.direction == FORWARD) starts.push_back(0);
    for (const long long start : starts) {
        SCOPED_TRACE(start);
        const std::size_t before = rig_.device.Submissions().size();

        ASSERT_EQ(rig_.Play(start, rules_.direction, rules_.speed), Err::NoError);
        ASSERT_TRUE(rig_.PlayToEnd());

        const std::vector<Submission> all = rig_.device.Submissions();
        ExpectSameSubmissions({all.begin() + static_cast<std::ptrdiff_t>(before), all.end()},
                              ExpectRun(rules_, start, Mixed()));
        EXPECT_EQ(rig_.device.Heard().size(), all.size());
    }
}

TEST_P(WholeRun, DithersInTheOrderOfTheBuffers) {
    rig_.engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 77);
    reference_.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 77);
    ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);

    ASSERT_EQ(rig_.Play(rules_.total - 1, rules_.direction, rules_.speed), Err::NoError);
    ASSERT_TRUE(rig_.PlayToEnd());
    ASSERT_EQ(rig_.Play(100, rules_.direction, rules_.speed), Err::NoError);
    ASSERT_TRUE(rig_.PlayToEnd());

    std::vector<Submission> expected = ExpectRun(rules_, rules_.total - 1, Mixed());
    for (Submission& buffer : ExpectRun(rules_, 100, Mixed())) expected.push_back(buffer);
    ExpectSameSubmissions(rig_.device.Submissions(), expected);
}

/// Plays the device on a separate thread: as many buffers as it may.
class SelfPlayingDevice {
public:
    /// @param isNearTheEnd  whether the worker may have read the run to its end
    SelfPlayingDevice(PlaybackRig& rig, std::function<bool()> isNearTheEnd)
        : rig_(rig), isNearTheEnd_(std::move(isNearTheEnd)), thread_([this] {
              while (!ended_) {
                  const bool allowed = rig_.device.HeardCount() < allowed_;
                  if (allowed || rig_.device.Queued() > Reserve()) rig_.device.PlayBuffer();
                  // Slower than the worker, so that runs last longer than the commands on them.
                  if (!allowed) std::this_thread::sleep_for(std::chrono::microseconds(100));
                  std::this_thread::yield();
              }
          }) {}
    ~SelfPlayingDevice() {
        ended_ = true;
        thread_.join();
    }

    /// Plays this number of buffers. @return false when the run ended before
    bool Play(std::size_t buffers) {
        allowed_ = rig_.device.HeardCount() + buffers;
        return Eventually([&] {
                   return rig_.device.EndedCount() >= allowed_ || !rig_.Playback().IsPlaying();
               }) &&
               rig_.Playback().IsPlaying();
    }
    /// Flushes. A worker blocked on a full queue sees the flush only when a buffer ends, so the
    /// device plays meanwhile; a worker that has read the whole run does not answer, so the device
    /// then plays to the end.
    Err Flush() {
        flushing_ = true;
        const Err result = rig_.Playback().FlushQueuedPlaybackSamples();
        flushing_ = false;
        return result;
    }
    /// From now on plays everything.
    void PlayToEnd() { plays_ = true; }

private:
    std::size_t Reserve() const {
        if (plays_ || (flushing_ && isNearTheEnd_())) return 0;
        return flushing_ ? 46 : 50;
    }

    PlaybackRig& rig_;
    const std::function<bool()> isNearTheEnd_;
    std::atomic<std::size_t> allowed_ = 0;
    std::atomic<bool> flushing_ = false;
    std::atomic<bool> plays_ = false;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

TEST_P(WholeRun, ContinuesFromTheSoundingBufferAfterFlushesAtAnyMoment) {
    ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);
    // A flush is answered, however slow the machine is: FlushWaitTest tests its time-out.
    rig_.Impl().flushTimeout = std::chrono::hours(1);
    std::mt19937 random(3);
    const long long start = rules_.direction == FORWARD ? 0 : rules_.total - 1;
    // Of each flush: a buffer that had begun before the command, and the number of buffers that had
    // begun when the queue was dropped.
    std::vector<std::pair<std::size_t, std::size_t>> flushes;
    ASSERT_EQ(rig_.Play(start, rules_.direction, rules_.speed), Err::NoError);
    {
        // The worker is at most 50 buffers ahead of the sound.
        SelfPlayingDevice player(rig_, [this] { return HasFewerLeft(52); });
        while (flushes.size() < 8 && !HasFewerLeft(60) && player.Play(1 + random() % 4)) {
            // A flush of fewer than two buffers changes nothing.
            ASSERT_TRUE(rig_.device.WaitForQueued(2));
            const std::size_t ended = rig_.device.EndedCount();
            const std::size_t marks = rig_.device.FlushMarks().size();
            const Err flushed = player.Flush();
            if (flushed != Err::NoError || rig_.device.FlushMarks().size() == marks) continue;
            flushes.emplace_back(ended - 1, rig_.device.FlushMarks().back());
        }
        player.PlayToEnd();
        ASSERT_TRUE(Eventually([&] { return !rig_.Playback().IsPlaying(); }));
    }

    EXPECT_FALSE(flushes.empty());
    const std::vector<Submission> heard = rig_.device.Heard();
    std::set<long long> allowed = {start};
    for (std::size_t i = 0; i < heard.size(); ++i) {
        ASSERT_TRUE(allowed.count(heard[i].firstSample)) << "buffer " << i;
        const ExpectedBuffer expected = ExpectBuffer(rules_, heard[i].firstSample, Mixed());
        ASSERT_EQ(heard[i].videoFrame, expected.videoFrame) << "buffer " << i;
        ASSERT_EQ(heard[i].endSample, expected.endSample) << "buffer " << i;
        ASSERT_EQ(heard[i].endOfStream, expected.endOfStream) << "buffer " << i;
        ASSERT_TRUE(
            std::equal(expected.placed.begin(), expected.placed.end(), heard[i].samples.begin()))
            << "samples of buffer " << i;
        allowed = {expected.next};
        for (const auto& [before, at] : flushes) {
            if (at != i + 1) continue;
            // The run continues from the buffer that sounded when the flush read the position: a
            // buffer that began between the command and the moment when the queue was dropped.
            allowed.clear();
            for (std::size_t k = before; k <= i; ++k) allowed.insert(heard[k].endSample);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Playback, WholeRun,
                         testing::Combine(testing::Values(25.0, 29.97, 30.0, 50.0, 23.976),
                                          testing::Values(FORWARD, REVERSE),
                                          testing::Values(1, 2, 3, 4)),
                         ShapeName);

}  // namespace
}  // namespace sonrel_tests
