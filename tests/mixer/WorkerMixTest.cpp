// SPDX-License-Identifier: MIT
// One mix, shared by several mixers on several threads.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/reference/RandomScene.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

constexpr int WORKER_RATE = 48000;
constexpr int WORKER_FRAMES = 12;
constexpr int TOTAL = WORKER_FRAMES * WORKER_RATE / 25;
constexpr int METER_BLOCK = 777;

struct Piece {
    int start = 0;
    int count = 0;
};

/// The requests of a mix, some of them longer than a video frame.
std::vector<Piece> RandomPieces(std::mt19937& random) {
    std::vector<Piece> pieces;
    for (int start = 0; start < TOTAL;) {
        const int count = std::min<int>(1 + static_cast<int>(random() % 2500), TOTAL - start);
        pieces.push_back({start, count});
        start += count;
    }
    return pieces;
}

SceneKind NestedKind() {
    SceneKind kind;
    kind.settings = {25.0, WORKER_RATE, WORKER_FRAMES};
    kind.effects = kind.transitions = kind.compositions = true;
    return kind;
}

/// The sequence of a scene, or one of its compositions with the same length.
template <class Timeline>
struct SharedMix {
    std::shared_ptr<project::Project> project;
    std::shared_ptr<Timeline> timeline;
    std::vector<Piece> pieces;
    std::size_t tracks = 0;

    void Render(const sonrel::AudioMixer& mixer, const Piece& piece, Samples& output) const {
        auto* const room = reinterpret_cast<unsigned char*>(output.data() + 2 * piece.start);
        ASSERT_EQ(mixer.GetSamples(project, timeline, piece.start, piece.count, room,
                                   4 * piece.count, 0, 0),
                  piece.count);
    }

    Samples Alone(sonrel::AudioMixer& mixer) const {
        mixer.StartMeterSession(tracks, METER_BLOCK);
        Samples output(2 * TOTAL);
        for (const Piece& piece : pieces) Render(mixer, piece, output);
        mixer.StopMeterSession();
        return output;
    }

    /// Every piece whose number has the remainder @p share.
    void RenderShare(sonrel::AudioMixer& mixer, std::size_t share, std::size_t jobs,
                     Samples& output) const {
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const Piece& piece = pieces[i];
            if (i % jobs == share) {
                Render(mixer, piece, output);
            } else {
                mixer.SkipSamples(
                    mixer.NoiseSamples(project, timeline, piece.start, piece.count, 0, 0),
                    piece.count);
            }
        }
        mixer.StopMeterSession();
    }

    Samples Shared(sonrel::AudioMixer& mixer, std::size_t jobs) const {
        mixer.StartMeterSession(tracks, METER_BLOCK);
        std::vector<std::shared_ptr<sonrel::AudioMixer>> workers;
        for (std::size_t i = 0; i < jobs; ++i) workers.push_back(mixer.CreateWorker());
        mixer.StopMeterSession();
        Samples output(2 * TOTAL);
        {
            std::vector<std::jthread> threads;
            for (std::size_t i = 0; i < jobs; ++i) {
                threads.emplace_back([&, i] { RenderShare(*workers[i], i, jobs, output); });
            }
        }
        for (const auto& worker : workers) mixer.AddMeterBlocks(*worker);
        return output;
    }
};

bool SameMetrics(const sonrel::AudioTrackMetrics& a, const sonrel::AudioTrackMetrics& b) {
    return a.sampleCount == b.sampleCount && a.peak[0] == b.peak[0] && a.peak[1] == b.peak[1] &&
           a.clipped[0] == b.clipped[0] && a.clipped[1] == b.clipped[1];
}

void ExpectSameMeters(const sonrel::AudioMixer& got, const sonrel::AudioMixer& want) {
    ASSERT_EQ(got.MeterBlockCount(), want.MeterBlockCount());
    for (unsigned long long i = 0; i < want.MeterBlockCount(); ++i) {
        const sonrel::AudioMetrics a = got.MetricsForBlock(i);
        const sonrel::AudioMetrics b = want.MetricsForBlock(i);
        EXPECT_TRUE(SameMetrics(a.masterMetrics, b.masterMetrics)) << "master, block " << i;
        ASSERT_EQ(a.trackMetrics.size(), b.trackMetrics.size());
        for (std::size_t track = 0; track < b.trackMetrics.size(); ++track) {
            EXPECT_TRUE(SameMetrics(a.trackMetrics[track], b.trackMetrics[track]))
                << "track " << track << ", block " << i;
        }
    }
}

