// SPDX-License-Identifier: MIT
// The voice frame by frame, on a stepped output.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/playback/StallingOutput.h"
#include "tests/playback/device/DeviceRig.h"

using namespace sonrel_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VoiceTest : public testing::Test {
protected:
    device::SourceVoice& Voice() { return *open_.voice; }
    bool Queue(const std::vector<short>& samples, const char* name, bool endOfStream = false) {
        return Voice().SubmitSourceBuffer(BufferOf(samples, name, endOfStream));
    }

    const std::vector<short> a_ = Counting(100, 10);
    const std::vector<short> b_ = Counting(1000, 10);
    const std::vector<short> c_ = Counting(2000, 10);
    const std::shared_ptr<VirtualOutput> output_ =
        VirtualOutput::ToMemory(VirtualOutput::Clock::Stepped);
    const std::shared_ptr<StallingOutput> device_ = std::make_shared<StallingOutput>(output_);
    Listener listener_;
    OpenDevice open_{[this] { return device_; }, RATE, listener_};
};

TEST_F(VoiceTest, AVoiceThatWasNotStartedGivesNothing) {
    Queue(a_, "A");

    EXPECT_EQ(output_->Advance(30), 0);

    EXPECT_THAT(listener_.Heard(), IsEmpty());
    EXPECT_EQ(Voice().GetState().buffersQueued, 1u);
}

TEST_F(VoiceTest, BuffersFollowEachOtherWithoutAGap) {
    Queue(a_, "A");
    Queue(b_, "B");
    Voice().Start();

    EXPECT_EQ(output_->Advance(30), 20);

    std::vector<short> expected = a_;
    expected.insert(expected.end(), b_.begin(), b_.end());
    EXPECT_EQ(output_->Samples(), expected);
}

TEST_F(VoiceTest, ABufferStartsWithItsFirstFrameAndEndsWithItsLast) {
    Queue(a_, "A");
    Queue(b_, "B");
    Voice().Start();

    output_->Advance(1);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A"));
    output_->Advance(8);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A"));
    output_->Advance(1);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A"));
    output_->Advance(1);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A", "start B"));
}

TEST_F(VoiceTest, TheEndOfAStreamFollowsTheEndOfItsBuffer) {
    Queue(a_, "A", true);
    Queue(b_, "B");
    Voice().Start();

    output_->Advance(20);

    EXPECT_THAT(listener_.Heard(),
                ElementsAre("start A", "end A", "stream end", "start B", "end B"));
}

TEST_F(VoiceTest, TheCountIncludesTheSoundingBufferAndIsLoweredBeforeItsEndIsReported) {
    Queue(a_, "A");
    Queue(b_, "B");
    unsigned int countAtEnd = 99;
    listener_.onEvent = [&](const std::string& event) {
        if (event == "end A") countAtEnd = Voice().GetState().buffersQueued;
    };
    Voice().Start();

    output_->Advance(5);
    EXPECT_EQ(Voice().GetState().buffersQueued, 2u);
    output_->Advance(5);

    EXPECT_EQ(countAtEnd, 1u);
}

TEST_F(VoiceTest, AStoppedVoiceKeepsItsQueueAndContinuesWhereItStopped) {
    Queue(a_, "A");
    Voice().Start();
    output_->Advance(4);

    Voice().Stop();
    EXPECT_EQ(output_->Advance(4), 0);
    EXPECT_EQ(Voice().GetState().buffersQueued, 1u);
    Voice().Start();
    output_->Advance(6);

    EXPECT_EQ(output_->Samples(), a_);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A"));
}

TEST_F(VoiceTest, AFlushSparesTheSoundingBufferAndReportsTheDroppedEndsFirst) {
    Queue(a_, "A");
    Queue(b_, "B");
    Queue(c_, "C", true);
    Voice().Start();
    output_->Advance(3);

    Voice().FlushSourceBuffers();
    output_->Advance(30);

    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end B", "end C", "end A"));
    EXPECT_EQ(output_->Samples(), a_);
}

