// SPDX-License-Identifier: MIT
#include "host/mix/TruePeakSearch.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numbers>

namespace orlo::host {

namespace {

constexpr std::size_t BLOCK = 256;
/// Number of frames kept from the previous block: more than the history of the longest
/// interpolator.
constexpr std::size_t HISTORY = 32;
constexpr std::size_t TILE = 16;
constexpr int TAPS = 49;
constexpr std::size_t MAX_PHASE_TAPS = 25;
constexpr std::size_t MAX_PHASES = 4;
constexpr float FULL_SCALE = 32768.0f;
/// Upper limit of the single-precision error of a sum of at most 25 products, with a margin.
constexpr double SCREEN_TOLERANCE = 1e-5;

/// Number of values that the library computes for each sample.
int Oversampling(int rate) {
    if (rate < 96000) return 4;
    return rate < 192000 ? 2 : 1;
}

}  // namespace

/// The interpolator as one short filter per phase. Phase 0 returns the samples themselves.
struct TruePeakSearch::Filter {
    std::size_t phases = 0;
    std::size_t taps = 0;
    /// Indexed by phase and age of the sample; padded with zeros when a phase has fewer taps.
    double weights[MAX_PHASES][MAX_PHASE_TAPS] = {};
    float fastWeights[MAX_PHASES][MAX_PHASE_TAPS] = {};
    /// Maximum ratio of an interpolated value to the largest sample.
    double gain = 0.0;

    explicit Filter(int oversampling) : phases(static_cast<std::size_t>(oversampling)) {
        taps = (TAPS + phases - 1) / phases;
        for (int i = 0; i < TAPS; ++i) {
            const double position = i - (TAPS - 1) / 2.0;
            const double angle = position * std::numbers::pi / oversampling;
            const double sinc = std::abs(position) > 1e-6 ? std::sin(angle) / angle : 1.0;
            const double window = 0.5 * (1 - std::cos(2 * std::numbers::pi * i / (TAPS - 1)));
            const std::size_t phase = static_cast<std::size_t>(i) % phases;
            const std::size_t age = static_cast<std::size_t>(i) / phases;
            const double weight = sinc * window;
            if (std::abs(weight) <= 1e-6) continue;
            weights[phase][age] = weight;
            fastWeights[phase][age] = static_cast<float>(weight);
        }
        for (std::size_t phase = 0; phase < phases; ++phase) {
            double sum = 0.0;
            for (const double weight : weights[phase]) sum += std::abs(weight);
            gain = std::max(gain, sum);
        }
    }
};

void LoudnessStateDeleter::operator()(ebur128_state* state) const {
    ebur128_destroy(&state);
}

TruePeakSearch::TruePeakSearch(int rate)
    : library_(ebur128_init(2, static_cast<unsigned long>(rate), EBUR128_MODE_TRUE_PEAK)),
      samples_(2 * (HISTORY + BLOCK)) {
    if (!library_) throw std::bad_alloc();
    for (std::vector<float>& channel : signal_) channel.resize(HISTORY + BLOCK + TILE);
    // Without oversampling a screen saves no time.
    if (Oversampling(rate) == 1) return;
    filter_ = std::make_unique<Filter>(Oversampling(rate));
    if (AgreesWithLibrary()) return;
    filter_.reset();
    library_.reset(ebur128_init(2, static_cast<unsigned long>(rate), EBUR128_MODE_TRUE_PEAK));
    if (!library_) throw std::bad_alloc();
}

TruePeakSearch::~TruePeakSearch() = default;

/// The largest value of all phases at one sample, calculated in the order and precision of the
/// library. The sample itself counts when it arrives, although the middle of the filter is six
/// samples later.
float TruePeakSearch::Interpolate(const float* newest) const {
    float largest = std::abs(*newest);
    for (std::size_t phase = 0; phase < filter_->phases; ++phase) {
        double sum = 0.0;
        for (std::size_t age = 0; age < filter_->taps; ++age) {
            sum += static_cast<double>(newest[-static_cast<std::ptrdiff_t>(age)]) *
                   filter_->weights[phase][age];
        }
        largest = std::max(largest, std::abs(static_cast<float>(sum)));
    }
    return largest;
}

double TruePeakSearch::Measure(const short* frames, std::size_t count) {
    if (ebur128_add_frames_short(library_.get(), frames, count) != EBUR128_SUCCESS) {
        throw std::bad_alloc();
    }
    double peak = 0.0;
    for (unsigned int channel = 0; channel < 2; ++channel) {
        double value = 0.0;
        ebur128_prev_true_peak(library_.get(), channel, &value);
        peak = std::max(peak, value);
    }
    return peak;
}

/// Compares both interpolators with noise, sample by sample. Leaves noise in the library's filter;
/// the history before the first measured range replaces it.
bool TruePeakSearch::AgreesWithLibrary() {
    constexpr std::size_t CHECKED = 256;
    std::vector<float> noise(HISTORY + CHECKED);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < CHECKED; ++i) {
        state = state * 1664525u + 1013904223u;
        const auto value = static_cast<short>(static_cast<int>(state >> 16) - 32768);
        noise[HISTORY + i] = static_cast<float>(value) / FULL_SCALE;
        const short frame[2] = {value, 0};
        const double expected = Measure(frame, 1);
        if (expected != static_cast<double>(Interpolate(&noise[HISTORY + i]))) return false;
    }
    return true;
}

