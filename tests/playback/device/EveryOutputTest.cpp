// SPDX-License-Identifier: MIT
// The guarantees of a voice, on every output that runs without a sound card and at both ends of the
// rates. Nothing here knows when an output pulls.
#include <gmock/gmock.h>

#include <tuple>

#include "tests/playback/device/OutputRig.h"

using namespace sonrel_tests;
using testing::ElementsAre;

namespace {

class EveryOutput : public testing::TestWithParam<std::tuple<OutputKind, int>> {
protected:
    device::SourceVoice& Voice() { return *open_->voice; }
    bool Queue(const std::vector<short>& samples, const char* name, bool endOfStream = false) {
        return Voice().SubmitSourceBuffer(BufferOf(samples, name, endOfStream));
    }
    /// Ends the voices, so that the file of an output is complete.
    void Close() { open_.reset(); }
    int Rate() const { return std::get<1>(GetParam()); }

    // None of the values is 0, to distinguish them from silence.
    const std::vector<short> a_ = Counting(100, 333);
    const std::vector<short> b_ = Counting(5000, 1);
    const std::vector<short> c_ = Counting(9000, 700);
    RunningOutput output_{std::get<0>(GetParam())};
    // The data of the callbacks outlives the device: the last callback may still run when the
    // condition of a test is fulfilled.
    std::atomic<int> rounds_ = 0;
    std::atomic<bool> down_ = false;
    Listener listener_;
    std::unique_ptr<OpenDevice> open_ =
        std::make_unique<OpenDevice>(output_.Factory(), Rate(), listener_);
};

TEST_P(EveryOutput, OpensAtTheRate) {
    ASSERT_NE(open_->mastering, nullptr);
    EXPECT_NE(open_->voice, nullptr);
}

TEST_P(EveryOutput, TheSamplesComeOutUnchangedInOrderAndWithoutAGap) {
    Queue(a_, "A");
    Queue(b_, "B");
    Queue(c_, "C", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));
    Close();

    if (!output_.KeepsSamples()) return;
    std::vector<short> expected = a_;
    expected.insert(expected.end(), b_.begin(), b_.end());
    expected.insert(expected.end(), c_.begin(), c_.end());
    EXPECT_EQ(output_.Sounded(), expected);
}

TEST_P(EveryOutput, StartsEndsAndTheEndOfTheStreamComeInOrder) {
    Queue(a_, "A");
    Queue(b_, "B");
    Queue(c_, "C", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));

    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end A", "start B", "end B", "start C",
                                               "end C", "stream end"));
    EXPECT_EQ(Voice().GetState().buffersQueued, 0u);
}

TEST_P(EveryOutput, CallbacksComeFromAThreadOfTheOutput) {
    Queue(a_, "A", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));

    EXPECT_NE(listener_.Thread(), std::this_thread::get_id());
}

TEST_P(EveryOutput, AFlushOnAStoppedVoiceReportsEveryEndAndStartsNothing) {
    Queue(a_, "A");
    Queue(b_, "B");
    Queue(c_, "C", true);

    Voice().Stop();
    Voice().FlushSourceBuffers();

    ASSERT_TRUE(listener_.WaitForCount(3));
    EXPECT_THAT(listener_.Heard(), ElementsAre("end A", "end B", "end C"));
}

TEST_P(EveryOutput, AVoiceThatIsStoppedAndStartedLosesNothingAndBeginsNothingTwice) {
    Queue(a_, "A");
    Queue(c_, "C", true);
    for (int i = 0; i < 20; ++i) {
        Voice().Start();
        Voice().Stop();
    }
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));
    Close();

    EXPECT_THAT(listener_.Heard(),
                ElementsAre("start A", "end A", "start C", "end C", "stream end"));
    if (!output_.KeepsSamples()) return;
    std::vector<short> expected = a_;
    expected.insert(expected.end(), c_.begin(), c_.end());
    std::vector<short> sounded = output_.Sounded();
    sounded.erase(std::remove(sounded.begin(), sounded.end(), 0), sounded.end());
    EXPECT_EQ(sounded, expected);
}

TEST_P(EveryOutput, AnEmptyQueueContinuesWhenMoreArrives) {
    Queue(a_, "A");
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("end A"));

    Queue(c_, "C", true);

    ASSERT_TRUE(listener_.WaitFor("stream end"));
    EXPECT_THAT(listener_.Heard(),
                ElementsAre("start A", "end A", "start C", "end C", "stream end"));
}

