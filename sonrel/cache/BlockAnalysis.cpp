// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/BlockAnalysis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "sonrel/base/Numbers.h"

// Marks a loop with independent iterations where the compiler cannot prove it. Clang tests this at
// run time, and would warn about the pragma where vectors are not faster.
#if defined(__clang__)
#define SONREL_INDEPENDENT_ITERATIONS
#else
#define SONREL_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#endif

namespace orlo::sonrel::detail {

using zrh::media::ZRSampleDataType;

namespace {

template <class Value>
Value Load(const unsigned char* from) {
    Value value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

unsigned char ByteOf(double value) {
    return static_cast<unsigned char>(zrtl::TruncToInt32(value));
}

// Each form of samples has a Stored type, in which values have the order of their samples and 0 is
// silence, and defines
//   Unpack    converts one sample of the stream to that type, limited to full scale
//   ToX       the value x of a Stored value
//   PeakByte  the byte of x * 127.0 as a minimum or maximum
//   SCALE     full scale in Stored: Stored / SCALE is x except for rounding

struct Unsigned8 {
    using Stored = std::int16_t;
    static constexpr std::size_t BYTES = 1;
    static constexpr double SCALE = 255.0;
    // Twice the distance from the middle, which is between two values.
    static Stored Unpack(const unsigned char* from) {
        return static_cast<Stored>(2 * from[0] - 255);
    }
    static double ToX(Stored value) {
        const int stored = (value + 255) / 2;
        const double v = stored / 255.0 - 0.5;
        return std::clamp(v + v, -1.0, 1.0);
    }
    // A block on one side of the middle has a limit of 0, which is not the value of any sample.
    static unsigned char PeakByte(Stored value) {
        return value == 0 ? 0 : ByteOf(ToX(value) * 127.0);
    }
};

struct Signed16 {
    using Stored = std::int16_t;
    static constexpr std::size_t BYTES = 2;
    static constexpr double SCALE = 32767.0;
    static Stored Unpack(const unsigned char* from) {
        return std::max(Load<Stored>(from), static_cast<Stored>(-32767));
    }
    static double ToX(Stored value) { return value / SCALE; }
    // In integers: except for 0 and full scale the product is not a multiple of 32767, so that the
    // quotient is far from an integer and the rounding of doubles has no effect.
    static unsigned char PeakByte(Stored value) {
        return static_cast<unsigned char>(value * 127 / 32767);
    }
};

struct Signed24 {
    using Stored = std::int32_t;
    static constexpr std::size_t BYTES = 3;
    static constexpr double SCALE = 2147483391.0;
    static Stored Unpack(const unsigned char* from) {
        const std::uint32_t word = static_cast<std::uint32_t>(from[0]) << 8 |
                                   static_cast<std::uint32_t>(from[1]) << 16 |
                                   static_cast<std::uint32_t>(from[2]) << 24;
        return std::clamp(static_cast<Stored>(word), -2147483391, 2147483391);
    }
    static double ToX(Stored value) { return value / SCALE; }
    static unsigned char PeakByte(Stored value) { return ByteOf(ToX(value) * 127.0); }
};

struct Signed32 {
    using Stored = std::int32_t;
    static constexpr std::size_t BYTES = 4;
    static constexpr double SCALE = 2147483647.0;
    static Stored Unpack(const unsigned char* from) {
        return std::max(Load<Stored>(from), -2147483647);
    }
    static double ToX(Stored value) { return value / SCALE; }
    static unsigned char PeakByte(Stored value) { return ByteOf(ToX(value) * 127.0); }
};

template <class Float>
struct Floats {
    using Stored = Float;
    static constexpr std::size_t BYTES = sizeof(Float);
    static constexpr double SCALE = 1.0;
    static Stored Unpack(const unsigned char* from) { return Load<Float>(from); }
    static double ToX(Stored value) { return static_cast<double>(value); }
    static unsigned char PeakByte(Stored value) { return ByteOf(ToX(value) * 127.0); }
};

unsigned char RmsByte(double sum, int values) {
    return ByteOf(std::sqrt(sum / static_cast<double>(values)) * 255.0);
}

/// The sum in the defined order, one sample after the other.
template <class Form>
double SumInOrder(const unsigned char* samples, int values) {
    double sum = 0.0;
    for (int i = 0; i < values; ++i) {
        const double x =
            Form::ToX(Form::Unpack(samples + static_cast<std::size_t>(i) * Form::BYTES));
        sum += x * x;
    }
    return sum;
}

/// Summarises any number of frames by the definition.
template <class Form>
void SummariseInOrder(const unsigned char* samples, int channels, int frames,
                      unsigned char* block) {
    for (int channel = 0; channel < channels; ++channel) {
        double low = 0.0;
        double high = 0.0;
        for (int frame = 0; frame < frames; ++frame) {
            const int at = frame * channels + channel;
            const double x =
                Form::ToX(Form::Unpack(samples + static_cast<std::size_t>(at) * Form::BYTES));
            if (x > high) {
                high = x;
            } else if (low > x) {
                low = x;
            }
        }
        block[1 + 2 * channel] = ByteOf(low * 127.0);
        block[2 + 2 * channel] = ByteOf(high * 127.0);
    }
    const int values = channels * frames;
    block[0] = RmsByte(SumInOrder<Form>(samples, values), values);
}

/// The sum of the squares of 32 values for each channel, in any order.
double SumOfSquares(const std::int16_t* values, int channels) {
#if defined(__SSE2__)
    // Four squares fit in 32 unsigned bits, because no value is -32768.
    const __m128i zero = _mm_setzero_si128();
    __m128i sums = zero;
    for (int i = 0; i < channels * FRAMES_PER_BLOCK; i += 16) {
        const __m128i a = _mm_load_si128(reinterpret_cast<const __m128i*>(values + i));
        const __m128i b = _mm_load_si128(reinterpret_cast<const __m128i*>(values + i + 8));
        const __m128i fours = _mm_add_epi32(_mm_madd_epi16(a, a), _mm_madd_epi16(b, b));
        sums = _mm_add_epi64(sums, _mm_unpacklo_epi32(fours, zero));
        sums = _mm_add_epi64(sums, _mm_unpackhi_epi32(fours, zero));
    }
    std::array<std::int64_t, 2> halves;
    std::memcpy(halves.data(), &sums, sizeof halves);
    return static_cast<double>(halves[0] + halves[1]);
#else
    std::int64_t sum = 0;
    for (int row = 0; row < channels; ++row, values += FRAMES_PER_BLOCK) {
        for (int i = 0; i < FRAMES_PER_BLOCK; ++i) sum += std::int32_t{values[i]} * values[i];
    }
    return static_cast<double>(sum);
#endif
}

template <class Stored>
double SumOfSquares(const Stored* values, int channels) {
    constexpr int LANES = 8;
    std::array<double, LANES> sums{};
    for (int row = 0; row < channels * FRAMES_PER_BLOCK / LANES; ++row, values += LANES) {
        for (int i = 0; i < LANES; ++i) {
            const auto value = static_cast<double>(values[i]);
            sums[static_cast<std::size_t>(i)] += value * value;
        }
    }
    return ((sums[0] + sums[1]) + (sums[2] + sums[3])) +
           ((sums[4] + sums[5]) + (sums[6] + sums[7]));
}

/// The RMS byte from a sum in another order, which may differ from the defined sum by one part in
/// 10^12: the byte is certain unless RMS times 255 is close to an integer.
/// @return false when the byte is not certain
bool RmsByteNear(double sum, double scale, int values, unsigned char* byte) {
    const double rms = std::sqrt(sum / values) * (255.0 / scale);
    if (!(rms < 65536.0)) return false;
    const auto whole = static_cast<std::int32_t>(rms);
    const double fraction = rms - whole;
    if (fraction > 1.0 - 1e-6 || (fraction < 1e-6 && whole > 0)) return false;
    *byte = static_cast<unsigned char>(whole);
    return true;
}

/// Combines the upper half of the values with the lower half until @p channels values remain.
template <class Stored>
void Reduce(Stored* low, Stored* high, int values, int channels) {
    for (int half = values / 2; half >= channels; half /= 2) {
        SONREL_INDEPENDENT_ITERATIONS
        for (int i = 0; i < half; ++i) {
            low[i] = low[half + i] < low[i] ? low[half + i] : low[i];
            high[i] = high[half + i] > high[i] ? high[half + i] : high[i];
        }
    }
}

/// The limits of each channel over 32 frames: the minimum is at most 0, the maximum at least 0. A
/// NaN fails every comparison with 0 and so changes neither.
/// @param low, high  room for as many values; receive the limits in the first @p channels values
template <class Stored>
void LimitsOf(const Stored* values, int channels, Stored* low, Stored* high) {
    const Stored zero{};
    const int count = channels * FRAMES_PER_BLOCK;
    for (int i = 0; i < count; ++i) {
        low[i] = values[i] < zero ? values[i] : zero;
        high[i] = values[i] > zero ? values[i] : zero;
    }
    Reduce(low, high, count, channels);
}

#if defined(__SSE2__)
/// As above, for numbers of channels that divide the eight values of a register.
void LimitsInRegisters(const std::int16_t* values, int channels, std::int16_t* low,
                       std::int16_t* high) {
    __m128i minima = _mm_setzero_si128();
    __m128i maxima = _mm_setzero_si128();
    for (int i = 0; i < channels * FRAMES_PER_BLOCK; i += 8) {
        const __m128i eight = _mm_load_si128(reinterpret_cast<const __m128i*>(values + i));
        minima = _mm_min_epi16(minima, eight);
        maxima = _mm_max_epi16(maxima, eight);
    }
    _mm_store_si128(reinterpret_cast<__m128i*>(low), minima);
    _mm_store_si128(reinterpret_cast<__m128i*>(high), maxima);
    Reduce(low, high, 8, channels);
}
#endif

/// Summarises a whole block with the same bytes as SummariseInOrder: minima and maxima do not
/// depend on the order, and RMS is summed in order where the order could change its byte.
/// @tparam CHANNELS  the channels, or 0 to use the argument
template <class Form, int CHANNELS>
void SummariseWhole(const unsigned char* samples, int channelArgument, unsigned char* block) {
    using Stored = typename Form::Stored;
    const int channels = CHANNELS > 0 ? CHANNELS : channelArgument;
    const int values = channels * FRAMES_PER_BLOCK;

    constexpr std::size_t ROOM = FRAMES_PER_BLOCK * (CHANNELS > 0 ? CHANNELS : MAX_PEAK_CHANNELS);
    alignas(64) std::array<Stored, ROOM> stored{};
    alignas(64) std::array<Stored, ROOM> low;
    alignas(64) std::array<Stored, ROOM> high;
    for (int i = 0; i < values; ++i) {
        stored[i] = Form::Unpack(samples + static_cast<std::size_t>(i) * Form::BYTES);
    }
#if defined(__SSE2__)
    if constexpr (std::is_same_v<Stored, std::int16_t> && CHANNELS > 0) {
        LimitsInRegisters(stored.data(), channels, low.data(), high.data());
    } else
#endif
    {
        LimitsOf(stored.data(), channels, low.data(), high.data());
    }
    for (int channel = 0; channel < channels; ++channel) {
        block[1 + 2 * channel] = Form::PeakByte(low[channel]);
        block[2 + 2 * channel] = Form::PeakByte(high[channel]);
    }
    if (!RmsByteNear(SumOfSquares(stored.data(), channels), Form::SCALE, values, block)) {
        block[0] = RmsByte(SumInOrder<Form>(samples, values), values);
    }
}

template <class Form>
void Summarise(const unsigned char* samples, int channels, int frames, unsigned char* block) {
    if (frames != FRAMES_PER_BLOCK) {
        SummariseInOrder<Form>(samples, channels, frames, block);
    } else if (channels == 1) {
        SummariseWhole<Form, 1>(samples, channels, block);
    } else if (channels == 2) {
        SummariseWhole<Form, 2>(samples, channels, block);
    } else {
        SummariseWhole<Form, 0>(samples, channels, block);
    }
}

SampleForm IntegerForm(int bitsPerSample) {
    switch (bitsPerSample) {
        case 8:
            return SampleForm::Unsigned8;
        case 16:
            return SampleForm::Signed16;
        case 24:
            return SampleForm::Signed24;
        case 32:
            return SampleForm::Signed32;
        default:
            return SampleForm::None;
    }
}

}  // namespace

SampleForm SampleFormOf(ZRSampleDataType type, int bitsPerSample) {
    if (type == ZRSampleDataType::Integer) return IntegerForm(bitsPerSample);
    if (type != ZRSampleDataType::Float) return SampleForm::None;
    if (bitsPerSample == 32) return SampleForm::Float32;
    if (bitsPerSample == 64) return SampleForm::Float64;
    return SampleForm::None;
}

void SummariseBlock(SampleForm form, const unsigned char* samples, int channels, int frames,
                    unsigned char* block) {
    switch (form) {
        case SampleForm::Unsigned8:
            return Summarise<Unsigned8>(samples, channels, frames, block);
        case SampleForm::Signed16:
            return Summarise<Signed16>(samples, channels, frames, block);
        case SampleForm::Signed24:
            return Summarise<Signed24>(samples, channels, frames, block);
        case SampleForm::Signed32:
            return Summarise<Signed32>(samples, channels, frames, block);
        case SampleForm::Float32:
            return Summarise<Floats<float>>(samples, channels, frames, block);
        case SampleForm::Float64:
            return Summarise<Floats<double>>(samples, channels, frames, block);
        case SampleForm::None:
            break;
    }
    std::fill_n(block, PeakBlockBytes(channels), static_cast<unsigned char>(0));
}

}  // namespace orlo::sonrel::detail