TEST_F(VoiceTest, ARunningVoiceWhoseFirstBufferHasNotBegunLosesAll) {
    Queue(a_, "A");
    Queue(b_, "B");
    Voice().Start();

    Voice().FlushSourceBuffers();
    EXPECT_EQ(output_->Advance(30), 0);

    EXPECT_THAT(listener_.Heard(), ElementsAre("end A", "end B"));
}

TEST_F(VoiceTest, AStoppedVoiceLosesAllAndNothingBegins) {
    Queue(a_, "A");
    Queue(b_, "B");
    Voice().Start();
    output_->Advance(3);

    Voice().Stop();
    Voice().FlushSourceBuffers();
    EXPECT_EQ(output_->Advance(30), 0);

    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A", "end B"));
    EXPECT_EQ(Voice().GetState().buffersQueued, 0u);
}

TEST_F(VoiceTest, ADroppedEndOfAStreamIsNotReported) {
    Queue(a_, "A", true);

    Voice().FlushSourceBuffers();
    output_->Advance(10);

    EXPECT_THAT(listener_.Heard(), ElementsAre("end A"));
}

TEST_F(VoiceTest, ABufferQueuedAfterAFlushFollowsTheSparedBuffer) {
    Queue(a_, "A");
    Queue(b_, "B");
    Voice().Start();
    output_->Advance(3);

    Voice().FlushSourceBuffers();
    Queue(c_, "C");
    output_->Advance(30);

    std::vector<short> expected = a_;
    expected.insert(expected.end(), c_.begin(), c_.end());
    EXPECT_EQ(output_->Samples(), expected);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end B", "end A", "start C", "end C"));
}

TEST_F(VoiceTest, DroppedBuffersCountUntilTheirEndIsReported) {
    Queue(a_, "A");
    Queue(b_, "B");
    std::vector<unsigned int> counts;
    listener_.onEvent = [&](const std::string&) {
        counts.push_back(Voice().GetState().buffersQueued);
    };

    Voice().FlushSourceBuffers();
    ASSERT_TRUE(listener_.WaitForCount(2));
    output_->Advance(1);

    EXPECT_THAT(counts, ElementsAre(1u, 0u));
}

TEST_F(VoiceTest, TheEndsOfAFlushAreReportedWhenTheDeviceHasStoppedCallingBack) {
    Queue(a_, "A");
    Queue(b_, "B", true);
    Voice().Start();
    output_->Advance(3);
    device_->Stall(true);

    Voice().Stop();
    Voice().FlushSourceBuffers();

    ASSERT_TRUE(listener_.WaitForCount(3));
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A", "end B"));
    EXPECT_EQ(Voice().GetState().buffersQueued, 0u);
}

TEST_F(VoiceTest, TheMemoryOfADroppedBufferIsUnusedAfterTheFlushHasReturned) {
    auto samples = std::make_unique<std::vector<short>>(Counting(5000, 1000));
    Queue(*samples, "A");
    Voice().Start();
    output_->Advance(3);

    Voice().Stop();
    Voice().FlushSourceBuffers();
    samples.reset();
    Voice().Start();

    EXPECT_EQ(output_->Advance(997), 0);
}

TEST_F(VoiceTest, ABufferWithoutAContextIsReportedWithANullContext) {
    device::SourceBuffer buffer = BufferOf(a_, nullptr, true);
    Voice().SubmitSourceBuffer(buffer);
    Voice().Start();

    output_->Advance(10);

    EXPECT_THAT(listener_.Heard(), ElementsAre("start null", "end null", "stream end"));
}

TEST_F(VoiceTest, BuffersWithoutWholeFramesAreRefused) {
    device::SourceBuffer buffer = BufferOf(a_, "A");
    buffer.audioBytes = 0;
    EXPECT_FALSE(Voice().SubmitSourceBuffer(buffer));
    buffer.audioBytes = 6;
    EXPECT_FALSE(Voice().SubmitSourceBuffer(buffer));
    buffer.audioBytes = 8;
    buffer.audioData = nullptr;
    EXPECT_FALSE(Voice().SubmitSourceBuffer(buffer));
    EXPECT_EQ(Voice().GetState().buffersQueued, 0u);
}

