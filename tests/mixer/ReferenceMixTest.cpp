// SPDX-License-Identifier: MIT
// The mixer compared with the reference mix on random scenes and requests: the same codes, bytes
// and meter blocks.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "tests/reference/RandomScene.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

constexpr double FRAME_RATES[] = {23.976, 24000.0 / 1001.0, 24.0, 25.0, 29.97, 30.0, 50.0, 59.94};
constexpr int RATES[] = {44100, 48000, 96000};

int Pick(std::mt19937& random, int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned int>(high - low + 1));
}

/// Frame rate and rate; they determine the kind of the scenes.
class ReferenceMix : public ::testing::TestWithParam<std::tuple<double, int>> {
protected:
    SceneKind Kind() const {
        SceneKind kind;
        kind.settings = {std::get<0>(GetParam()), std::get<1>(GetParam()), 12};
        return kind;
    }

    /// Mixes @p requests requests of @p scene both ways.
    void ExpectSameMix(const reference::Scene& scene, std::mt19937& random, int requests);

private:
    struct Piece {
        long long start = 0;
        int count = 0;
        int rateOverride = 0;
        int sampleRate = 0;
    };
    Piece RandomPiece(const reference::Settings& settings, std::mt19937& random) const;
    void ExpectSamePiece(const RealisedScene& real, MixRig& rig, reference::Mixer& expected,
                         int composition, const Piece& piece);
    void ExpectSameMeters(MixRig& rig, const reference::Mixer& expected, std::size_t tracks);
    void ExpectSameRenders(const reference::Scene& scene, const RealisedScene& real, MixRig& rig,
                           reference::Mixer& expected, std::mt19937& random);
};

ReferenceMix::Piece ReferenceMix::RandomPiece(const reference::Settings& settings,
                                              std::mt19937& random) const {
    Piece piece;
    piece.rateOverride = Pick(random, 0, 7) == 0 ? 1 : 0;
    piece.sampleRate = RATES[Pick(random, 0, 2)];
    const int rate = piece.rateOverride != 0 ? piece.sampleRate : settings.rate;
    const double frame = rate / settings.frameRate;
    const int total = static_cast<int>(settings.frameCount * frame);
    // Beyond the end now and then.
    piece.start = Pick(random, 0, total + 10);
    piece.count = Pick(random, 1, Pick(random, 0, 3) == 0 ? static_cast<int>(2.5 * frame) : 700);
    return piece;
}

void ReferenceMix::ExpectSamePiece(const RealisedScene& real, MixRig& rig,
                                   reference::Mixer& expected, int composition,
                                   const Piece& piece) {
    GuardedBuffer wanted(4 * static_cast<std::size_t>(piece.count));
    auto* samples = reinterpret_cast<short*>(wanted.Data());
    const int code =
        composition < 0
            ? expected.GetSequenceSamples(piece.start, piece.count, samples, piece.rateOverride,
                                          piece.sampleRate)
            : expected.GetCompositionSamples(composition, piece.start, piece.count, samples,
                                             piece.rateOverride, piece.sampleRate, true);

    const Mix mix =
        composition < 0
            ? rig.Request(real.Project(), real.Sequence(), piece.start, piece.count,
                          piece.rateOverride, piece.sampleRate)
            : rig.Request(real.Project(), real.Composition(static_cast<std::size_t>(composition)),
                          piece.start, piece.count, piece.rateOverride, piece.sampleRate);

    ASSERT_EQ(mix.result, code);
    ASSERT_TRUE(mix.buffer.GuardsIntact());
    const std::vector<short> got = mix.buffer.Values();
    const std::vector<short> want = wanted.Values();
    const auto at = std::mismatch(got.begin(), got.end(), want.begin()).first;
    ASSERT_TRUE(at == got.end()) << "differs at value " << at - got.begin() << " of composition "
                                 << composition << ", start " << piece.start << ", count "
                                 << piece.count << ", override " << piece.rateOverride << " "
                                 << piece.sampleRate;
}

void ExpectSameBlock(const sonrel::AudioTrackMetrics& got, const sonrel::AudioTrackMetrics& want) {
    ASSERT_EQ(got.sampleCount, want.sampleCount);
    for (int channel = 0; channel < 2; ++channel) {
        ASSERT_EQ(got.peak[channel], want.peak[channel]);
        ASSERT_EQ(got.clipped[channel], want.clipped[channel]);
    }
}

void ReferenceMix::ExpectSameMeters(MixRig& rig, const reference::Mixer& expected,
                                    std::size_t tracks) {
    const auto& blocks = expected.MasterMeter().Blocks();
    ASSERT_EQ(rig.Mixer().MeterBlockCount(), blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const sonrel::AudioMetrics metrics = rig.Mixer().MetricsForBlock(i);
        ExpectSameBlock(metrics.masterMetrics, blocks[i]);
        ASSERT_EQ(metrics.trackMetrics.size(), tracks);
        for (std::size_t track = 0; track < tracks; ++track) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameBlock(metrics.trackMetrics[track],
                                                    expected.TrackMeter(track).Blocks()[i]));
        }
    }
}

void ExpectSameRender(const Rendered& got, int code, const std::vector<short>& want) {
    ASSERT_EQ(got.result, code);
    if (code < 1) return;
    const std::vector<short> valid = got.Valid();
    ASSERT_EQ(got.bytes.size(), 2 * want.size());
    ASSERT_TRUE(std::equal(valid.begin(), valid.end(), want.begin()));
}

