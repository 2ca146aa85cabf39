// SPDX-License-Identifier: MIT
// Mixes of one range with several jobs, with the plugins of the pack.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/mix/MixRender.h"
#include "host/shell/Errors.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/support/MixRig.h"

namespace orlo::host {
namespace {

using sonrel_tests::MixRig;
using sonrel_tests::Noise;
using sonrel_tests::ProjectBuilder;
using sonrel_tests::Samples;

constexpr int RANGE_FRAMES = 20;

/// Stores the samples that a mix writes.
class SamplesWriter : public SoundWriter {
public:
    void Write(const short* frames, long long count) override {
        samples.insert(samples.end(), frames, frames + 2 * count);
    }
    void Seal() override {}
    void Finish() override {}

    Samples samples;
};

/// Twenty frames at 29.97 frames a second, whose lengths are 1601 and 1602 samples. Every effect of
/// the pack, a transition, and a composition inside a composition.
class MixWorkersTest : public testing::Test {
protected:
    MixWorkersTest() {
        const auto a = builder_.AddMedia(Noise(40000, 1));
        const auto b = builder_.AddMedia(Noise(40000, 2));
        const sonrel_tests::Format format{grid_.fps, grid_.rate, RANGE_FRAMES};
        const auto inner = builder_.AddComposition(format);
        builder_.AddLayer(inner, a, 0, 15)->Animation().SetStaticValue("audioLevel", -3.3F);
        const auto outer = builder_.AddComposition(format);
        builder_.AddLayer(outer, inner, 1, 16);
        const auto track = builder_.AddTrack();
        const auto first = builder_.AddObject(track, outer, 0, 10);
        const auto second = builder_.AddObject(track, b, 10, 20);
        const auto join = std::make_shared<project::Transition>(
            sonrel::PluginPack::CreateTransition("cross-fade"), first->ID(), second->ID(), 6, -3);
        first->SetOutgoingTransition(join);
        second->SetIncomingTransition(join);
        const auto filtered = builder_.AddObject(b, 2, 18);
        for (const sonrel::PluginPack::PluginInfo& effect : sonrel::PluginPack::Effects()) {
            if (effect.name == "fade") continue;
            filtered->AddEffect(sonrel::PluginPack::CreateEffect(effect.name));
        }
        filtered->AddEffect(sonrel::PluginPack::CreateEffect(
            "fade", {{"inFrames", 4.0}, {"objectFrames", 16.0}, {"frameRate", grid_.fps}}));
        filtered->Animation().SetStaticValue("speed", 1.25);
    }

    MixSource Source() const { return {builder_.Project(), builder_.Sequence()}; }

    zrtl::FrameRange Span() const { return {700, grid_.Start(RANGE_FRAMES) - 300}; }

    /// The samples of a mix and of two stems, one after the other, and the meter blocks of the mix.
    std::pair<Samples, std::vector<sonrel::AudioMetrics>> Mix(int jobs, sonrel::DitherType dither) {
        MixRig rig;
        MixRig stems;
        rig.Mixer().SetDither(dither, 5);
        stems.Mixer().SetDither(dither, 5);
        rig.Mixer().StartMeterSession(2, 999);
        SamplesWriter writers[3];
        MixSink mix(&writers[0], nullptr);
        MixSink first(&writers[1], nullptr);
        MixSink second(&writers[2], nullptr);
        Progress progress(ProgressMode::None, true);
        RenderFrames({{&rig.Mixer(), {{Source(), &mix}}},
                      {&stems.Mixer(), {{Source(), &first}, {Source(), &second}}}},
                     {grid_, Span(), jobs, {}}, progress);
        rig.Mixer().StopMeterSession();
        std::vector<sonrel::AudioMetrics> blocks;
        for (unsigned long long i = 0; i < rig.Mixer().MeterBlockCount(); ++i) {
            blocks.push_back(rig.Mixer().MetricsForBlock(i));
        }
        Samples samples;
        for (const SamplesWriter& writer : writers) {
            samples.insert(samples.end(), writer.samples.begin(), writer.samples.end());
        }
        return {samples, blocks};
    }

    const FrameGrid grid_{48000, 30000.0 / 1001.0};
    ProjectBuilder builder_{{30000.0 / 1001.0, 48000, RANGE_FRAMES}};
};

bool Same(const sonrel::AudioTrackMetrics& a, const sonrel::AudioTrackMetrics& b) {
    return a.sampleCount == b.sampleCount && a.peak[0] == b.peak[0] && a.peak[1] == b.peak[1] &&
           a.clipped[0] == b.clipped[0] && a.clipped[1] == b.clipped[1];
}

bool Same(const sonrel::AudioMetrics& a, const sonrel::AudioMetrics& b) {
    return Same(a.masterMetrics, b.masterMetrics) && a.trackMetrics.size() == 2 &&
           b.trackMetrics.size() == 2 && Same(a.trackMetrics[0], b.trackMetrics[0]) &&
           Same(a.trackMetrics[1], b.trackMetrics[1]);
}

TEST_F(MixWorkersTest, AnyNumberOfJobsReturnsTheSamplesAndTheMetersOfOne) {
    for (const auto dither : {sonrel::DitherType::None, sonrel::DitherType::Triangular,
                              sonrel::DitherType::HighPassTriangular}) {
        const auto [samples, blocks] = Mix(1, dither);
        ASSERT_EQ(std::ssize(samples), 3 * 2 * Span().Count());
        ASSERT_GT(blocks.size(), 20u);
        for (const int jobs : {2, 3, 7}) {
            const auto [sharedSamples, sharedBlocks] = Mix(jobs, dither);

            EXPECT_TRUE(sharedSamples == samples) << jobs;
            EXPECT_TRUE(
                std::equal(blocks.begin(), blocks.end(), sharedBlocks.begin(), sharedBlocks.end(),
                           [](const auto& one, const auto& other) { return Same(one, other); }))
                << jobs;
        }
    }
}

TEST_F(MixWorkersTest, OfSeveralFailuresTheEarliestIsReported) {
    const auto missing = [&](const std::wstring& name, int startFrame) {
        const auto media = builder_.AddMedia(Noise(4000, 3));
        media->AudioStream()->SetConformedFile(name, grid_.rate);
        media->AudioStream()->SetConformedSampleCount(4000);
        builder_.AddObject(media, startFrame, startFrame + 2);
    };
    for (int frame = 18; frame >= 8; frame -= 2) missing(L"/gone" + std::to_wstring(frame), frame);

    for (const int jobs : {1, 2, 3, 7}) {
        try {
            Mix(jobs, sonrel::DitherType::None);
            FAIL();
        } catch (const JobError& error) {
            EXPECT_NE(std::string(error.what()).find("/gone8'"), std::string::npos) << error.what();
        }
    }
}

TEST_F(MixWorkersTest, AFailedWriterEndsTheMix) {
    class FullDisk : public SamplesWriter {
        void Write(const short*, long long) override { throw JobError("the disk is full"); }
    };
    MixRig rig;
    FullDisk writer;
    MixSink sink(&writer, nullptr);
    Progress progress(ProgressMode::None, true);

    EXPECT_THROW(
        RenderFrames({{&rig.Mixer(), {{Source(), &sink}}}}, {grid_, Span(), 3, {}}, progress),
        JobError);
}

}  // namespace
}  // namespace orlo::host