TEST_F(VoiceTest, ABufferOfOneFrameIsPlayed) {
    const std::vector<short> frame = {7, -7};
    Queue(frame, "A");
    Voice().Start();

    EXPECT_EQ(output_->Advance(2), 1);

    EXPECT_EQ(output_->Samples(), frame);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A"));
}

TEST_F(VoiceTest, AQueueHasNoLimit) {
    std::vector<std::vector<short>> buffers;
    std::vector<short> expected;
    for (int i = 0; i < 500; ++i) {
        buffers.push_back(Counting(i, 3));
        expected.insert(expected.end(), buffers.back().begin(), buffers.back().end());
    }
    for (const std::vector<short>& buffer : buffers) ASSERT_TRUE(Queue(buffer, "x"));
    EXPECT_EQ(Voice().GetState().buffersQueued, 500u);
    Voice().Start();

    output_->Advance(1600);

    EXPECT_EQ(output_->Samples(), expected);
    EXPECT_EQ(Voice().GetState().buffersQueued, 0u);
}

TEST_F(VoiceTest, NodesOfTheQueueAreRecycledInOrder) {
    std::vector<short> expected;
    std::vector<std::vector<short>> ring(7, std::vector<short>(20));
    Voice().Start();
    for (int i = 0; i < 700; ++i) {
        std::vector<short>& slot = ring[i % ring.size()];
        slot = Counting(i, 10);
        expected.insert(expected.end(), slot.begin(), slot.end());
        ASSERT_TRUE(Queue(slot, "x"));
        output_->Advance(10);
    }

    EXPECT_EQ(output_->Samples(), expected);
}

TEST_F(VoiceTest, ARunningCallbackDelaysNoCommand) {
    std::atomic<bool> release = false;
    listener_.onEvent = [&](const std::string& event) {
        while (event == "stream end" && !release) std::this_thread::yield();
    };
    Queue(a_, "A", true);
    Queue(b_, "B");
    Voice().Start();
    std::thread stepper([&] { output_->Advance(10); });
    ASSERT_TRUE(listener_.WaitFor("stream end"));

    Voice().GetState();
    Queue(c_, "C");
    Voice().Stop();
    Voice().FlushSourceBuffers();
    Voice().Start();
    const bool endsCame = listener_.WaitFor("end C");
    release = true;
    stepper.join();

    EXPECT_TRUE(endsCame);
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A", "stream end", "end B", "end C"));
}

TEST_F(VoiceTest, EveryCommandWorksFromInsideTheStreamEnd) {
    int rounds = 0;
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end" || ++rounds == 3) return;
        Voice().Stop();
        Voice().FlushSourceBuffers();
        Queue(a_, "A", true);
        Voice().Start();
    };
    Queue(a_, "A", true);
    Voice().Start();

    EXPECT_EQ(output_->Advance(100), 30);

    EXPECT_EQ(rounds, 3);
}

TEST_F(VoiceTest, AFlushFromInsideACallbackReportsItsEndsWhileTheCallbackWaits) {
    bool came = false;
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end") return;
        Voice().Stop();
        Voice().FlushSourceBuffers();
        came = listener_.WaitFor("end B");
    };
    Queue(a_, "A", true);
    Queue(b_, "B");
    Voice().Start();

    output_->Advance(10);

    EXPECT_TRUE(came);
}

TEST_F(VoiceTest, APlayingVoiceEndsWithoutReports) {
    Queue(a_, "A", true);
    Queue(b_, "B", true);
    Voice().Start();
    output_->Advance(3);

    open_.voice.reset();
    EXPECT_EQ(output_->Advance(30), 0);

    EXPECT_THAT(listener_.Heard(), ElementsAre("start A"));
}

TEST_F(VoiceTest, TheEndOfAVoiceWaitsForTheCallbackUnderWay) {
    std::atomic<bool> release = false;
    std::atomic<bool> returned = false;
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end") return;
        while (!release) std::this_thread::yield();
        returned = true;
    };
    Queue(a_, "A", true);
    Voice().Start();
    std::thread stepper([&] { output_->Advance(10); });
    ASSERT_TRUE(listener_.WaitFor("stream end"));

    std::thread releaser([&] { release = true; });
    open_.voice.reset();

    EXPECT_TRUE(returned);
    releaser.join();
    stepper.join();
}

