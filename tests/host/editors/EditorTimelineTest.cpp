// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>

#include "tests/host/ProgramRun.h"
#include "tests/support/WaveBytes.h"

/// Timelines as editing programs and adapters write them, and the levels that are heard.
namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

constexpr int TONE_RATE = 48000;
constexpr double TONE = 16000.0;

using Factors = std::pair<double, double>;

/// A WAV of ten seconds of stereo whose samples all are TONE.
std::string SteadyTone() {
    std::string frame = Little(static_cast<std::uint16_t>(TONE), 2);
    frame += frame;
    std::string samples;
    for (int i = 0; i < 10 * TONE_RATE; ++i) samples += frame;
    return Riff(Chunk("fmt ", PcmFormat(1, 2, TONE_RATE, 16)) + Chunk("data", samples));
}

class EditorTimeline : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"tone.wav", "timecoded.wav"}) {
            WriteFile(shop_.Work(name), SteadyTone());
        }
    }

    /// Mixes a timeline of this folder.
    void Mix(const std::string& name) {
        fs::copy_file(fs::path(SONREL_EDITOR_TIMELINES) / name, shop_.Work(name));
        result_ = shop_.Run({"mix", "@" + name, "-o", "@out.wav", "--dither", "none", "--json"});
        ASSERT_EQ(result_.exitCode, 0) << result_.err;
        const std::string bytes = ReadFile(shop_.Work("out.wav"));
        samples_ = bytes.substr(bytes.find("data") + 8);
    }

    /// The factors by which left and right of the tone are heard.
    Factors FactorsAt(double seconds) const {
        const auto frame = static_cast<std::size_t>(std::llround(seconds * TONE_RATE));
        return {Value(2 * frame) / TONE, Value(2 * frame + 1) / TONE};
    }

    void ExpectFactors(double seconds, double left, double right, double tolerance = 0.004) const {
        const Factors heard = FactorsAt(seconds);
        EXPECT_NEAR(heard.first, left, tolerance) << seconds << " s, left";
        EXPECT_NEAR(heard.second, right, tolerance) << seconds << " s, right";
    }

    /// The level of a key frame curve is read once a frame, every 40 ms.
    void ExpectMovingFactors(double seconds, double left, double right) const {
        constexpr double TOLERANCE = 0.02;
        ExpectFactors(seconds, left, right, TOLERANCE);
    }

    /// The entries, each as "what: reason".
    std::vector<std::string> Entries() const {
        const nlohmann::json report = result_.Json();
        std::vector<std::string> entries;
        for (const auto& entry : report.at("notTakenOver")) {
            entries.push_back(entry.at("what").get<std::string>() + ": " +
                              entry.at("reason").get<std::string>());
        }
        return entries;
    }

    Workshop shop_;
    ProgramResult result_;

private:
    double Value(std::size_t sample) const {
        const auto low = static_cast<unsigned char>(samples_.at(2 * sample));
        const auto high = static_cast<unsigned char>(samples_.at(2 * sample + 1));
        return static_cast<std::int16_t>(low | high << 8);
    }

    std::string samples_;
};

using Lines = std::vector<std::string>;

TEST_F(EditorTimeline, PremiereVolumeMuteFaderAndPanAreHeard) {
    Mix("premiere.otio");

    // -6 dB of the clip, and the fader at half.
    ExpectFactors(0.5, 0.501 * 0.5, 0.501 * 0.5);
    ExpectFactors(1.5, 0.0, 0.0);
    // A factor that falls from 1 to 0, with the fader at half.
    ExpectMovingFactors(2.02, 0.98 * 0.5, 0.98 * 0.5);
    ExpectMovingFactors(2.25, 0.75 * 0.5, 0.75 * 0.5);
    ExpectMovingFactors(2.75, 0.25 * 0.5, 0.25 * 0.5);
    ExpectFactors(3.5, 1.0, 0.0);
    ASSERT_EQ(Entries().size(), 2u) << result_.out;
    EXPECT_EQ(Entries()[0], "effect 'Studio Reverb': it is not imported");
    EXPECT_EQ(Entries()[1].substr(0, 11), "video track");
}

TEST_F(EditorTimeline, ResolveVolumeFadesAndPanAreHeardAndADisabledEqualiserIsNoLoss) {
    Mix("resolve.otio");

    const double volume = 0.501;
    // Equal power: sin(pi / 2 * t) of the way in and cos of the way out.
    ExpectFactors(0.5, volume * 0.707, volume * 0.707);
    ExpectFactors(1.3, volume, volume);
    ExpectFactors(1.8, volume * 0.707, volume * 0.707);
    ExpectFactors(2.5, 1.0, 0.5);
    // Key frames are interpolated in decibels: -10 dB after half of the way to -20 dB.
    ExpectMovingFactors(3.5, 0.316, 0.158);
    EXPECT_EQ(Entries(), Lines{}) << result_.out;
}

TEST_F(EditorTimeline, LevelsAndPansOfFcp7FiltersAreHeard) {
    Mix("fcp7.otio");

    ExpectFactors(0.5, 0.5, 0.5);
    ExpectFactors(1.5, 1.0, 1.0);
    // Key frames count frames of the media from its beginning, also where it has a timecode.
    ExpectMovingFactors(2.02, 0.99, 0.99);
    ExpectMovingFactors(2.5, 0.75, 0.75);
    ExpectFactors(3.5, 0.0, 1.0);
    EXPECT_EQ(Entries(), Lines{"effect 'Band Pass Filter': it is not imported"}) << result_.out;
}

TEST_F(EditorTimeline, GainsPansAndFadesOfAafAreHeard) {
    Mix("aaf.otio");

    // The track is panned by a half to the left.
    ExpectFactors(0.5, 0.5, 0.25);
    ExpectMovingFactors(1.5, 0.75, 0.375);
    ExpectFactors(2.24, 0.707, 0.354);
    ExpectFactors(2.75, 1.0, 0.5);
    ExpectFactors(3.5, 0.0, 1.0);
    EXPECT_EQ(Entries(), Lines{"effect 'Audio EQ': it is not imported"}) << result_.out;
}

TEST_F(EditorTimeline, AFadeNextToAGapIsHeard) {
    Mix("hiero.otio");

    ExpectFactors(0.5, 0.0, 0.0);
    ExpectFactors(1.2, 0.707, 0.707);
    ExpectFactors(1.7, 1.0, 1.0);
    EXPECT_EQ(Entries(), Lines{}) << result_.out;
}

}  // namespace
}  // namespace sonrel_tests
