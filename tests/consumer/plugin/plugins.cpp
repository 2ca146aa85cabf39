// SPDX-License-Identifier: MIT
// Two effects and a transition in a library that is loaded while the host runs.
#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace {

namespace project = orlo::project;

constexpr int LATE = 100;  // sample frames

/// Delays by 100 sample frames, which it requests before its block.
class Late : public project::AbstractPluginAudio {
public:
    int PluginKind() const override { return 1; }

    int RequiredRanges(project::EffectInstance*, int, int, int, int sampleCount, int, int, int,
                       long long firstSample, long long objectOffset,
                       std::vector<project::SampleRange>* ranges, bool) override {
        ranges->push_back({std::max(firstSample - LATE, objectOffset), firstSample + sampleCount});
        return 0;
    }

    int ProcessAudio(project::EffectInstance*, int channels, int, int, unsigned char* samples, int,
                     int outputCount, int, int, int, long long firstSample,
                     long long inputFirstSample, long long, bool) override {
        auto* const values = reinterpret_cast<short*>(samples);
        const auto missing = static_cast<int>(
            std::min<long long>(LATE - (firstSample - inputFirstSample), outputCount));
        std::copy_backward(values, values + channels * (outputCount - missing),
                           values + channels * outputCount);
        std::fill_n(values, channels * missing, short{0});
        return 0;
    }
};

/// An effect with a fault.
class Faulty : public project::AbstractPluginAudio {
public:
    int PluginKind() const override { return 1; }

    int RequiredRanges(project::EffectInstance*, int, int, int, int, int, int, int, long long,
                       long long, std::vector<project::SampleRange>*, bool) override {
        return 0;
    }

    int ProcessAudio(project::EffectInstance*, int, int, int, unsigned char*, int, int, int, int,
                     int, long long, long long, long long, bool) override {
        throw std::runtime_error("the effect has a fault");
    }
};

/// The mean of both sides.
class Mean : public project::AbstractPluginAudioTransition {
public:
    int PluginKind() const override { return 1; }

    int ProcessTransition(project::Transition*, int, int channels, int, int,
                          unsigned char* fromSamples, int fromCount, unsigned char* toSamples,
                          int toCount, unsigned char* output, int outputCount, int, int, int,
                          int) override {
        const auto value = [](const unsigned char* samples, int count, int at) {
            return at < count ? reinterpret_cast<const short*>(samples)[at] : 0;
        };
        for (int at = 0; at < channels * outputCount; ++at) {
            const int sum = value(fromSamples, channels * fromCount, at) +
                            value(toSamples, channels * toCount, at);
            reinterpret_cast<short*>(output)[at] = static_cast<short>(sum / 2);
        }
        return 0;
    }
};

}  // namespace

#define CONSUMER_EXPORT extern "C" __attribute__((visibility("default")))

CONSUMER_EXPORT project::AbstractPlugin* MakeLate() {
    return new Late;
}
CONSUMER_EXPORT project::AbstractPlugin* MakeFaulty() {
    return new Faulty;
}
CONSUMER_EXPORT project::AbstractPlugin* MakeMean() {
    return new Mean;
}