TEST_F(VoiceTest, VoicesCanBeReplacedFromInsideACallback) {
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end") return;
        listener_.onEvent = nullptr;
        open_.voice.reset();
        open_.mastering.reset();
        open_.mastering = open_.engine->CreateMasteringVoice(2, 44100);
        ASSERT_NE(open_.mastering, nullptr);
        open_.voice = open_.engine->CreateSourceVoice(*open_.mastering, {2, 44100, 16}, listener_);
        ASSERT_NE(open_.voice, nullptr);
        Queue(b_, "B");
        Voice().Start();
    };
    Queue(a_, "A", true);
    Voice().Start();

    output_->Advance(10);
    ASSERT_EQ(output_->SampleRate(), 44100);
    output_->Advance(10);

    EXPECT_THAT(listener_.Heard(),
                ElementsAre("start A", "end A", "stream end", "start B", "end B"));
}

TEST_F(VoiceTest, AnOpenOutputHasOneSourceVoiceAtATime) {
    Listener other;
    EXPECT_EQ(open_.engine->CreateSourceVoice(*open_.mastering, {2, RATE, 16}, other), nullptr);
    open_.voice.reset();
    open_.voice = open_.engine->CreateSourceVoice(*open_.mastering, {2, RATE, 16}, other);
    ASSERT_NE(open_.voice, nullptr);

    Queue(a_, "A");
    Voice().Start();
    output_->Advance(10);

    EXPECT_THAT(other.Heard(), ElementsAre("start A", "end A"));
    EXPECT_THAT(listener_.Heard(), IsEmpty());
}

TEST_F(VoiceTest, AFormatThatDiffersFromTheOutputMakesNoVoice) {
    open_.voice.reset();

    EXPECT_EQ(open_.engine->CreateSourceVoice(*open_.mastering, {2, 44100, 16}, listener_),
              nullptr);
    EXPECT_EQ(open_.engine->CreateSourceVoice(*open_.mastering, {1, RATE, 16}, listener_), nullptr);
    EXPECT_EQ(open_.engine->CreateSourceVoice(*open_.mastering, {2, RATE, 24}, listener_), nullptr);
    EXPECT_NE(open_.engine->CreateSourceVoice(*open_.mastering, {2, RATE, 16}, listener_), nullptr);
}

TEST(DeviceEngine, AnOutputThatRefusesMakesNoMasteringVoice) {
    const auto output = std::make_shared<StallingOutput>(
        std::make_shared<VirtualOutput>(VirtualOutput::Clock::Stepped));
    output->RefuseToOpen(true);
    const auto engine = device::CreateAudioDevice([&] { return output; });

    EXPECT_EQ(engine->CreateMasteringVoice(2, RATE), nullptr);
    output->RefuseToOpen(false);
    EXPECT_NE(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(DeviceEngine, OnlyTwoChannelsAreOpened) {
    const auto engine = device::CreateAudioDevice(
        [] { return std::make_shared<VirtualOutput>(VirtualOutput::Clock::Stepped); });

    EXPECT_EQ(engine->CreateMasteringVoice(1, RATE), nullptr);
    EXPECT_EQ(engine->CreateMasteringVoice(6, RATE), nullptr);
    EXPECT_NE(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(DeviceEngine, AFactoryWithoutAnOutputIsAFailureOfConstruction) {
    EXPECT_THROW(device::CreateAudioDevice([] { return std::shared_ptr<AudioOutput>(); }),
                 std::runtime_error);
}

TEST(DeviceEngine, ThreadsNeedNoPreparation) {
    const auto engine = device::CreateAudioDevice(
        [] { return std::make_shared<VirtualOutput>(VirtualOutput::Clock::Stepped); });

    EXPECT_TRUE(engine->InitThread());
    engine->UninitThread();
}

}  // namespace
