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
        for (; i < count; ++i) TakeRange(values[i], values[i], static_cast<int>(i % 2), peaks);
    }
};

constexpr auto SCAN_PEAKS = KernelsOf<ScanPeaksKernel>();

// ---- Adding samples ----------------------------------------------------------------------------

// The two laws that scale a sample before the pan, for vectors of one channel and for one sample.
struct ConstantGain {
    float gain;

    template <typename L>
    SONREL_ALWAYS_INLINE void Scale(typename L::Floats& values, std::ptrdiff_t) const {
        values = values * gain;
    }
    float Scaled(float sample, std::ptrdiff_t) const { return sample * gain; }
};

struct PowerEachFrame {
    const float* powers;

    template <typename L>
    SONREL_ALWAYS_INLINE void Scale(typename L::Floats& values, std::ptrdiff_t frame) const {
        typename L::Floats factors;
        Load(factors, powers + frame);
        values = (values * SAMPLE_SCALE) * factors;
    }
    float Scaled(float sample, std::ptrdiff_t frame) const {
        return (sample * SAMPLE_SCALE) * powers[frame];
    }
};

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

template <bool METERED, typename Law>
struct AddKernel {
    using Signature = void(MixSpan span, Law law, PanGains pan, StereoPeaks* peaks);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(MixSpan span, Law law, PanGains pan, StereoPeaks* peaks) {
        LaneRange<L> leftRange;
        LaneRange<L> rightRange;
        std::ptrdiff_t frame = 0;
        for (; frame + L::COUNT <= span.frames; frame += L::COUNT) {
            typename L::Floats left;
            typename L::Floats right;
            LoadFrames<L>(span.samples + 2 * frame, left, right);
            law.template Scale<L>(left, frame);
            law.template Scale<L>(right, frame);
            left = left * pan.left;
            right = right * pan.right;
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
        for (; frame < span.frames; ++frame) AddOneFrame(span, frame, law, pan, peaks);
    }

    static void AddOneFrame(const MixSpan& span, std::ptrdiff_t frame, Law law, PanGains pan,
                            StereoPeaks* peaks) {
        const float left = law.Scaled(span.samples[2 * frame], frame) * pan.left;
        const float right = law.Scaled(span.samples[2 * frame + 1], frame) * pan.right;
        if constexpr (METERED) {
            TakeRange(left, left, 0, *peaks);
            TakeRange(right, right, 1, *peaks);
        }
        span.block[2 * frame] += left;
        span.block[2 * frame + 1] += right;
    }
};

template <bool METERED, typename Law>
constexpr auto ADD = KernelsOf<AddKernel<METERED, Law>>();

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
    const auto& add = peaks ? ADD<true, ConstantGain> : ADD<false, ConstantGain>;
    add.Active()(span, ConstantGain{gain}, pan, peaks);
}

void AddWithPowers(const MixSpan& span, const float* powers, PanGains pan, StereoPeaks* peaks) {
    const auto& add = peaks ? ADD<true, PowerEachFrame> : ADD<false, PowerEachFrame>;
    add.Active()(span, PowerEachFrame{powers}, pan, peaks);
}

void MultiplyByGain(float* block, int frames, float gain) {
    MULTIPLY_BY_GAIN.Active()(block, frames, gain);
}

void MultiplyByPowers(float* block, int frames, const float* powers) {
    MULTIPLY_BY_POWERS.Active()(block, frames, powers);
}

}  // namespace orlo::sonrel::detail
