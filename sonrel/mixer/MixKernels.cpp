// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/MixKernels.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/cpu/VectorLanes.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float SAMPLE_SCALE = 3.0517578125e-05f;  // 2^-15

// ---- Peaks -------------------------------------------------------------------------------------

// Highest and lowest value of each lane, 0 included. Every comparison is false for a NaN.
template <typename Lanes>
struct LaneRange {
    typename Lanes::Floats highest{};
    typename Lanes::Floats lowest{};
};

template <typename Lanes>
SONREL_ALWAYS_INLINE void TakeValues(const typename Lanes::Floats& values,
                                     LaneRange<Lanes>& range) {
    range.highest = values > range.highest ? values : range.highest;
    range.lowest = values < range.lowest ? values : range.lowest;
}

// One value, or the range of many.
void TakeRange(float highest, float lowest, int channel, StereoPeaks& peaks) {
    const float peak = highest > -lowest ? highest : std::fabs(lowest);
    if (peak > peaks.peak[channel]) peaks.peak[channel] = peak;
    if (lowest < -1.0f || highest >= 1.0f) peaks.clipped[channel] = true;
}

// Of interleaved values: even lanes are left and odd ones right.
template <typename Lanes>
SONREL_ALWAYS_INLINE void Gather(const LaneRange<Lanes>& range, StereoPeaks& peaks) {
    for (int lane = 0; lane < Lanes::COUNT; ++lane) {
        TakeRange(range.highest[lane], range.lowest[lane], lane % 2, peaks);
    }
}

template <typename Lanes>
SONREL_ALWAYS_INLINE void ScanPeaksOfLanes(const float* values, int frames, StereoPeaks& peaks) {
    const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
    LaneRange<Lanes> first;
    LaneRange<Lanes> second;
    typename Lanes::Floats vector;
    std::ptrdiff_t i = 0;
    for (; i + 2 * Lanes::COUNT <= count; i += 2 * Lanes::COUNT) {
        Load(vector, values + i);
        TakeValues<Lanes>(vector, first);
        Load(vector, values + i + Lanes::COUNT);
        TakeValues<Lanes>(vector, second);
    }
    Gather<Lanes>(first, peaks);
    Gather<Lanes>(second, peaks);
    for (; i < count; ++i) TakeRange(values[i], values[i], static_cast<int>(i % 2), peaks);
}

// ---- Adding samples ----------------------------------------------------------------------------

// The two ways of a sample to its value before the pan, in vectors of one channel and one by one.
struct ConstantGain {
    float gain;

    template <typename Lanes>
    SONREL_ALWAYS_INLINE void Scale(typename Lanes::Floats& values, std::ptrdiff_t) const {
        values = values * gain;
    }
    float Scaled(float sample, std::ptrdiff_t) const { return sample * gain; }
};

struct PowerEachFrame {
    const float* powers;

    template <typename Lanes>
    SONREL_ALWAYS_INLINE void Scale(typename Lanes::Floats& values, std::ptrdiff_t frame) const {
        typename Lanes::Floats factors;
        Load(factors, powers + frame);
        values = (values * SAMPLE_SCALE) * factors;
    }
    float Scaled(float sample, std::ptrdiff_t frame) const {
        return (sample * SAMPLE_SCALE) * powers[frame];
    }
};

// Splits a vector of frames, each 32 bits, into its channels.
template <typename Lanes>
SONREL_ALWAYS_INLINE void LoadFrames(const short* samples, typename Lanes::Floats& left,
                                     typename Lanes::Floats& right) {
    using Floats = typename Lanes::Floats;
    typename Lanes::Ints frames;
    Load(frames, samples);
    left = __builtin_convertvector((frames << 16) >> 16, Floats);
    right = __builtin_convertvector(frames >> 16, Floats);
}

// Adds a vector of each channel to interleaved values.
template <typename Lanes>
SONREL_ALWAYS_INLINE void AddFrames(const typename Lanes::Floats& left,
                                    const typename Lanes::Floats& right, float* block) {
    typename Lanes::Floats first;
    typename Lanes::Floats second;
    Load(first, block);
    Load(second, block + Lanes::COUNT);
    if constexpr (Lanes::COUNT == 4) {
        first += __builtin_shufflevector(left, right, 0, 4, 1, 5);
        second += __builtin_shufflevector(left, right, 2, 6, 3, 7);
    } else {
        first += __builtin_shufflevector(left, right, 0, 8, 1, 9, 2, 10, 3, 11);
        second += __builtin_shufflevector(left, right, 4, 12, 5, 13, 6, 14, 7, 15);
    }
    Store(block, first);
    Store(block + Lanes::COUNT, second);
}

template <typename Lanes, bool METERED, typename Law>
SONREL_ALWAYS_INLINE void AddOfLanes(const short* samples, int frames, float* block, Law law,
                                     PanGains pan, StereoPeaks* peaks) {
    using Floats = typename Lanes::Floats;
    LaneRange<Lanes> leftRange;
    LaneRange<Lanes> rightRange;
    std::ptrdiff_t frame = 0;
    for (; frame + Lanes::COUNT <= frames; frame += Lanes::COUNT) {
        Floats left;
        Floats right;
        LoadFrames<Lanes>(samples + 2 * frame, left, right);
        law.template Scale<Lanes>(left, frame);
        law.template Scale<Lanes>(right, frame);
        left = left * pan.left;
        right = right * pan.right;
        if constexpr (METERED) {
            TakeValues<Lanes>(left, leftRange);
            TakeValues<Lanes>(right, rightRange);
        }
        AddFrames<Lanes>(left, right, block + 2 * frame);
    }
    if constexpr (METERED) {
        for (int lane = 0; lane < Lanes::COUNT; ++lane) {
            TakeRange(leftRange.highest[lane], leftRange.lowest[lane], 0, *peaks);
            TakeRange(rightRange.highest[lane], rightRange.lowest[lane], 1, *peaks);
        }
    }
    for (; frame < frames; ++frame) {
        const float left = law.Scaled(samples[2 * frame], frame) * pan.left;
        const float right = law.Scaled(samples[2 * frame + 1], frame) * pan.right;
        if constexpr (METERED) {
            TakeRange(left, left, 0, *peaks);
            TakeRange(right, right, 1, *peaks);
        }
        block[2 * frame] += left;
        block[2 * frame + 1] += right;
    }
}

