// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <initializer_list>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace sonrel_tests {

namespace project = orlo::project;

/// A number that depends on every argument of a plugin's operation.
inline std::uint32_t TraceOf(std::initializer_list<long long> arguments) {
    std::uint64_t trace = 1469598103934665603u;
    for (const long long argument : arguments) {
        trace = (trace ^ static_cast<std::uint64_t>(argument)) * 1099511628211u;
    }
    return static_cast<std::uint32_t>(trace >> 32);
}

/// An effect whose ranges and output depend on every argument: the mean of each sample and the
/// sample @p back frames before it, with the trace of the call in the lowest bits.
class TracingEffect : public project::AbstractPluginAudio {
public:
    /// @param back   frames that it needs before the delivered range
    /// @param ahead  frames that it needs after the delivered range
    TracingEffect(int back, int ahead) : back_(back), ahead_(ahead) {}

    int PluginKind() const override { return 1; }

    int RequiredRanges(project::EffectInstance*, int channels, int sampleRate, int bitsPerSample,
                       int sampleCount, int timelineMs, int startMs, int endMs,
                       long long firstSample, long long objectOffset,
                       std::vector<project::SampleRange>* ranges, bool previewing) override {
        const std::uint32_t trace =
            TraceOf({channels, sampleRate, bitsPerSample, sampleCount, timelineMs, startMs, endMs,
                     firstSample, objectOffset, previewing});
        if (back_ == 0 && ahead_ == 0) return 0;
        ranges->push_back({firstSample - back_, firstSample + sampleCount + ahead_ + trace % 3});
        return static_cast<int>(trace % 5);
    }

    int ProcessAudio(project::EffectInstance*, int channels, int sampleRate, int bitsPerSample,
                     unsigned char* samples, int inputCount, int outputCount, int timelineMs,
                     int startMs, int endMs, long long firstSample, long long inputFirstSample,
                     long long objectOffset, bool previewing) override {
        const std::uint32_t trace =
            TraceOf({channels, sampleRate, bitsPerSample, inputCount, outputCount, timelineMs,
                     startMs, endMs, firstSample, inputFirstSample, objectOffset, previewing});
        auto* values = reinterpret_cast<short*>(samples);
        const auto skipped = 2 * static_cast<int>(firstSample - inputFirstSample);
        for (int i = 0; i < 2 * outputCount; ++i) {
            const int mean = (values[i + skipped] + values[i]) / 2;
            values[i] = static_cast<short>(mean ^ static_cast<int>((trace >> (i % 16)) & 3u));
        }
        return static_cast<int>(trace % 5);
    }

private:
    int back_;
    int ahead_;
};

/// A transition whose output depends on every argument.
class TracingTransition : public project::AbstractPluginAudioTransition {
public:
    int PluginKind() const override { return 1; }

    int ProcessTransition(project::Transition*, int direction, int channels, int sampleRate,
                          int bitsPerSample, unsigned char* fromSamples, int fromCount,
                          unsigned char* toSamples, int toCount, unsigned char* output,
                          int outputCount, int positionMs, int lengthMs, int lengthSamples,
                          int joinOffsetMs) override {
        const std::uint32_t trace =
            TraceOf({direction, channels, sampleRate, bitsPerSample, fromSamples != nullptr,
                     fromCount, toSamples != nullptr, toCount, output == fromSamples, outputCount,
                     positionMs, lengthMs, lengthSamples, joinOffsetMs});
        auto* values = reinterpret_cast<short*>(output);
        const auto valueOf = [](const unsigned char* side, int count, int i) {
            return side != nullptr && i < 2 * count ? reinterpret_cast<const short*>(side)[i] : 0;
        };
        for (int i = 0; i < 2 * outputCount; ++i) {
            const int blend =
                (valueOf(fromSamples, fromCount, i) + 3 * valueOf(toSamples, toCount, i)) / 4;
            values[i] = static_cast<short>(blend ^ static_cast<int>((trace >> (i % 16)) & 3u));
        }
        return static_cast<int>(trace % 5);
    }
};

}  // namespace sonrel_tests