void ReferenceMix::ExpectSameRenders(const reference::Scene& scene, const RealisedScene& real,
                                     MixRig& rig, reference::Mixer& expected,
                                     std::mt19937& random) {
    const int rate = scene.sequence.settings.rate;
    const auto effectID = [](auto& placed, int index) {
        return index < 0 ? zrtl::ZRID() : placed.Effects()[static_cast<std::size_t>(index)]->ID();
    };
    const auto stopOf = [&](const reference::Clip& clip) {
        return Pick(random, -1, static_cast<int>(clip.effects.size()) - 1);
    };
    for (std::size_t t = 0; t < scene.sequence.tracks.size(); ++t) {
        const auto& clips = scene.sequence.tracks[t].clips;
        for (std::size_t c = 0; c < clips.size(); ++c) {
            const int stop = stopOf(clips[c]);
            const long long start = Pick(random, 0, 30000);
            Rendered got;
            got.result =
                rig.Mixer().GetSamples(real.Project(), real.Sequence(), real.Object(t, c), start,
                                       300, rate, got.bytes, effectID(*real.Object(t, c), stop));
            std::vector<short> want;
            const int code = expected.RenderObject(clips[c], start, 300, rate, want, stop);
            ASSERT_NO_FATAL_FAILURE(ExpectSameRender(got, code, want));
        }
    }
    for (std::size_t i = 0; i < scene.compositions.size(); ++i) {
        const reference::Composition& composition = scene.compositions[i];
        for (std::size_t c = 0; c < composition.layers.size(); ++c) {
            const int stop = stopOf(composition.layers[c]);
            const long long start = Pick(random, 0, 30000);
            Rendered got;
            got.result = rig.Mixer().GetSamples(real.Project(), real.Layer(i, c), start, 300, rate,
                                                got.bytes, effectID(*real.Layer(i, c), stop));
            std::vector<short> want;
            const int code = expected.RenderLayer(composition, composition.layers[c], start, 300,
                                                  rate, want, stop);
            ASSERT_NO_FATAL_FAILURE(ExpectSameRender(got, code, want));
        }
    }
}

void ReferenceMix::ExpectSameMix(const reference::Scene& scene, std::mt19937& random,
                                 int requests) {
    const RealisedScene real(scene);
    MixRig rig;
    reference::Mixer expected(scene);
    const auto dither = static_cast<sonrel::DitherType>(Pick(random, 0, 2));
    const unsigned int seed = 1 + random() % 1000;
    rig.Mixer().SetDither(dither, seed);
    expected.SetDither(dither, seed);
    // A composition feeds the master meter only: within one session the blocks of the tracks would
    // no longer match the blocks of the master.
    const bool metered = Pick(random, 0, 1) == 0;
    const bool ofCompositions = !scene.compositions.empty() && Pick(random, 0, 1) == 0;
    const std::size_t tracks = ofCompositions ? 0 : scene.sequence.tracks.size();
    if (metered) {
        const int blockFrames = Pick(random, 1, 999);
        rig.Mixer().StartMeterSession(tracks, blockFrames);
        expected.StartMeterSession(tracks, blockFrames);
    }
    for (int i = 0; i < requests; ++i) {
        const int composition =
            ofCompositions ? Pick(random, 0, static_cast<int>(scene.compositions.size()) - 1) : -1;
        const reference::Settings& settings =
            composition < 0 ? scene.sequence.settings
                            : scene.compositions[static_cast<std::size_t>(composition)].settings;
        ASSERT_NO_FATAL_FAILURE(
            ExpectSamePiece(real, rig, expected, composition, RandomPiece(settings, random)));
    }
    ASSERT_NO_FATAL_FAILURE(ExpectSameRenders(scene, real, rig, expected, random));
    if (!metered) return;
    ASSERT_NO_FATAL_FAILURE(ExpectSameMeters(rig, expected, tracks));
}

TEST_P(ReferenceMix, OfObjectsLevelsBalanceAndSpeedIsTheSame) {
    std::mt19937 random(100);
    for (int scene = 0; scene < 40; ++scene) {
        SCOPED_TRACE("scene " + std::to_string(scene));
        ASSERT_NO_FATAL_FAILURE(ExpectSameMix(MakeRandomScene(Kind(), random), random, 6));
    }
}

TEST_P(ReferenceMix, WithEffectsAndTransitionsIsTheSame) {
    std::mt19937 random(200);
    SceneKind kind = Kind();
    kind.effects = true;
    kind.transitions = true;
    for (int scene = 0; scene < 40; ++scene) {
        SCOPED_TRACE("scene " + std::to_string(scene));
        ASSERT_NO_FATAL_FAILURE(ExpectSameMix(MakeRandomScene(kind, random), random, 6));
    }
}

TEST_P(ReferenceMix, OfNestedCompositionsIsTheSame) {
    std::mt19937 random(300);
    SceneKind kind = Kind();
    kind.effects = true;
    kind.compositions = true;
    for (int scene = 0; scene < 30; ++scene) {
        SCOPED_TRACE("scene " + std::to_string(scene));
        ASSERT_NO_FATAL_FAILURE(ExpectSameMix(MakeRandomScene(kind, random), random, 5));
    }
}

std::string NameOf(const ::testing::TestParamInfo<std::tuple<double, int>>& info) {
    std::string name = std::to_string(std::get<0>(info.param)) + "fps_" +
                       std::to_string(std::get<1>(info.param)) + "Hz";
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Rates, ReferenceMix,
                         ::testing::Combine(::testing::ValuesIn(FRAME_RATES),
                                            ::testing::ValuesIn(RATES)),
                         NameOf);

}  // namespace
}  // namespace sonrel_tests
