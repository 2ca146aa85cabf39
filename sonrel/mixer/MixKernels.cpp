// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/MixKernels.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float SAMPLE_SCALE = 3.0517578125e-05f;  // 2^-15

// ---- Peaks -------------------------------------------------------------------------------------

// Highest and lowest value of each lane, 0 included. Every comparison is false for a NaN.
template <typename L>
struct LaneRange {
    typename L::Floats highest{};
    typename L::Floats lowest{};
};

template <typename L>
SONREL_ALWAYS_INLINE void TakeValues(const typename L::Floats& values, LaneRange<L>& range) {
    range.highest = values > range.highest ? values : range.highest;
    range.lowest = values < range.lowest ? values : range.lowest;
}

// A single value, or the range of many values.
void TakeRange(float highest, float lowest, int channel, StereoPeaks& peaks) {
    const float peak = highest > -lowest ? highest : std::fabs(lowest);
    if (peak > peaks.peak[channel]) peaks.peak[channel] = peak;
    if (lowest < -1.0f || highest >= 1.0f) peaks.clipped[channel] = true;
}

// A NaN changes nothing.
void TakeValue(float value, int channel, StereoPeaks& peaks) {
    TakeRange(value, value, channel, peaks);
}

// Of interleaved values: even lanes are left and odd lanes right.
template <typename L>
SONREL_ALWAYS_INLINE void TakeInterleaved(const LaneRange<L>& range, StereoPeaks& peaks) {
    for (int lane = 0; lane < L::COUNT; ++lane) {
        TakeRange(range.highest[lane], range.lowest[lane], lane % 2, peaks);
    }
}

// Of one channel.
template <typename L>
SONREL_ALWAYS_INLINE void TakeChannel(const LaneRange<L>& range, int channel, StereoPeaks& peaks) {
    for (int lane = 0; lane < L::COUNT; ++lane) {
        TakeRange(range.highest[lane], range.lowest[lane], channel, peaks);
    }
}

struct ScanPeaksKernel {
    using Signature = void(const float* values, int frames, StereoPeaks& peaks);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const float* values, int frames, StereoPeaks& peaks) {
        const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
        LaneRange<L> first;
        LaneRange<L> second;
        typename L::Floats vector;
        std::ptrdiff_t i = 0;
        for (; i + 2 * L::COUNT <= count; i += 2 * L::COUNT) {
            Load(vector, values + i);
            TakeValues<L>(vector, first);
            Load(vector, values + i + L::COUNT);
            TakeValues<L>(vector, second);
        }
        TakeInterleaved<L>(first, peaks);
        TakeInterleaved<L>(second, peaks);
        for (; i < count; ++i) TakeValue(values[i], static_cast<int>(i % 2), peaks);
    }
};

constexpr auto SCAN_PEAKS = KernelsOf<ScanPeaksKernel>();

// ---- Adding samples ----------------------------------------------------------------------------

// Interleaved samples as values.
template <typename L>
SONREL_ALWAYS_INLINE void LoadSamples(const short* samples, typename L::Floats& values) {
    typename L::Shorts shorts;
    Load(shorts, samples);
    typename L::Ints ints;
    Widen(shorts, ints);
    values = __builtin_convertvector(ints, typename L::Floats);
}

// Highest and lowest sample of each lane, 0 included: even lanes are left and odd lanes right.
template <typename L>
struct SampleRange {
    typename L::ComparedShorts highest{};
    typename L::ComparedShorts lowest{};

    // Takes 2 * L::COUNT samples.
    SONREL_ALWAYS_INLINE void Take(const short* samples) {
        for (int i = 0; i < 2 * L::COUNT; i += L::SHORT_COUNT) {
            typename L::ComparedShorts vector;
            Load(vector, samples + i);
            highest = vector > highest ? vector : highest;
            lowest = vector < lowest ? vector : lowest;
        }
    }
};

// block += (sample * gain) * pan, on interleaved values. The products do not decrease, or do not
// increase, with the sample: the peaks come from the highest and the lowest sample.
template <bool METERED>
struct AddWithGainKernel {
    using Signature = void(MixSpan span, float gain, PanGains pan, StereoPeaks* peaks);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;
    static constexpr int STEP = 2;  // vectors

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(MixSpan span, float gain, PanGains pan,
                                         StereoPeaks* peaks) {
        const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(span.frames);
        typename L::Floats pans;
        for (int lane = 0; lane < L::COUNT; ++lane) pans[lane] = lane % 2 ? pan.right : pan.left;
        SampleRange<L> range;
        std::ptrdiff_t i = 0;
        for (; i + STEP * L::COUNT <= count; i += STEP * L::COUNT) {
            AddVector<L>(span.samples + i, gain, pans, span.block + i);
            AddVector<L>(span.samples + i + L::COUNT, gain, pans, span.block + i + L::COUNT);
            if constexpr (METERED) range.Take(span.samples + i);
        }
        if constexpr (METERED) {
            for (int lane = 0; lane < L::SHORT_COUNT; ++lane) {
                const float channelPan = lane % 2 ? pan.right : pan.left;
                TakeValue((range.highest[lane] * gain) * channelPan, lane % 2, *peaks);
                TakeValue((range.lowest[lane] * gain) * channelPan, lane % 2, *peaks);
            }
        }
        for (; i < count; ++i) AddOne(span, i, gain, i % 2 ? pan.right : pan.left, peaks);
    }

    template <typename L>
    SONREL_ALWAYS_INLINE static void AddVector(const short* samples, float gain,
                                               const typename L::Floats& pans, float* block) {
        typename L::Floats values;
        typename L::Floats sum;
        LoadSamples<L>(samples, values);
        Load(sum, block);
        Store(block, sum + (values * gain) * pans);
    }

