// SPDX-License-Identifier: MIT
#include "sonrel/playback/VirtualOutput.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

using namespace orlo::sonrel;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;
using Clock = VirtualOutput::Clock;

namespace {

constexpr std::chrono::seconds TIMEOUT{20};

/// A source of 1, 2, 3, ... in both channels, up to a number of frames.
class CountingSource : public AudioOutputSource {
public:
    explicit CountingSource(int frames) : left_(frames) {}

    /// Runs inside every pull.
    std::function<void()> insidePull;

    int Pull(short* output, int frameCount) override {
        ++pulls_;
        if (insidePull) insidePull();
        const int taken = std::min<int>(frameCount, left_);
        for (int i = 0; i < 2 * frameCount; ++i) {
            output[i] = static_cast<short>(i < 2 * taken ? next_ + i / 2 : 0);
        }
        next_ += taken;
        left_ -= taken;
        return taken;
    }
    int ReadyFrames() override { return left_; }

    void Add(int frames) { left_ += frames; }
    int Left() const { return left_; }
    int Pulls() const { return pulls_; }

private:
    std::atomic<int> left_;
    std::atomic<int> pulls_ = 0;
    int next_ = 1;
};

template <class Condition>
bool Wait(Condition condition) {
    const auto deadline = steady_clock::now() + TIMEOUT;
    while (!condition()) {
        if (steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

TEST(VirtualOutput, AdvanceTakesExactlyTheRequestedFrames) {
    const auto output = VirtualOutput::ToMemory(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(100);
    ASSERT_TRUE(output->Open(48000, source));

    EXPECT_EQ(output->Advance(3), 3);

    EXPECT_THAT(output->Samples(), ElementsAre(1, 1, 2, 2, 3, 3));
    EXPECT_EQ(source->Left(), 97);
    EXPECT_EQ(output->FramesTaken(), 3);
}

TEST(VirtualOutput, AdvanceReturnsTheFramesThatTheVoiceGave) {
    const auto output = VirtualOutput::ToMemory(Clock::Stepped);
    ASSERT_TRUE(output->Open(48000, std::make_shared<CountingSource>(2)));

    EXPECT_EQ(output->Advance(5000), 2);
    EXPECT_EQ(output->Advance(5000), 0);

    EXPECT_THAT(output->Samples(), ElementsAre(1, 1, 2, 2));
}

TEST(VirtualOutput, AdvanceByNothingPullsNothing) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(2);
    ASSERT_TRUE(output.Open(48000, source));

    EXPECT_EQ(output.Advance(0), 0);
    EXPECT_EQ(output.Advance(-1), 0);

    EXPECT_EQ(source->Pulls(), 0);
}

TEST(VirtualOutput, AdvanceReturnsAfterTheCallbacks) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(10);
    std::atomic<bool> done = false;
    source->insidePull = [&] {
        std::this_thread::sleep_for(milliseconds(5));
        done = true;
    };
    ASSERT_TRUE(output.Open(48000, source));

    output.Advance(1);

    EXPECT_TRUE(done);
}

TEST(VirtualOutput, AdvanceBufferAdvancesToTheEndOfTheReadyFrames) {
    const auto output = VirtualOutput::ToMemory(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(5000);
    ASSERT_TRUE(output->Open(48000, source));

    EXPECT_EQ(output->AdvanceBuffer(TIMEOUT), 5000);

    EXPECT_EQ(source->Left(), 0);
}

TEST(VirtualOutput, AdvanceBufferWaitsForABuffer) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(0);
    ASSERT_TRUE(output.Open(48000, source));
    std::thread later([&] {
        source->Add(7);
        output.Wake();
    });

    EXPECT_EQ(output.AdvanceBuffer(TIMEOUT), 7);

    later.join();
}

TEST(VirtualOutput, AdvanceBufferGivesUpAfterItsTimeout) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(0);
    ASSERT_TRUE(output.Open(48000, source));

    EXPECT_EQ(output.AdvanceBuffer(milliseconds(1)), 0);

    source->Add(7);
    output.Wake();
    EXPECT_EQ(output.Advance(3), 3);
    EXPECT_EQ(source->Left(), 4);
}

TEST(VirtualOutput, StepsFromInsideAPullAreRefused) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(10);
    std::atomic<int> stepped = -1;
    source->insidePull = [&] { stepped = output.Advance(1) + output.AdvanceBuffer(TIMEOUT); };
    ASSERT_TRUE(output.Open(48000, source));

    EXPECT_EQ(output.Advance(1), 1);

    EXPECT_EQ(stepped, 0);
}

TEST(VirtualOutput, OnlyASteppedOutputTakesSteps) {
    VirtualOutput paced(Clock::Paced);
    VirtualOutput drained(Clock::DrainDriven);
    ASSERT_TRUE(paced.Open(48000, std::make_shared<CountingSource>(0)));
    ASSERT_TRUE(drained.Open(48000, std::make_shared<CountingSource>(0)));

    EXPECT_EQ(paced.Advance(10), 0);
    EXPECT_EQ(paced.AdvanceBuffer(TIMEOUT), 0);
    EXPECT_EQ(drained.Advance(10), 0);
}

TEST(VirtualOutput, AClosedOutputTakesNoSteps) {
    VirtualOutput output(Clock::Stepped);

    EXPECT_EQ(output.Advance(10), 0);
    EXPECT_EQ(output.AdvanceBuffer(TIMEOUT), 0);
    EXPECT_FALSE(output.IsOpen());
    EXPECT_EQ(output.SampleRate(), 0);
}

TEST(VirtualOutput, WakingAQuietOutputPullsNoFrames) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(10);
    ASSERT_TRUE(output.Open(48000, source));

