// SPDX-License-Identifier: MIT

// Compares the meter with another implementation of the standard.
#include <ebur128.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/loudness/LoudnessSignals.h"

namespace orlo::sonrel {
namespace {

using sonrel_tests::Frames;
using sonrel_tests::ToShort;

constexpr int RATES[] = {8000, 11025, 22050, 44100, 48000, 88200, 96000, 176400, 192000};
constexpr double MAX_LUFS_DIFFERENCE = 0.01;
constexpr double MAX_PEAK_DIFFERENCE = 0.05;
constexpr int SECONDS = 7;

struct Delete {
    void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};
using Library = std::unique_ptr<ebur128_state, Delete>;

Library MakeLibrary(int rate, int mode) {
    return Library(ebur128_init(2, static_cast<unsigned long>(rate), mode));
}

double LibraryPeakDb(const Library& library) {
    double left = 0.0;
    double right = 0.0;
    ebur128_true_peak(library.get(), 0, &left);
    ebur128_true_peak(library.get(), 1, &right);
    return 20.0 * std::log10(std::max(left, right));
}

// ---- Signals -----------------------------------------------------------------------------------

Frames Noise(int rate) {
    return sonrel_tests::WhiteNoise(static_cast<std::size_t>(SECONDS) * rate, 21);
}

/// Chords with a beat, and noise below 2000 Hz.
Frames Music(int rate) {
    std::mt19937 random(22);
    Frames frames;
    double noise = 0.0;
    for (int i = 0; i < SECONDS * rate; ++i) {
        const double time = static_cast<double>(i) / rate;
        noise += (static_cast<double>(random() % 2001) / 1000.0 - 1.0 - noise) *
                 std::min(1.0, 2.0 * std::numbers::pi * 2000.0 / rate);
        const double beat = std::exp(-6.0 * std::fmod(time, 0.5));
        double chord = 0.0;
        for (const double hertz : {55.0, 220.0, 277.2, 329.6, 1318.5}) {
            chord += std::sin(2.0 * std::numbers::pi * hertz * time);
        }
        const double left = beat * (2500.0 * chord + 6000.0 * noise);
        const double right = 1500.0 * chord + beat * 9000.0 * noise;
        frames.insert(frames.end(), {ToShort(left), ToShort(right)});
    }
    return frames;
}

/// Syllables with pauses between the words, on one channel.
Frames Speech(int rate) {
    Frames frames;
    for (int i = 0; i < SECONDS * rate; ++i) {
        const double time = static_cast<double>(i) / rate;
        const double pitch = 120.0 * time + std::sin(5.0 * time);
        const double syllable = std::max(0.0, std::sin(2.0 * std::numbers::pi * 4.0 * time));
        const double word = std::fmod(time, 1.7) < 1.1 ? 1.0 : 0.002;
        double voice = 0.0;
        for (int harmonic = 1; harmonic * 120 < std::min(rate / 2, 3000); ++harmonic) {
            voice += std::sin(2.0 * std::numbers::pi * harmonic * pitch) / harmonic;
        }
        frames.insert(frames.end(), {ToShort(9000.0 * word * syllable * voice), 0});
    }
    return frames;
}

/// Clicks and short bursts of full scale in near silence.
Frames Bursts(int rate) {
    Frames frames = sonrel_tests::WhiteNoise(static_cast<std::size_t>(SECONDS) * rate, 23);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const double time = static_cast<double>(i / 2) / rate;
        if (std::fmod(time, 0.9) > 0.03) frames[i] = static_cast<short>(frames[i] >> 12);
    }
    return frames;
}

/// A few seconds of sound after silence.
Frames LateTone(int rate) {
    Frames frames;
    sonrel_tests::AppendSilence(frames, rate, 2.33);
    sonrel_tests::AppendTone(frames, rate, 2.5, -3.0);
    sonrel_tests::AppendSilence(frames, rate, 2.17);
    return frames;
}

// ---- Comparisons -------------------------------------------------------------------------------

/// The range of the short-term loudness after every 100 milliseconds, as EBU Tech 3342 has it.
double RangeOf(std::vector<double> loudness) {
    std::erase_if(loudness, [](double lufs) { return !(lufs > -70.0); });
    double sum = 0.0;
    for (const double lufs : loudness) sum += std::pow(10.0, lufs / 10.0);
    const double gate = 10.0 * std::log10(sum / static_cast<double>(loudness.size())) - 20.0;
    std::erase_if(loudness, [gate](double lufs) { return lufs < gate; });
    std::sort(loudness.begin(), loudness.end());
    const auto last = static_cast<double>(loudness.size() - 1);
    return loudness[static_cast<std::size_t>(std::lround(0.95 * last))] -
           loudness[static_cast<std::size_t>(std::lround(0.10 * last))];
}

void ExpectSame(const std::optional<double>& own, double other, const char* what) {
    if (other < -90.0) return;
    ASSERT_TRUE(own) << what;
    EXPECT_NEAR(*own, other, MAX_LUFS_DIFFERENCE) << what;
}

/// Compares every reading after every 100 milliseconds.
void CompareLoudness(const Frames& frames, int rate) {
    const Library library = MakeLibrary(rate, EBUR128_MODE_I | EBUR128_MODE_S);
    LoudnessMeter meter(rate);
    const auto step = static_cast<std::size_t>((rate + 5) / 10);
    std::vector<double> shortTerms;
    for (std::size_t at = 0; at + step <= frames.size() / 2; at += step) {
        meter.Add(frames.data() + 2 * at, step);
        ebur128_add_frames_short(library.get(), frames.data() + 2 * at, step);
        double momentary = 0.0;
        double shortTerm = 0.0;
        ebur128_loudness_momentary(library.get(), &momentary);
        ebur128_loudness_shortterm(library.get(), &shortTerm);
        if (at + step >= 4 * step) ExpectSame(meter.MomentaryLufs(), momentary, "momentary");
        if (at + step < 30 * step) continue;
        ExpectSame(meter.ShortTermLufs(), shortTerm, "short-term");
        shortTerms.push_back(shortTerm);
    }
    double integrated = 0.0;
    ebur128_loudness_global(library.get(), &integrated);
    ExpectSame(meter.IntegratedLufs(), integrated, "integrated");
    EXPECT_NEAR(meter.RangeLu().value(), RangeOf(shortTerms), MAX_LUFS_DIFFERENCE);
}

void ComparePeak(const Frames& frames, int rate) {
    const Library library = MakeLibrary(rate, EBUR128_MODE_TRUE_PEAK);
    // The library takes half a microsecond for a frame: two seconds are enough.
    const std::size_t count = std::min(frames.size() / 2, static_cast<std::size_t>(2 * rate));
    const std::size_t from = frames.size() / 2 - count;
    ebur128_add_frames_short(library.get(), frames.data() + 2 * from, count);
    LoudnessMeter meter(rate);
    meter.Add(frames.data() + 2 * from, count);
    EXPECT_NEAR(meter.TruePeakDb().value(), LibraryPeakDb(library), MAX_PEAK_DIFFERENCE);
}

class LoudnessLibrary : public testing::TestWithParam<int> {
protected:
    static void Compare(Frames (*make)(int rate)) {
        const Frames frames = make(GetParam());
        CompareLoudness(frames, GetParam());
        ComparePeak(frames, GetParam());
    }
};
INSTANTIATE_TEST_SUITE_P(Rate, LoudnessLibrary, testing::ValuesIn(RATES));

TEST_P(LoudnessLibrary, NoiseMeasuresTheSame) {
    Compare(Noise);
}

TEST_P(LoudnessLibrary, MusicMeasuresTheSame) {
    Compare(Music);
}

TEST_P(LoudnessLibrary, SpeechMeasuresTheSame) {
    Compare(Speech);
}

TEST_P(LoudnessLibrary, BurstsMeasureTheSame) {
    Compare(Bursts);
}

TEST_P(LoudnessLibrary, AToneAfterSilenceMeasuresTheSame) {
    CompareLoudness(LateTone(GetParam()), GetParam());
}

TEST_P(LoudnessLibrary, SilenceHasNoLoudnessInBoth) {
    const Frames silence(static_cast<std::size_t>(2 * GetParam()));
    const Library library = MakeLibrary(GetParam(), EBUR128_MODE_I);
    ebur128_add_frames_short(library.get(), silence.data(), silence.size() / 2);
    double integrated = 0.0;
    ebur128_loudness_global(library.get(), &integrated);

    EXPECT_EQ(integrated, -HUGE_VAL);
    EXPECT_EQ(sonrel_tests::Measured(silence, GetParam()).IntegratedLufs(), std::nullopt);
}

}  // namespace
}  // namespace orlo::sonrel
