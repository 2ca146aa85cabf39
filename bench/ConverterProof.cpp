// SPDX-License-Identifier: MIT

// Compares the sample conversion with its reference implementation, on every path of this
// processor, and exits 1 at the first difference: without dither all 2^32 bit patterns of a float,
// and millions of frames of every kind of value with each dither.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/mixer/SampleConverter.h"
#include "tests/reference/ReferenceConverter.h"

namespace {

using orlo::sonrel::DitherType;
using orlo::sonrel::SampleConverter;
using orlo::sonrel::detail::CpuPath;

constexpr std::uint32_t PIECE = 1u << 16;  // values in one conversion

float FromBits(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The input is multiplied by 32768 first; infinity covers the patterns whose product overflows.
long long CompareAllPatterns() {
    SampleConverter converter(DitherType::None, 1);
    std::vector<float> input(PIECE);
    std::vector<short> output(PIECE);
    long long differences = 0;
    for (std::uint64_t first = 0; first < (1ull << 32); first += PIECE) {
        for (std::uint32_t i = 0; i < PIECE; ++i) {
            input[i] = FromBits(static_cast<std::uint32_t>(first) + i);
        }
        converter.FloatToInt16(input.data(), output.data(), PIECE / 2);
        for (std::uint32_t i = 0; i < PIECE; ++i) {
            const short expected =
                orlo::sonrel::reference::SampleConverter::Quantise(input[i] * 32768.0f);
            differences += output[i] != expected;
        }
    }
    return differences;
}

long long CompareDither(DitherType type, int pieces) {
    std::mt19937 random(3);
    SampleConverter converter(type, 11);
    orlo::sonrel::reference::SampleConverter plain(type, 11);
    long long differences = 0;
    std::vector<float> input(PIECE);
    std::vector<short> output(PIECE);
    std::vector<short> expected(PIECE);
    for (int piece = 0; piece < pieces; ++piece) {
        for (float& value : input) {
            const auto bits = static_cast<std::uint32_t>(random());
            value = bits % 8 == 0 ? FromBits(static_cast<std::uint32_t>(random()))
                                  : static_cast<float>(static_cast<std::int32_t>(bits)) * 0x1p-30f;
        }
        const int frames = static_cast<int>(PIECE / 2 - random() % 1000);
        converter.FloatToInt16(input.data(), output.data(), frames);
        plain.FloatToInt16(input.data(), expected.data(), frames);
        for (int i = 0; i < 2 * frames; ++i) {
            differences +=
                output[static_cast<std::size_t>(i)] != expected[static_cast<std::size_t>(i)];
        }
    }
    return differences;
}

}  // namespace

int main() {
    constexpr int PIECES = 300;
    long long differences = 0;
    for (const CpuPath path : {CpuPath::Baseline, CpuPath::Avx2}) {
        if (!orlo::sonrel::detail::ForceCpuPath(path)) continue;
        const char* name = path == CpuPath::Baseline ? "baseline" : "AVX2";
        const long long patterns = CompareAllPatterns();
        std::printf("%s: 2^32 float patterns without dither, %lld differ\n", name, patterns);
        differences += patterns;
        for (const DitherType type : {DitherType::Triangular, DitherType::HighPassTriangular}) {
            const long long dithered = CompareDither(type, PIECES);
            std::printf("%s: %.1f million frames with dither %d, %lld differ\n", name,
                        PIECES * (PIECE / 2 - 500.0) * 1e-6, static_cast<int>(type), dithered);
            differences += dithered;
        }
    }
    return differences == 0 ? 0 : 1;
}
