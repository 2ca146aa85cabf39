// SPDX-License-Identifier: MIT
#include "host/align/ChanceCorrelation.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/align/Drift.h"
#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/StereoReader.h"

namespace orlo::host {

namespace {

using sonrel::AudioSync;

constexpr double PROBABILITY = 0.001;
/// Window lengths in seconds: from a click to a long note.
constexpr std::array<double, 5> WINDOWS{0.002, 0.008, 0.032, 0.128, 0.512};

double Energy(const std::vector<float>& interleaved, std::size_t channel, std::size_t begin,
              std::size_t end) {
    double energy = 0.0;
    for (std::size_t i = begin; i < end; ++i) {
        const double value = interleaved[2 * i + channel];
        energy += value * value;
    }
    return energy;
}

/// The variance of the correlation of one channel when the sounds are unrelated and steady during
/// each window. It is larger the more similar and the louder the windows are.
double Variance(const StereoRanges& ranges, std::size_t channel, std::size_t window) {
    const std::size_t frames = ranges.a.size() / 2;
    double sum = 0.0;
    for (std::size_t begin = 0; begin < frames; begin += window) {
        const std::size_t end = std::min(frames, begin + window);
        const double energy = AudioSync::CorrelationEnergy(ranges.a.data() + 2 * begin + channel, 2,
                                                           ranges.b.data() + 2 * begin + channel, 2,
                                                           static_cast<int>(end - begin));
        sum += energy / static_cast<double>(end - begin) * Energy(ranges.a, channel, begin, end) *
               Energy(ranges.b, channel, begin, end);
    }
    return sum / (Energy(ranges.a, channel, 0, frames) * Energy(ranges.b, channel, 0, frames));
}

/// Whether two measures have no common frame.
bool AreApart(const Measure& one, const Measure& other) {
    return one.compared.end <= other.compared.start || other.compared.end <= one.compared.start;
}

/// The natural logarithm of the number of trials: every offset is tried on two channels. A place
/// that has no common frame with the whole range and agrees with it reduces the number, because
/// chance is less likely.
double LogTrials(const RecordingPair& pair, const Measure& whole,
                 const std::vector<Measure>& places) {
    double trials = std::log(2.0 * static_cast<double>(pair.A().Frames() + pair.B().Frames()));
    for (const Measure& place : places) {
        const bool supports =
            place.correlation > 0.0 && AreApart(place, whole) && Agrees(place, whole, pair.Rate());
        if (!supports) continue;
        // Any of the places may agree, so each factor is multiplied by the number of places.
        const double chance =
            static_cast<double>(places.size()) * ChanceToAgree(place, whole, pair.Rate());
        trials += std::min(0.0, std::log(chance));
    }
    return trials;
}

/// Reads a range; zeros follow the end of the recording.
std::vector<float> Read(const RecordingPair& pair, const Recording& recording,
                        const FrameRange& range) {
    std::vector<float> samples =
        sonrel::ReadStereo(*pair.Engine()->Mixer(), recording.asset, range);
    samples.resize(2 * static_cast<std::size_t>(range.Count()), 0.0f);
    return samples;
}

StereoRanges ReadCompared(const RecordingPair& pair, const Measure& whole) {
    const FrameRange& inB = whole.compared;
    return {Read(pair, pair.A(), {inB.start + whole.offset, inB.end + whole.offset}),
            Read(pair, pair.B(), inB)};
}

}  // namespace

double IndependentValues(const StereoRanges& ranges, int rate) {
    const std::size_t frames = ranges.a.size() / 2;
    const bool isMono = sonrel::IsMono(ranges.a) && sonrel::IsMono(ranges.b);
    double largest = 0.0;
    for (std::size_t channel = 0; channel < (isMono ? 1U : 2U); ++channel) {
        largest = std::fmax(largest, Variance(ranges, channel, frames));
        for (const double seconds : WINDOWS) {
            const auto window = static_cast<std::size_t>(std::max(1.0, seconds * rate));
            if (window >= frames) break;
            largest = std::fmax(largest, Variance(ranges, channel, window));
        }
    }
    return largest > 0.0 ? 1.0 / largest : 0.0;
}

double LargestByChance(double values, double logTrials, double probability) {
    if (values <= 1.0) return 1.0;
    // The square of the correlation of n independent Gaussian values has the beta distribution with
    // 1/2 and (n - 1)/2. It exceeds c^2 with the probability (1 - c^2)^((n - 1)/2) at most.
    const double logProbability = std::min(0.0, std::log(probability) - logTrials);
    return std::sqrt(-std::expm1(2.0 * logProbability / (values - 1.0)));
}

double ChanceCorrelation(const RecordingPair& pair, const Measure& whole,
                         const std::vector<Measure>& places) {
    if (whole.compared.IsEmpty()) return 1.0;
    const double values = IndependentValues(ReadCompared(pair, whole), pair.Rate());
    return LargestByChance(values, LogTrials(pair, whole, places), PROBABILITY);
}

}  // namespace orlo::host