// ---- Multiplying the block ---------------------------------------------------------------------

// One power for the two values of a frame.
template <typename Lanes>
SONREL_ALWAYS_INLINE void SpreadPowers(typename Lanes::Floats& factors, const float* powers) {
    typename Lanes::HalfFloats few;
    Load(few, powers);
    if constexpr (Lanes::COUNT == 4) {
        factors = __builtin_shufflevector(few, few, 0, 0, 1, 1);
    } else {
        factors = __builtin_shufflevector(few, few, 0, 0, 1, 1, 2, 2, 3, 3);
    }
}

template <typename Lanes>
SONREL_ALWAYS_INLINE void MultiplyByPowersOfLanes(float* block, int frames, const float* powers) {
    using Floats = typename Lanes::Floats;
    const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
    std::ptrdiff_t i = 0;
    for (; i + Lanes::COUNT <= count; i += Lanes::COUNT) {
        Floats values;
        Floats factors;
        Load(values, block + i);
        SpreadPowers<Lanes>(factors, powers + i / 2);
        Store(block + i, values * factors);
    }
    for (; i < count; ++i) block[i] *= powers[i / 2];
}

// ---- One function for each target --------------------------------------------------------------

void ScanPeaksBaseline(const float* values, int frames, StereoPeaks& peaks) {
    ScanPeaksOfLanes<NarrowLanes>(values, frames, peaks);
}
void MultiplyByPowersBaseline(float* block, int frames, const float* powers) {
    MultiplyByPowersOfLanes<NarrowLanes>(block, frames, powers);
}
template <bool METERED, typename Law>
void AddBaseline(const short* samples, int frames, float* block, Law law, PanGains pan,
                 StereoPeaks* peaks) {
    AddOfLanes<NarrowLanes, METERED>(samples, frames, block, law, pan, peaks);
}

#if SONREL_X86
SONREL_TARGET_AVX2 void ScanPeaksAvx2(const float* values, int frames, StereoPeaks& peaks) {
    ScanPeaksOfLanes<WideLanes>(values, frames, peaks);
    SONREL_LEAVE_AVX();
}
SONREL_TARGET_AVX2 void MultiplyByPowersAvx2(float* block, int frames, const float* powers) {
    MultiplyByPowersOfLanes<WideLanes>(block, frames, powers);
    SONREL_LEAVE_AVX();
}
template <bool METERED, typename Law>
SONREL_TARGET_AVX2 void AddAvx2(const short* samples, int frames, float* block, Law law,
                                PanGains pan, StereoPeaks* peaks) {
    AddOfLanes<WideLanes, METERED>(samples, frames, block, law, pan, peaks);
    SONREL_LEAVE_AVX();
}
#endif

template <bool METERED, typename Law>
void AddOnActivePath(const short* samples, int frames, float* block, Law law, PanGains pan,
                     StereoPeaks* peaks) {
#if SONREL_X86
    if (ActiveCpuPath() >= CpuPath::Avx2) {
        AddAvx2<METERED>(samples, frames, block, law, pan, peaks);
        return;
    }
#endif
    AddBaseline<METERED>(samples, frames, block, law, pan, peaks);
}

}  // namespace

void ScanPeaks(const float* values, int frames, StereoPeaks& peaks) {
#if SONREL_X86
    if (ActiveCpuPath() >= CpuPath::Avx2) {
        ScanPeaksAvx2(values, frames, peaks);
        return;
    }
#endif
    ScanPeaksBaseline(values, frames, peaks);
}

void AddWithGain(const short* samples, int frames, float* block, float gain, PanGains pan) {
    AddOnActivePath<false>(samples, frames, block, ConstantGain{gain}, pan, nullptr);
}

void AddWithGain(const short* samples, int frames, float* block, float gain, PanGains pan,
                 StereoPeaks& peaks) {
    AddOnActivePath<true>(samples, frames, block, ConstantGain{gain}, pan, &peaks);
}

void AddWithPowers(const short* samples, int frames, float* block, const float* powers,
                   PanGains pan) {
    AddOnActivePath<false>(samples, frames, block, PowerEachFrame{powers}, pan, nullptr);
}

void AddWithPowers(const short* samples, int frames, float* block, const float* powers,
                   PanGains pan, StereoPeaks& peaks) {
    AddOnActivePath<true>(samples, frames, block, PowerEachFrame{powers}, pan, &peaks);
}

void MultiplyByGain(float* block, int frames, float gain) {
    const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
    std::ptrdiff_t i = 0;
    for (; i + NarrowLanes::COUNT <= count; i += NarrowLanes::COUNT) {
        NarrowLanes::Floats values;
        Load(values, block + i);
        Store(block + i, values * gain);
    }
    for (; i < count; ++i) block[i] *= gain;
}

void MultiplyByPowers(float* block, int frames, const float* powers) {
#if SONREL_X86
    if (ActiveCpuPath() >= CpuPath::Avx2) {
        MultiplyByPowersAvx2(block, frames, powers);
        return;
    }
#endif
    MultiplyByPowersBaseline(block, frames, powers);
}

}  // namespace orlo::sonrel::detail
