// SPDX-License-Identifier: MIT
#include "host/play/Transport.h"

#include <gtest/gtest.h>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/VirtualOutput.h"
#include "tests/playback/StallingOutput.h"
#include "tests/support/ProjectBuilder.h"

using namespace orlo::host;
using namespace sonrel_tests;
namespace sonrel = orlo::sonrel;

namespace {

constexpr int FRAME_SAMPLES = 1920;

/// The transport controls on an output that the test steps.
class TransportTest : public testing::Test {
protected:
    void SetUp() override {
        sonrel::SetAudioOutputFactory([this] { return device_; });
        builder_.AddObject(builder_.AddMedia(Counting(10 * FRAME_SAMPLES)), 0, 10);
        engine_ = sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
        engine_->Mixer()->SetDither(sonrel::DitherType::None, 1);
        ASSERT_EQ(engine_->InitializePlaybackEngine(), sonrel::PlaybackEngine::Err::NoError);
        ASSERT_EQ(engine_->Playback()->Initialize(builder_.Project(), builder_.Sequence()),
                  sonrel::PlaybackEngine::Err::NoError);
    }
    void TearDown() override { sonrel::SetAudioOutputFactory(nullptr); }

    std::shared_ptr<sonrel::VirtualOutput> output_ =
        sonrel::VirtualOutput::ToMemory(sonrel::VirtualOutput::Clock::Stepped);
    std::shared_ptr<StallingOutput> device_ = std::make_shared<StallingOutput>(output_);
    ProjectBuilder builder_{{25.0, 48000, 10}};
    std::shared_ptr<sonrel::Sonrel> engine_;
};

TEST_F(TransportTest, TheLastFrameOfABurstOfArrowKeysIsHeard) {
    Transport transport(*engine_->Playback(), {48000, 25.0}, 10 * FRAME_SAMPLES);
    transport.Press(Key::Right);
    output_->Advance(100);
    // The device does not report the end of frame 1 in time for the other keys.
    device_->Stall(true);
    transport.Press(Key::Right);
    transport.Press(Key::Right);
    transport.Press(Key::Right);

    device_->Stall(false);
    for (int look = 0; look < 3; ++look) {
        output_->Advance(FRAME_SAMPLES);
        transport.RetryFrame();
    }

    EXPECT_EQ(transport.Frame(), 4);
    const std::vector<short> heard = output_->Samples();
    ASSERT_GE(heard.size(), 2u);
    // The left value of a sample is its position.
    EXPECT_EQ(heard[heard.size() - 2], 5 * FRAME_SAMPLES - 1);
}

TEST_F(TransportTest, AStepMovesByAFrameOfTheTimelineOnAFinerGrid) {
    // Five frames of the engine are a frame of the timeline.
    Transport transport(*engine_->Playback(), {48000, 5.0, 5}, 10 * FRAME_SAMPLES);

    transport.Press(Key::Right);
    output_->Advance(FRAME_SAMPLES);

    EXPECT_EQ(transport.Frame(), 1);
    // The left value of a sample is its position.
    ASSERT_FALSE(output_->Samples().empty());
    EXPECT_EQ(output_->Samples().front(), 5 * FRAME_SAMPLES);
}

TEST_F(TransportTest, AFrameThatWasHeardIsNotPlayedAgain) {
    Transport transport(*engine_->Playback(), {48000, 25.0}, 10 * FRAME_SAMPLES);
    transport.Press(Key::Right);

    for (int look = 0; look < 3; ++look) {
        output_->Advance(FRAME_SAMPLES);
        transport.RetryFrame();
    }

    EXPECT_EQ(output_->FramesTaken(), FRAME_SAMPLES);
}

}  // namespace