namespace {

/// Four values of one vector operation.
using Four = float __attribute__((vector_size(16)));
constexpr std::size_t LANES = 4;
constexpr std::size_t QUARTER = TILE / LANES;

Four Load(const float* values) {
    Four four;
    std::memcpy(&four, values, sizeof(four));
    return four;
}

Four LargerMagnitude(Four a, Four b) {
    const Four magnitude = b < 0.0f ? -b : b;
    return a < magnitude ? magnitude : a;
}

/// The largest interpolated value of all phases except phase 0 at each sample of a tile.
template <std::size_t PHASES, std::size_t AGES>
void ScreenTile(const float* signal, const float (*weights)[MAX_PHASE_TAPS], float* largest) {
    Four sums[PHASES - 1][QUARTER] = {};
    for (std::size_t age = 0; age < AGES; ++age) {
        const float* aged = signal - age;
        for (std::size_t quarter = 0; quarter < QUARTER; ++quarter) {
            const Four values = Load(aged + LANES * quarter);
            for (std::size_t phase = 1; phase < PHASES; ++phase) {
                sums[phase - 1][quarter] += weights[phase][age] * values;
            }
        }
    }
    for (std::size_t quarter = 0; quarter < QUARTER; ++quarter) {
        Four magnitude = {};
        for (const auto& sum : sums) magnitude = LargerMagnitude(magnitude, sum[quarter]);
        std::memcpy(largest + LANES * quarter, &magnitude, sizeof(magnitude));
    }
}

float LargestOfTile(const float* tile) {
    Four magnitude = {};
    for (std::size_t i = 0; i < TILE; i += LANES) {
        magnitude = LargerMagnitude(magnitude, Load(tile + i));
    }
    return std::max(std::max(magnitude[0], magnitude[1]), std::max(magnitude[2], magnitude[3]));
}

}  // namespace

/// Whether a sample of the tile has an interpolated value above the current peak. Samples that pass
/// the screen are recalculated exactly like in the library, so that a signal that reaches its peak
/// repeatedly, as every tone does, is not measured each time.
bool TruePeakSearch::TileRaisesPeak(const float* signal, std::size_t count) const {
    float largest[TILE];
    if (filter_->phases == 4) {
        ScreenTile<4, 13>(signal, filter_->fastWeights, largest);
    } else {
        ScreenTile<2, 25>(signal, filter_->fastWeights, largest);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const double screened = std::max(largest[i], std::abs(signal[i]));
        if (screened * (1.0 + SCREEN_TOLERANCE) <= peak_) continue;
        if (static_cast<double>(Interpolate(signal + i)) > peak_) return true;
    }
    return false;
}

bool TruePeakSearch::MayRaisePeak(std::size_t count) {
    for (std::vector<float>& channel : signal_) {
        std::fill_n(channel.data() + HISTORY + count, TILE, 0.0f);
        // The largest samples of the two tiles before the current tile, which cover the history of
        // a filter.
        float older = LargestOfTile(channel.data());
        float old = LargestOfTile(channel.data() + TILE);
        for (std::size_t start = 0; start < count; start += TILE) {
            const float* tile = channel.data() + HISTORY + start;
            const float now = LargestOfTile(tile);
            const double limit = std::max({older, old, now}) * filter_->gain;
            if (limit > peak_ && TileRaisesPeak(tile, std::min(TILE, count - start))) return true;
            older = old;
            old = now;
        }
    }
    return false;
}

void TruePeakSearch::AddBlock(const short* frames, std::size_t count) {
    std::copy_n(frames, 2 * count, samples_.data() + 2 * HISTORY);
    if (filter_) {
        for (std::size_t i = 0; i < HISTORY + count; ++i) {
            signal_[0][i] = static_cast<float>(samples_[2 * i]) / FULL_SCALE;
            signal_[1][i] = static_cast<float>(samples_[2 * i + 1]) / FULL_SCALE;
        }
    }
    if (!filter_) {
        peak_ = std::max(peak_, Measure(frames, count));
        measured_ += static_cast<long long>(count);
    } else if (MayRaisePeak(count)) {
        Measure(samples_.data(), HISTORY);
        peak_ = std::max(peak_, Measure(frames, count));
        measured_ += static_cast<long long>(HISTORY + count);
    }
    std::copy_n(samples_.data() + 2 * count, 2 * HISTORY, samples_.data());
}

void TruePeakSearch::Add(const short* frames, std::size_t count) {
    while (count > 0) {
        const std::size_t part = std::min(count, BLOCK);
        AddBlock(frames, part);
        frames += 2 * part;
        count -= part;
    }
}

}  // namespace orlo::host
