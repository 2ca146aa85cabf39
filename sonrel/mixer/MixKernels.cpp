// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/MixKernels.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "sonrel/mixer/detail/CpuPath.h"
#include "sonrel/mixer/detail/VectorLanes.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float SAMPLE_SCALE = 3.0517578125e-05f;  // 2^-15

// ---- Peaks -------------------------------------------------------------------------------------

// Highest and lowest value of each lane, 0 included; even lanes are left and odd ones right. Every
// comparison is false for a NaN.
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

template <typename Lanes>
SONREL_ALWAYS_INLINE void SpreadPan(typename Lanes::Floats& pans, PanGains pan) {
    for (int lane = 0; lane < Lanes::COUNT; ++lane) pans[lane] = lane % 2 ? pan.right : pan.left;
}

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
SONREL_ALWAYS_INLINE void LoadSamples(typename Lanes::Floats& values, const short* samples) {
    using Floats = typename Lanes::Floats;
    using Ints = typename Lanes::Ints;
    typename Lanes::Shorts shorts;
    Load(shorts, samples);
    if constexpr (Lanes::COUNT == 4) {
        const auto doubled = __builtin_shufflevector(shorts, shorts, 0, 0, 1, 1, 2, 2, 3, 3);
        values = __builtin_convertvector(reinterpret_cast<Ints>(doubled) >> 16, Floats);
    } else {
        values = __builtin_convertvector(__builtin_convertvector(shorts, Ints), Floats);
    }
}

// The two ways of a sample to its value before the pan, in vectors and one by one.
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
    SONREL_ALWAYS_INLINE void Scale(typename Lanes::Floats& values, std::ptrdiff_t i) const {
        typename Lanes::Floats factors;
        SpreadPowers<Lanes>(factors, powers + i / 2);
        values = (values * SAMPLE_SCALE) * factors;
    }
    float Scaled(float sample, std::ptrdiff_t i) const {
        return (sample * SAMPLE_SCALE) * powers[i / 2];
    }
};

template <typename Lanes, bool METERED, typename Law>
SONREL_ALWAYS_INLINE void AddOfLanes(const short* samples, int frames, float* block, Law law,
                                     PanGains pan, StereoPeaks* peaks) {
    using Floats = typename Lanes::Floats;
    const std::ptrdiff_t count = 2 * static_cast<std::ptrdiff_t>(frames);
    Floats pans;
    SpreadPan<Lanes>(pans, pan);
    LaneRange<Lanes> range;
    std::ptrdiff_t i = 0;
    for (; i + Lanes::COUNT <= count; i += Lanes::COUNT) {
        typename Lanes::Shorts shorts;
        Load(shorts, samples + i);
        Floats values =
            __builtin_convertvector(__builtin_convertvector(shorts, typename Lanes::Ints), Floats);
        law.template Scale<Lanes>(values, i);
        values = values * pans;
        if constexpr (METERED) TakeValues<Lanes>(values, range);
        Floats sum;
        Load(sum, block + i);
        Store(block + i, sum + values);
    }
    if constexpr (METERED) Gather<Lanes>(range, *peaks);
    for (; i < count; ++i) {
        const float sample = static_cast<float>(samples[i]);
        const float value = law.Scaled(sample, i) * (i % 2 ? pan.right : pan.left);
        if constexpr (METERED) TakeRange(value, value, static_cast<int>(i % 2), *peaks);
        block[i] += value;
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