TEST_P(EveryOutput, AStreamCanBeRestartedFromItsOwnEnd) {
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end" || ++rounds_ == 5) return;
        Voice().Stop();
        Voice().FlushSourceBuffers();
        Queue(b_, "B", true);
        Voice().Start();
    };
    Queue(b_, "B", true);
    Voice().Start();

    ASSERT_TRUE(listener_.WaitForCount(15));
    EXPECT_THAT(listener_.Heard(), testing::Contains("stream end").Times(5));
}

TEST_P(EveryOutput, CommandsReturnWhileACallbackIsBlocked) {
    std::atomic<bool> release = false;
    listener_.onEvent = [&](const std::string& event) {
        while (event == "stream end" && !release) std::this_thread::yield();
    };
    Queue(b_, "B", true);
    Queue(a_, "A");
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));

    Voice().Stop();
    Voice().FlushSourceBuffers();
    const bool reported = listener_.WaitFor("end A");
    EXPECT_TRUE(Queue(c_, "C"));
    Voice().Start();
    release = true;

    EXPECT_TRUE(reported);
    EXPECT_TRUE(listener_.WaitFor("end C"));
}

TEST_P(EveryOutput, NothingIsReportedAfterAPlayingVoiceHasEnded) {
    const std::vector<short> slow(static_cast<std::size_t>(Rate()) * 2, 1);
    Queue(slow, "A", true);
    Queue(b_, "B", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("start A"));

    open_->voice.reset();
    const std::size_t heard = listener_.Heard().size();
    open_->mastering.reset();

    EXPECT_EQ(listener_.Heard().size(), heard);
}

TEST_P(EveryOutput, OpensAgainAtAnotherRate) {
    Close();
    open_ = std::make_unique<OpenDevice>(output_.Factory(), 44100, listener_);
    ASSERT_NE(open_->voice, nullptr);

    Queue(a_, "A", true);
    Voice().Start();

    EXPECT_TRUE(listener_.WaitFor("stream end"));
}

TEST_P(EveryOutput, VoicesCanBeDestroyedFromInsideACallback) {
    listener_.onEvent = [&](const std::string& event) {
        if (event != "stream end" || down_) return;
        open_->voice.reset();
        open_->mastering.reset();
        down_ = true;
    };
    Queue(a_, "A", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("stream end"));
    while (!down_) std::this_thread::yield();

    open_->mastering = open_->engine->CreateMasteringVoice(2, 44100);
    ASSERT_NE(open_->mastering, nullptr);
    open_->voice = open_->engine->CreateSourceVoice(*open_->mastering, {2, 44100, 16}, listener_);
    Queue(c_, "C", true);
    Voice().Start();

    EXPECT_TRUE(listener_.WaitFor("end C"));
}

/// The outputs that play in real time.
class OutputInTime : public EveryOutput {};

TEST_P(OutputInTime, AFlushWhilePlayingSparesTheSoundingBufferAndReportsTheOthersFirst) {
    // Longer than the test: the minute is never heard to its end.
    const std::vector<short> minute(static_cast<std::size_t>(Rate()) * 2 * 60, 1);
    Queue(minute, "A");
    Queue(b_, "B");
    Queue(c_, "C", true);
    Voice().Start();
    ASSERT_TRUE(listener_.WaitFor("start A"));

    Voice().FlushSourceBuffers();
    ASSERT_TRUE(listener_.WaitFor("end C"));
    Voice().Stop();
    Voice().FlushSourceBuffers();

    ASSERT_TRUE(listener_.WaitFor("end A"));
    EXPECT_THAT(listener_.Heard(), ElementsAre("start A", "end B", "end C", "end A"));
}

INSTANTIATE_TEST_SUITE_P(Device, EveryOutput,
                         testing::Combine(testing::Values(OutputKind::Stepped, OutputKind::Paced,
                                                          OutputKind::DrainDriven,
                                                          OutputKind::SdlDummy,
                                                          OutputKind::SdlDisk),
                                          testing::Values(8000, 48000, 96000)),
                         [](const testing::TestParamInfo<std::tuple<OutputKind, int>>& run) {
                             return NameOf(std::get<0>(run.param)) +
                                    std::to_string(std::get<1>(run.param));
                         });

INSTANTIATE_TEST_SUITE_P(Device, OutputInTime,
                         testing::Combine(testing::Values(OutputKind::Paced, OutputKind::SdlDummy,
                                                          OutputKind::SdlDisk),
                                          testing::Values(48000)),
                         [](const testing::TestParamInfo<std::tuple<OutputKind, int>>& run) {
                             return NameOf(std::get<0>(run.param)) +
                                    std::to_string(std::get<1>(run.param));
                         });

}  // namespace