    output.Wake();

    ASSERT_TRUE(Wait([&] { return source->Pulls() == 1; }));
    EXPECT_EQ(source->Left(), 10);
}

TEST(VirtualOutput, ADrainDrivenOutputTakesEverythingAtOnceAndThenRests) {
    const auto output = VirtualOutput::ToMemory(Clock::DrainDriven);
    const auto source = std::make_shared<CountingSource>(100000);
    ASSERT_TRUE(output->Open(48000, source));
    output->Wake();
    ASSERT_TRUE(Wait([&] { return output->FramesTaken() == 100000; }));
    const int pulls = source->Pulls();

    std::this_thread::sleep_for(milliseconds(10));

    // One more, in which it finds that there is nothing left.
    EXPECT_LE(source->Pulls(), pulls + 1);
}

TEST(VirtualOutput, APacedOutputTakesTheRatePerSecond) {
    VirtualOutput output(Clock::Paced);
    const auto source = std::make_shared<CountingSource>(1000000);
    const auto start = steady_clock::now();
    ASSERT_TRUE(output.Open(8000, source));
    ASSERT_TRUE(Wait([&] { return output.FramesTaken() >= 1600; }));
    const auto taken = steady_clock::now() - start;
    output.Close();
    const auto open = steady_clock::now() - start;

    // 1600 frames are 20 periods of 10 ms, of which the first is immediate.
    EXPECT_GE(taken, milliseconds(190));
    EXPECT_LE(output.FramesTaken(), 8000 * (open + milliseconds(10)) / std::chrono::seconds(1));
}

TEST(VirtualOutput, APacedOutputDoesNotCatchUpAfterALongPull) {
    VirtualOutput output(Clock::Paced);
    const auto source = std::make_shared<CountingSource>(1000000);
    constexpr milliseconds LONG_PULL{300};
    std::atomic<bool> slept = false;
    source->insidePull = [&] {
        if (!slept.exchange(true)) std::this_thread::sleep_for(LONG_PULL);
    };
    const auto start = steady_clock::now();
    ASSERT_TRUE(output.Open(8000, source));
    ASSERT_TRUE(Wait([&] { return output.FramesTaken() >= 800; }));
    output.Close();
    const auto open = steady_clock::now() - start;

    // The periods of 10 ms after the long pull, and two pulls of 80 frames: before it and right
    // after it.
    EXPECT_LE(output.FramesTaken(),
              8000 * (open - LONG_PULL + milliseconds(20)) / std::chrono::seconds(1));
}

