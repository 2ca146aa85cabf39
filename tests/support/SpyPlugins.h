// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/project.h"

namespace sonrel_tests {

namespace project = orlo::project;

/// The arguments of one RequiredRanges.
struct RangesCall {
    project::EffectInstance* instance = nullptr;
    int channels = 0;
    int sampleRate = 0;
    int bitsPerSample = 0;
    int sampleCount = 0;
    int timelineMs = 0;
    int startMs = 0;
    int endMs = 0;
    long long firstSample = 0;
    long long objectOffset = 0;
    bool rangesEmpty = false;
    bool previewing = false;

    friend bool operator==(const RangesCall&, const RangesCall&) = default;
};

/// The arguments of one ProcessAudio, without the buffer.
struct ProcessCall {
    project::EffectInstance* instance = nullptr;
    int channels = 0;
    int sampleRate = 0;
    int bitsPerSample = 0;
    int inputCount = 0;
    int outputCount = 0;
    int timelineMs = 0;
    int startMs = 0;
    int endMs = 0;
    long long firstSample = 0;
    long long inputFirstSample = 0;
    long long objectOffset = 0;
    bool previewing = false;

    friend bool operator==(const ProcessCall&, const ProcessCall&) = default;
};

/// An audio effect that records its calls and behaves as a test sets it. By default it needs the
/// range that it delivers and changes no sample.
class SpyEffect : public project::AbstractPluginAudio {
public:
    std::vector<RangesCall> rangesCalls;
    std::vector<ProcessCall> processCalls;
    std::function<void(const RangesCall&, std::vector<project::SampleRange>&)> onRanges;
    std::function<void(const ProcessCall&, short*)> onProcess;
    int kind = 1;
    int result = 0;

    int PluginKind() const override { return kind; }

    int RequiredRanges(project::EffectInstance* instance, int channels, int sampleRate,
                       int bitsPerSample, int sampleCount, int timelineMs, int startMs, int endMs,
                       long long firstSample, long long objectOffset,
                       std::vector<project::SampleRange>* ranges, bool previewing) override {
        rangesCalls.push_back({instance, channels, sampleRate, bitsPerSample, sampleCount,
                               timelineMs, startMs, endMs, firstSample, objectOffset,
                               ranges->empty(), previewing});
        if (onRanges) onRanges(RangesCall(rangesCalls.back()), *ranges);
        return result;
    }

    int ProcessAudio(project::EffectInstance* instance, int channels, int sampleRate,
                     int bitsPerSample, unsigned char* samples, int inputCount, int outputCount,
                     int timelineMs, int startMs, int endMs, long long firstSample,
                     long long inputFirstSample, long long objectOffset, bool previewing) override {
        processCalls.push_back({instance, channels, sampleRate, bitsPerSample, inputCount,
                                outputCount, timelineMs, startMs, endMs, firstSample,
                                inputFirstSample, objectOffset, previewing});
        if (onProcess) {
            onProcess(ProcessCall(processCalls.back()), reinterpret_cast<short*>(samples));
        }
        return result;
    }
};

/// The arguments of one ProcessTransition.
struct TransitionCall {
    project::Transition* instance = nullptr;
    int direction = 0;
    int channels = 0;
    int sampleRate = 0;
    int bitsPerSample = 0;
    short* from = nullptr;
    int fromCount = 0;
    short* to = nullptr;
    int toCount = 0;
    short* output = nullptr;
    int outputCount = 0;
    int positionMs = 0;
    int lengthMs = 0;
    int lengthSamples = 0;
    int joinOffsetMs = 0;
};

/// A transition that records its calls and behaves as a test sets it. By default it does not change
/// the block's own object. The pointers of a call are valid only while it runs.
class SpyTransition : public project::AbstractPluginAudioTransition {
public:
    std::vector<TransitionCall> calls;
    std::function<void(const TransitionCall&)> onProcess;
    int result = 0;

    int PluginKind() const override { return 1; }

    int ProcessTransition(project::Transition* instance, int direction, int channels,
                          int sampleRate, int bitsPerSample, unsigned char* fromSamples,
                          int fromCount, unsigned char* toSamples, int toCount,
                          unsigned char* output, int outputCount, int positionMs, int lengthMs,
                          int lengthSamples, int joinOffsetMs) override {
        calls.push_back({instance, direction, channels, sampleRate, bitsPerSample,
                         reinterpret_cast<short*>(fromSamples), fromCount,
                         reinterpret_cast<short*>(toSamples), toCount,
                         reinterpret_cast<short*>(output), outputCount, positionMs, lengthMs,
                         lengthSamples, joinOffsetMs});
        if (onProcess) onProcess(TransitionCall(calls.back()));
        return result;
    }
};

}  // namespace sonrel_tests
