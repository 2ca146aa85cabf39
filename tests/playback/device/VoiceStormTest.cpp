// SPDX-License-Identifier: MIT
// Commands in random order against outputs that run at the same time: whatever happens, every
// buffer ends exactly once, in order, and its memory is read no more.
#include <gmock/gmock.h>

#include <random>

#include "tests/playback/device/DeviceRig.h"

using namespace sonrel_tests;

namespace {

constexpr int COMMANDS = 10000;

/// A buffer of a storm. Its samples go with its end, so that a later read shows.
struct StormBuffer {
    int number = 0;
    std::unique_ptr<std::vector<short>> samples;
    std::atomic<int> starts = 0;
    std::atomic<int> ends = 0;
};

class StormListener : public device::VoiceEvents {
public:
    std::function<void()> onStreamEnd;

    void OnBufferStart(void* context) override {
        auto& buffer = *static_cast<StormBuffer*>(context);
        ++buffer.starts;
        if (buffer.ends != 0 || buffer.number <= lastStarted_.exchange(buffer.number)) {
            ++faults_;
        }
    }
    void OnBufferEnd(void* context) override {
        auto& buffer = *static_cast<StormBuffer*>(context);
        buffer.samples.reset();
        // The last access: the test may be waiting for it.
        if (++buffer.ends != 1) ++faults_;
    }
    void OnStreamEnd() override {
        ++streamEnds_;
        if (onStreamEnd) onStreamEnd();
    }

    int Faults() const { return faults_; }
    int StreamEnds() const { return streamEnds_; }

private:
    std::atomic<int> lastStarted_ = -1;
    std::atomic<int> faults_ = 0;
    std::atomic<int> streamEnds_ = 0;
};

/// Gives random commands to one voice.
class Storm {
public:
    Storm(device::SourceVoice& voice, std::uint32_t seed) : voice_(voice), random_(seed) {}

    void Command() {
        const std::lock_guard lock(mutex_);
        switch (random_() % 8) {
            case 0:
                voice_.Start();
                break;
            case 1:
                voice_.Stop();
                break;
            case 2:
                voice_.FlushSourceBuffers();
                break;
            case 3:
                voice_.GetState();
                break;
            default:
                Submit();
        }
    }

    bool EveryBufferHasEndedOnce() const {
        const std::lock_guard lock(mutex_);
        return std::all_of(buffers_.begin(), buffers_.end(),
                           [](const auto& buffer) { return buffer->ends == 1; });
    }
    bool NoneBeganTwice() const {
        const std::lock_guard lock(mutex_);
        return std::all_of(buffers_.begin(), buffers_.end(),
                           [](const auto& buffer) { return buffer->starts <= 1; });
    }

private:
    void Submit() {
        auto buffer = std::make_unique<StormBuffer>();
        buffer->number = static_cast<int>(buffers_.size());
        const std::size_t frames = 1 + random_() % 3000;
        buffer->samples = std::make_unique<std::vector<short>>(2 * frames, short{1});
        device::SourceBuffer submission;
        submission.audioBytes = frames * 4;
        submission.audioData = reinterpret_cast<const unsigned char*>(buffer->samples->data());
        submission.context = buffer.get();
        submission.endOfStream = random_() % 4 == 0;
        buffers_.push_back(std::move(buffer));
        ASSERT_TRUE(voice_.SubmitSourceBuffer(submission));
    }

    device::SourceVoice& voice_;
    std::mt19937 random_;
    mutable std::mutex mutex_;  // of the test's own threads
    std::vector<std::unique_ptr<StormBuffer>> buffers_;
};

class VoiceStorm : public testing::TestWithParam<VirtualOutput::Clock> {};

TEST_P(VoiceStorm, EveryBufferEndsOnceUnderAnyCommands) {
    const auto output = std::make_shared<VirtualOutput>(GetParam());
    StormListener listener;
    const OpenDevice open([&] { return output; }, RATE, listener);
    Storm storm(*open.voice, 4711);

    for (int i = 0; i < COMMANDS; ++i) {
        storm.Command();
        if (GetParam() == VirtualOutput::Clock::Stepped) output->Advance(1 + i % 700);
    }
    open.voice->Stop();
    open.voice->FlushSourceBuffers();
    while (!storm.EveryBufferHasEndedOnce() && listener.Faults() == 0) std::this_thread::yield();

    EXPECT_EQ(open.voice->GetState().buffersQueued, 0u);
    EXPECT_EQ(listener.Faults(), 0);
    EXPECT_TRUE(storm.NoneBeganTwice());
}

TEST_P(VoiceStorm, CommandsFromCallbacksAndFromTheHostMayMix) {
    const auto output = std::make_shared<VirtualOutput>(GetParam());
    StormListener listener;
    // Callbacks use them until the device is closed.
    std::mutex callbacks;
    bool quiet = false;
    const OpenDevice open([&] { return output; }, RATE, listener);
    Storm storm(*open.voice, 4712);
    listener.onStreamEnd = [&] {
        const std::lock_guard lock(callbacks);
        for (int i = 0; i < 3 && !quiet; ++i) storm.Command();
    };

    for (int i = 0; i < COMMANDS / 2; ++i) {
        storm.Command();
        if (GetParam() == VirtualOutput::Clock::Stepped) output->Advance(1 + i % 700);
    }
    {
        const std::lock_guard lock(callbacks);
        quiet = true;
    }
    while (!storm.EveryBufferHasEndedOnce() && listener.Faults() == 0) {
        open.voice->Stop();
        open.voice->FlushSourceBuffers();
        std::this_thread::yield();
    }

    EXPECT_EQ(listener.Faults(), 0);
    EXPECT_TRUE(storm.NoneBeganTwice());
}

TEST_P(VoiceStorm, VoicesCanBeDestroyedAtAnyMoment) {
    const auto output = std::make_shared<VirtualOutput>(GetParam());
    const std::vector<short> samples = Counting(1, 100);
    std::mt19937 random(4713);
    for (int i = 0; i < 100; ++i) {
        Listener listener;
        OpenDevice open([&] { return output; }, RATE, listener);
        ASSERT_NE(open.voice, nullptr);
        open.voice->Start();
        for (unsigned int j = random() % 20; j > 0; --j) {
            open.voice->SubmitSourceBuffer(BufferOf(samples, "x", true));
        }
        if (random() % 2 == 0) open.voice->FlushSourceBuffers();
        if (GetParam() == VirtualOutput::Clock::Stepped) output->Advance(150);

        open.voice.reset();
        const std::size_t heard = listener.Heard().size();
        open.mastering.reset();

        EXPECT_EQ(listener.Heard().size(), heard);
    }
}

INSTANTIATE_TEST_SUITE_P(Device, VoiceStorm,
                         testing::Values(VirtualOutput::Clock::Stepped,
                                         VirtualOutput::Clock::DrainDriven),
                         [](const testing::TestParamInfo<VirtualOutput::Clock>& run) {
                             return run.param == VirtualOutput::Clock::Stepped ? "Stepped"
                                                                               : "DrainDriven";
                         });

}  // namespace