TEST(VirtualOutput, AnOpenOutputDoesNotOpenAgainBeforeItIsClosed) {
    VirtualOutput output(Clock::Stepped);
    ASSERT_TRUE(output.Open(48000, std::make_shared<CountingSource>(1)));
    EXPECT_FALSE(output.Open(44100, std::make_shared<CountingSource>(1)));

    output.Close();

    EXPECT_TRUE(output.Open(44100, std::make_shared<CountingSource>(1)));
    EXPECT_EQ(output.SampleRate(), 44100);
}

TEST(VirtualOutput, ClosingWaitsForThePullAndReleasesTheSource) {
    VirtualOutput output(Clock::DrainDriven);
    auto source = std::make_shared<CountingSource>(10);
    std::atomic<bool> inside = false;
    std::atomic<bool> left = false;
    source->insidePull = [&] {
        inside = true;
        std::this_thread::sleep_for(milliseconds(10));
        left = true;
    };
    ASSERT_TRUE(output.Open(48000, source));
    output.Wake();
    ASSERT_TRUE(Wait([&] { return inside.load(); }));

    output.Close();

    EXPECT_TRUE(left);
    EXPECT_EQ(source.use_count(), 1);
}

TEST(VirtualOutput, ClosedFromInsideAPullThatPullIsTheLast) {
    VirtualOutput output(Clock::Stepped);
    const auto source = std::make_shared<CountingSource>(10);
    source->insidePull = [&] { output.Close(); };
    ASSERT_TRUE(output.Open(48000, source));

    EXPECT_EQ(output.Advance(2), 2);
    EXPECT_EQ(output.Advance(2), 0);

    EXPECT_EQ(source->Pulls(), 1);
}

TEST(VirtualOutput, CanBeDestroyedInsideItsOwnPull) {
    auto output = std::make_unique<VirtualOutput>(Clock::Paced);
    const auto source = std::make_shared<CountingSource>(10);
    std::atomic<bool> opened = false;
    std::atomic<bool> ended = false;
    source->insidePull = [&] {
        while (!opened) std::this_thread::yield();
        output.reset();
        ended = true;
    };
    const bool open = output->Open(48000, source);
    opened = true;

    EXPECT_TRUE(open);
    EXPECT_TRUE(Wait([&] { return ended && source.use_count() == 1; }));
}

TEST(VirtualOutput, ASinkReceivesTheFramesOfTheVoiceOutsideOfThePull) {
    std::atomic<bool> pulling = false;
    bool outside = true;
    std::vector<short> got;
    VirtualOutput output(Clock::Stepped, [&](const short* frames, int count) {
        outside = outside && !pulling;
        got.insert(got.end(), frames, frames + 2 * count);
        return true;
    });
    const auto source = std::make_shared<CountingSource>(3);
    ASSERT_TRUE(output.Open(48000, source));

    output.Advance(2);
    output.Advance(2);

    EXPECT_THAT(got, ElementsAre(1, 1, 2, 2, 3, 3));
    EXPECT_TRUE(outside);
    EXPECT_THAT(output.Samples(), IsEmpty());
}

TEST(VirtualOutput, ASinkThatFailsGetsNothingMore) {
    int calls = 0;
    VirtualOutput output(Clock::Stepped, [&](const short*, int) {
        ++calls;
        return false;
    });
    ASSERT_TRUE(output.Open(48000, std::make_shared<CountingSource>(10)));
    EXPECT_FALSE(output.Failed());

    output.Advance(1);
    output.Advance(1);

    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(output.Failed());
}

}  // namespace
