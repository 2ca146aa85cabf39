// SPDX-License-Identifier: MIT

// The effects whose arithmetic is compiled for several instruction sets, on each of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel {
namespace {

using PluginPack::CreateEffect;
using PluginPack::Parameters;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;

class SampleKernels : public test::OnEveryCpuPath {};

short ToSample(double value) {
    return static_cast<short>(std::clamp(zrtl::RoundHalfAway(value), -32768.0, 32767.0));
}

RenderedObject Through(const char* effect, const Parameters& parameters, const Samples& source) {
    RenderedObject object;
    object.source = source;
    object.effects = {CreateEffect(effect, parameters)};
    return object;
}

/// All values of 16 bits, on the left upwards and on the right downwards.
Samples AllValues() {
    Samples values;
    for (int value = -32768; value <= 32767; ++value) {
        values.push_back(static_cast<short>(value));
        values.push_back(static_cast<short>(-1 - value));
    }
    return values;
}

TEST_P(SampleKernels, AGainRoundsEachProductHalfAwayFromZeroAndClipsIt) {
    const Samples source = AllValues();
    for (const double decibels : {-96.0, -20.0 * std::log10(2.0), -0.1, 0.0, 6.0, 24.0}) {
        const double factor = std::pow(10.0, decibels / 20.0);
        Samples expected;
        for (const short value : source) expected.push_back(ToSample(value * factor));
        EXPECT_EQ(Through("gain", {{"gainDb", decibels}}, source).Render(0, 65536), expected)
            << decibels;
    }
}

TEST_P(SampleKernels, AGainChangesBlocksOfAnyLength) {
    const Samples source = sonrel_tests::Noise(40, 5);
    const RenderedObject object = Through("gain", {{"gainDb", 20}}, source);
    for (int count = 1; count <= 13; ++count) {
        Samples expected;
        for (int i = 0; i < 2 * count; ++i) {
            expected.push_back(ToSample(source[static_cast<std::size_t>(6 + i)] * 10.0));
        }
        EXPECT_EQ(object.Render(3, count), expected) << count;
    }
}

/// The output of a delay, written out for one value.
short DelayedValue(const Samples& source, std::size_t at, std::size_t delay, int taps) {
    double sum = source[at];
    for (int k = 1; k <= taps && at >= 2 * delay; ++k) {
        at -= 2 * delay;
        sum += source[at] * std::pow(10.0, -3.0 * k / 20.0);
    }
    return ToSample(sum);
}

TEST_P(SampleKernels, ADelaySumsTheRepeatsOfEachFrame) {
    const Samples source = sonrel_tests::Noise(300, 6);
    // At 1000 Hz a millisecond is a frame: repeats inside of four frames and beyond.
    for (const int delay : {1, 2, 3, 4, 5, 37}) {
        for (const int taps : {1, 3, 8}) {
            RenderedObject object =
                Through("delay", {{"delayMs", delay}, {"taps", taps}, {"levelDb", -3}}, source);
            object.rate = 1000;
            Samples expected;
            for (std::size_t at = 0; at < source.size(); ++at) {
                expected.push_back(DelayedValue(source, at, static_cast<std::size_t>(delay), taps));
            }
            EXPECT_EQ(object.Render(0, 300), expected) << delay << " " << taps;
            for (const int first : {1, 2, 3, 150}) {
                const Samples part(expected.begin() + 2 * first, expected.begin() + 2 * first + 50);
                EXPECT_EQ(object.Render(first, 25), part) << delay << " " << taps << " " << first;
            }
        }
    }
}

/// The high-pass as a recursion, for one channel from rest.
std::vector<double> HighPassed(const Samples& source, int channel, double frequency, double q) {
    const double w0 = 2.0 * std::numbers::pi * frequency / 48000.0;
    const double alpha = std::sin(w0) / (2.0 * q);
    const double b = (1.0 + std::cos(w0)) / 2.0;
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    std::vector<double> values;
    for (std::size_t at = static_cast<std::size_t>(channel); at < source.size(); at += 2) {
        const double x = source[at];
        const double y =
            (b * (x - x1 - x1 + x2) + 2.0 * std::cos(w0) * y1 - (1.0 - alpha) * y2) / (1.0 + alpha);
        x2 = x1, x1 = x, y2 = y1, y1 = y;
        values.push_back(y);
    }
    return values;
}

/// How far the values of a channel of a rendering are from a calculation, in steps.
double WorstError(const Samples& rendered, int channel, const double* calculated) {
    double worst = 0.0;
    for (std::size_t i = static_cast<std::size_t>(channel); i < rendered.size(); i += 2) {
        const double limited = std::clamp(calculated[i / 2], -32768.0, 32767.0);
        worst = std::max(worst, std::abs(rendered[i] - limited));
    }
    return worst;
}

TEST_P(SampleKernels, AFilterIsTheRecursionFromTheFirstSampleOfAShortSource) {
    const Samples source = sonrel_tests::Noise(3000, 8);
    for (const double frequency : {10.0, 80.0, 5000.0, 21600.0}) {
        for (const double q : {0.1, 0.7071, 10.0}) {
            const RenderedObject object =
                Through("high-pass", {{"frequencyHz", frequency}, {"q", q}}, source);
            for (const int channel : {0, 1}) {
                const auto expected = HighPassed(source, channel, frequency, q);
                // A value halfway between two steps may be rounded to the other one.
                EXPECT_LT(WorstError(object.Render(0, 3000), channel, expected.data()), 0.500001)
                    << frequency << " " << q;
            }
        }
    }
}

TEST_P(SampleKernels, AFilterStartsAndEndsBlocksAtAnyFrame) {
    const Samples source = sonrel_tests::Noise(600, 9);
    const RenderedObject object = Through("high-pass", {{"frequencyHz", 300}, {"q", 1}}, source);
    const auto left = HighPassed(source, 0, 300, 1);
    const auto right = HighPassed(source, 1, 300, 1);
    for (const int first : {0, 1, 2, 3, 4, 401, 586}) {
        for (int count = 1; count <= 14; ++count) {
            const Samples block = object.Render(first, count);
            ASSERT_EQ(block.size(), 2u * static_cast<unsigned>(count));
            EXPECT_LT(WorstError(block, 0, left.data() + first), 0.500001) << first << " " << count;
            EXPECT_LT(WorstError(block, 1, right.data() + first), 0.500001)
                << first << " " << count;
        }
    }
}

TEST_P(SampleKernels, GiveTheSameBytesOnEveryInstructionSet) {
    const Samples source = sonrel_tests::Noise(20000, 10);
    for (const char* effect : {"low-pass", "high-pass", "gain", "delay"}) {
        const Parameters parameters =
            std::string(effect) == "gain" ? Parameters{{"gainDb", 3.3}} : Parameters{};
        const RenderedObject object = Through(effect, parameters, source);
        const Samples rendered = object.Render(12345, 5001);
        ASSERT_TRUE(detail::ForceCpuPath(detail::CpuPath::Baseline));
        EXPECT_EQ(rendered, object.Render(12345, 5001)) << effect;
        ASSERT_TRUE(detail::ForceCpuPath(GetParam()));
    }
}

SONREL_ON_EVERY_CPU_PATH(SampleKernels);

}  // namespace
}  // namespace orlo::sonrel