template <class Timeline>
void ExpectSameInShares(const SharedMix<Timeline>& mix, int dither) {
    MixRig alone;
    alone.Mixer().SetDither(static_cast<sonrel::DitherType>(dither), 7);
    const Samples expected = mix.Alone(alone.Mixer());
    for (const std::size_t jobs : {1, 2, 3, 7}) {
        SCOPED_TRACE(std::to_string(jobs) + " workers, dither " + std::to_string(dither));
        MixRig rig;
        rig.Mixer().SetDither(static_cast<sonrel::DitherType>(dither), 7);

        const Samples shared = mix.Shared(rig.Mixer(), jobs);

        EXPECT_TRUE(shared == expected);
        ASSERT_NO_FATAL_FAILURE(ExpectSameMeters(rig.Mixer(), alone.Mixer()));
    }
}

TEST(WorkerMix, OfOneSequenceHasTheBytesAndTheMetersOfOneMixer) {
    std::mt19937 random(1500);
    for (int scene = 0; scene < 30; ++scene) {
        SCOPED_TRACE("scene " + std::to_string(scene));
        const RealisedScene real(MakeRandomScene(NestedKind(), random));
        const SharedMix<project::EditorSequence> mix{real.Project(), real.Sequence(),
                                                     RandomPieces(random),
                                                     real.Sequence()->AudioTracks().size()};

        ASSERT_NO_FATAL_FAILURE(ExpectSameInShares(mix, scene % 3));
    }
}

TEST(WorkerMix, OfOneCompositionHasTheBytesAndTheMetersOfOneMixer) {
    std::mt19937 random(1600);
    for (int round = 0; round < 18; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        reference::Scene scene = MakeRandomScene(NestedKind(), random);
        scene.compositions[0].settings = scene.sequence.settings;
        const RealisedScene real(scene);
        const SharedMix<project::CompositionAsset> mix{real.Project(), real.Composition(0),
                                                       RandomPieces(random), 0};

        ASSERT_NO_FATAL_FAILURE(ExpectSameInShares(mix, 1 + round % 2));
    }
}

TEST(WorkerMix, ContinuesTheNoiseOfARandomSeed) {
    std::mt19937 random(1700);
    const RealisedScene real(MakeRandomScene(NestedKind(), random));
    const SharedMix<project::EditorSequence> mix{real.Project(), real.Sequence(),
                                                 RandomPieces(random), 0};
    MixRig rig;
    rig.Mixer().SetDither(sonrel::DitherType::HighPassTriangular,
                          sonrel::AudioMixer::DITHER_SEED_RANDOM);
    const auto worker = rig.Mixer().CreateWorker();

    const Samples shared = mix.Shared(rig.Mixer(), 3);

    EXPECT_TRUE(mix.Alone(*worker) == shared);
}

TEST(NoiseSamples, OfASequenceWithoutCompositionsAreTheSamplesOfTheRequest) {
    ProjectBuilder builder({25.0, WORKER_RATE, WORKER_FRAMES});
    MixRig rig;

    EXPECT_EQ(rig.Mixer().NoiseSamples(builder.Project(), builder.Sequence(), 100, 5000, 0, 0),
              5000);
}

TEST(NoiseSamples, OfARequestThatIsRefusedAreNone) {
    ProjectBuilder builder({25.0, WORKER_RATE, WORKER_FRAMES});
    MixRig rig;

    EXPECT_EQ(rig.Mixer().NoiseSamples(builder.Project(), builder.Sequence(), TOTAL, 1, 0, 0), 0);
}

TEST(NoiseSamples, IncludeThoseOfEachNestedComposition) {
    ProjectBuilder builder({25.0, WORKER_RATE, WORKER_FRAMES});
    const auto inner = builder.AddComposition({25.0, WORKER_RATE, WORKER_FRAMES});
    builder.AddObject(inner, 0, WORKER_FRAMES);
    MixRig rig;

    EXPECT_EQ(rig.Mixer().NoiseSamples(builder.Project(), builder.Sequence(), 0, 1920, 0, 0),
              2 * 1920);
}

TEST(SkipSamples, FeedsSilenceToEveryMeter) {
    MixRig rig;
    rig.Mixer().StartMeterSession(1, 100);

    rig.Mixer().SkipSamples(0, 250);

    rig.Mixer().StopMeterSession();
    ASSERT_EQ(rig.Mixer().MeterBlockCount(), 3u);
    EXPECT_EQ(rig.Mixer().MetricsForBlock(2).masterMetrics.sampleCount, 50);
    EXPECT_EQ(rig.Mixer().MetricsForBlock(2).trackMetrics[0].sampleCount, 50);
}

}  // namespace
}  // namespace sonrel_tests
