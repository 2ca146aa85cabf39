// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/CellPeaks.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int PHASES = 4;
constexpr int TAPS = 12;

/// The interpolator of BS.1770 in multiples of 1/8192, from the earliest sample to the latest. The
/// third and the fourth phase are the second and the first in reverse.
constexpr std::int16_t INTERPOLATOR[PHASES][TAPS] = {
    {-68, 122, -218, 390, -838, 7964, 1125, -487, 272, -161, 90, 14},
    {-155, 271, -477, 832, -1641, 6388, 3810, -1364, 730, -424, 240, -239},
    {-239, 240, -424, 730, -1364, 3810, 6388, -1641, 832, -477, 271, -155},
    {14, 90, -161, 272, -487, 1125, 7964, -838, 390, -218, 122, -68},
};
constexpr double INTERPOLATOR_UNIT = 8192.0;

/// Intervals that are interpolated at once, and the frames that they need.
constexpr long long MAX_INTERVALS = 256;
constexpr long long MAX_PIECE_FRAMES = MAX_INTERVALS + TAPS - 1;

using EightValues = std::int16_t __attribute__((vector_size(16)));
constexpr long long FRAMES_AT_ONCE = 4;

#if defined(__SSE2__)

__m128i Larger(__m128i a, __m128i b) {
    const __m128i first = _mm_cmpgt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(first, a), _mm_andnot_si128(first, b));
}

__m128i Absolute(__m128i value) {
    const __m128i sign = _mm_srai_epi32(value, 31);
    return _mm_sub_epi32(_mm_xor_si128(value, sign), sign);
}

/// Two factors in each lane, as for two consecutive samples.
__m128i FactorPair(int phase, int tap) {
    const auto low = static_cast<std::uint16_t>(INTERPOLATOR[phase][tap]);
    const auto high = static_cast<std::uint16_t>(INTERPOLATOR[phase][tap + 1]);
    return _mm_set1_epi32(static_cast<int>(low | static_cast<std::uint32_t>(high) << 16));
}

__m128i TwoFrames(const std::int16_t* values, long long frame) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(values + CHANNELS * frame));
}

/// The largest interpolated value of the intervals @p at and @p at + 1, both channels.
__m128i PeakOfTwo(const std::int16_t* values, long long at, __m128i peak) {
    __m128i sums[PHASES] = {};
    for (int tap = 0; tap < TAPS; tap += 2) {
        const __m128i pairs =
            _mm_unpacklo_epi16(TwoFrames(values, at + tap), TwoFrames(values, at + tap + 1));
        for (int phase = 0; phase < PHASES; ++phase) {
            sums[phase] = _mm_add_epi32(sums[phase], _mm_madd_epi16(pairs, FactorPair(phase, tap)));
        }
    }
    for (const __m128i sum : sums) peak = Larger(peak, Absolute(sum));
    return peak;
}

/// @param intervals  at least 2; interval i is between the frames i + 5 and i + 6
std::int32_t InterpolatedPeak(const std::int16_t* values, long long intervals) {
    __m128i peak = _mm_setzero_si128();
    for (long long i = 0; i < intervals; i += 2) {
        peak = PeakOfTwo(values, std::min(i, intervals - 2), peak);
    }
    std::int32_t lanes[4];
    std::memcpy(lanes, &peak, sizeof(lanes));
    return std::max({lanes[0], lanes[1], lanes[2], lanes[3]});
}

#else

std::int32_t InterpolatedPeak(const std::int16_t* values, long long intervals) {
    std::int32_t peak = 0;
    for (long long i = 0; i < CHANNELS * intervals; ++i) {
        for (const auto& factors : INTERPOLATOR) {
            std::int32_t sum = 0;
            for (int tap = 0; tap < TAPS; ++tap) sum += factors[tap] * values[i + CHANNELS * tap];
            peak = std::max(peak, std::abs(sum));
        }
    }
    return peak;
}

#endif

/// The frames from @p first to @p end, with silence where the sound has none.
void CopyFrames(const SoundView& sound, long long first, long long end, std::int16_t* values) {
    const long long from = std::clamp(first, 0LL, sound.frames);
    const long long to = std::clamp(end, from, sound.frames);
    std::memset(values, 0, static_cast<std::size_t>(end - first) * FRAME_BYTES);
    if (from == to) return;
    std::memcpy(values + CHANNELS * (from - first), sound.samples + ByteOf(from),
                static_cast<std::size_t>(to - from) * FRAME_BYTES);
}

int ValuePeak(const unsigned char* samples, long long first, long long end) {
    int peak = 0;
    for (long long at = first; at < end; ++at) {
        std::int16_t values[CHANNELS];
        std::memcpy(values, samples + ByteOf(at), sizeof(values));
        peak = std::max({peak, std::abs(values[0]), std::abs(values[1])});
    }
    return peak;
}

}  // namespace

int SamplePeak(const SoundView& sound, long long first, long long end) {
    first = std::max(first, 0LL);
    end = std::min(end, sound.frames);
    EightValues largest{};
    EightValues smallest{};
    for (; first + FRAMES_AT_ONCE <= end; first += FRAMES_AT_ONCE) {
        EightValues values;
        std::memcpy(&values, sound.samples + ByteOf(first), sizeof(values));
        largest = values > largest ? values : largest;
        smallest = values < smallest ? values : smallest;
    }
    int peak = ValuePeak(sound.samples, first, end);
    for (int i = 0; i < CHANNELS * FRAMES_AT_ONCE; ++i) {
        peak = std::max({peak, static_cast<int>(largest[i]), -static_cast<int>(smallest[i])});
    }
    return peak;
}

double TruePeak(const SoundView& sound, long long first, long long end) {
    std::int16_t values[CHANNELS * MAX_PIECE_FRAMES];
    double peak = SamplePeak(sound, first, end);
    // The interval before a frame, and the interval after it.
    for (long long from = first - 1; from < end; from += MAX_INTERVALS - 1) {
        const long long intervals = std::clamp(end - from, 2LL, MAX_INTERVALS);
        const long long start = std::min(from, end - intervals);
        CopyFrames(sound, start - 5, start + intervals + TRUE_PEAK_REACH, values);
        peak = std::max(peak, InterpolatedPeak(values, intervals) / INTERPOLATOR_UNIT);
    }
    return peak;
}

}  // namespace orlo::sonrel::detail