    static void AddOne(const MixSpan& span, std::ptrdiff_t i, float gain, float pan,
                       StereoPeaks* peaks) {
        const float value = (span.samples[i] * gain) * pan;
        if constexpr (METERED) TakeValue(value, static_cast<int>(i % 2), *peaks);
        span.block[i] += value;
    }
};

template <bool METERED>
constexpr auto ADD_WITH_GAIN = KernelsOf<AddWithGainKernel<METERED>>();

// Adds a vector of each channel to interleaved values.
template <typename L>
SONREL_ALWAYS_INLINE void AddFrames(const typename L::Floats& left, const typename L::Floats& right,
                                    float* block) {
    typename L::Floats low;
    typename L::Floats high;
    typename L::Floats first;
    typename L::Floats second;
    JoinPairs(left, right, low, high, LANE_NUMBERS<L::COUNT>);
    Load(first, block);
    Load(second, block + L::COUNT);
    Store(block, first + low);
    Store(block + L::COUNT, second + high);
}

// block += ((sample * 2^-15) * power) * pan.
template <bool METERED>
struct AddWithPowersKernel {
    using Signature = void(MixSpan span, const float* powers, PanGains pan, StereoPeaks* peaks);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(MixSpan span, const float* powers, PanGains pan,
                                         StereoPeaks* peaks) {
        LaneRange<L> leftRange;
        LaneRange<L> rightRange;
        std::ptrdiff_t frame = 0;
        for (; frame + L::COUNT <= span.frames; frame += L::COUNT) {
            typename L::Floats left;
            typename L::Floats right;
            typename L::Floats factors;
            LoadFrames<L>(span.samples + 2 * frame, left, right);
            Load(factors, powers + frame);
            left = ((left * SAMPLE_SCALE) * factors) * pan.left;
            right = ((right * SAMPLE_SCALE) * factors) * pan.right;
            if constexpr (METERED) {
                TakeValues<L>(left, leftRange);
                TakeValues<L>(right, rightRange);
            }
            AddFrames<L>(left, right, span.block + 2 * frame);
        }
        if constexpr (METERED) {
            TakeChannel<L>(leftRange, 0, *peaks);
            TakeChannel<L>(rightRange, 1, *peaks);
        }
        for (; frame < span.frames; ++frame) AddOneFrame(span, frame, powers[frame], pan, peaks);
    }

    static void AddOneFrame(const MixSpan& span, std::ptrdiff_t frame, float power, PanGains pan,
                            StereoPeaks* peaks) {
        const float left = ((span.samples[2 * frame] * SAMPLE_SCALE) * power) * pan.left;
        const float right = ((span.samples[2 * frame + 1] * SAMPLE_SCALE) * power) * pan.right;
        if constexpr (METERED) {
            TakeValue(left, 0, *peaks);
            TakeValue(right, 1, *peaks);
        }
        span.block[2 * frame] += left;
        span.block[2 * frame + 1] += right;
    }
};

template <bool METERED>
constexpr auto ADD_WITH_POWERS = KernelsOf<AddWithPowersKernel<METERED>>();

// ---- Multiplying the block ---------------------------------------------------------------------

struct MultiplyByGainKernel {
    using Signature = void(float* block, int frames, float gain);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(float* block, int frames, float gain) {
        const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
        std::ptrdiff_t i = 0;
        for (; i + L::COUNT <= count; i += L::COUNT) {
            typename L::Floats values;
            Load(values, block + i);
            Store(block + i, values * gain);
        }
        for (; i < count; ++i) block[i] *= gain;
    }
};

struct MultiplyByPowersKernel {
    using Signature = void(float* block, int frames, const float* powers);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(float* block, int frames, const float* powers) {
        const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
        std::ptrdiff_t i = 0;
        for (; i + L::COUNT <= count; i += L::COUNT) {
            typename L::Floats values;
            typename L::Floats factors;
            Load(values, block + i);
            SpreadPowers<L>(factors, powers + i / 2, LANE_NUMBERS<L::COUNT>);
            Store(block + i, values * factors);
        }
        for (; i < count; ++i) block[i] *= powers[i / 2];
    }

    // One power for the two values of a frame.
    template <typename L, int... LANE>
    SONREL_ALWAYS_INLINE static void SpreadPowers(typename L::Floats& factors, const float* powers,
                                                  std::integer_sequence<int, LANE...>) {
        typename L::HalfFloats few;
        Load(few, powers);
        factors = __builtin_shufflevector(few, few, (LANE / 2)...);
    }
};

constexpr auto MULTIPLY_BY_GAIN = KernelsOf<MultiplyByGainKernel>();
constexpr auto MULTIPLY_BY_POWERS = KernelsOf<MultiplyByPowersKernel>();

}  // namespace

void ScanPeaks(const float* values, int frames, StereoPeaks& peaks) {
    SCAN_PEAKS.Active()(values, frames, peaks);
}

void AddWithGain(const MixSpan& span, float gain, PanGains pan, StereoPeaks* peaks) {
    const auto& add = peaks ? ADD_WITH_GAIN<true> : ADD_WITH_GAIN<false>;
    add.Active()(span, gain, pan, peaks);
}

void AddWithPowers(const MixSpan& span, const float* powers, PanGains pan, StereoPeaks* peaks) {
    const auto& add = peaks ? ADD_WITH_POWERS<true> : ADD_WITH_POWERS<false>;
    add.Active()(span, powers, pan, peaks);
}

void MultiplyByGain(float* block, int frames, float gain) {
    MULTIPLY_BY_GAIN.Active()(block, frames, gain);
}

void MultiplyByPowers(float* block, int frames, const float* powers) {
    MULTIPLY_BY_POWERS.Active()(block, frames, powers);
}

}  // namespace orlo::sonrel::detail
