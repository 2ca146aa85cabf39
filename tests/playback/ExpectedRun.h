// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "tests/playback/FakeDevice.h"
#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {

/// Returns samples of the target as the mixer does; nothing where the mixer fails or delivers
/// fewer.
using Source = std::function<std::vector<short>(long long position, int count)>;

/// A run buffer by buffer, computed from its rules and a source.
struct RunRules {
    int rate = 48000;
    double frameRate = 25.0;
    long long total = 0;
    Direction direction = FORWARD;
    int speed = 1;

    int BufferFrames() const { return static_cast<int>(std::ceil(rate / frameRate)); }
    bool EndedAt(long long position) const {
        return direction == FORWARD ? position >= total : position <= 0;
    }
};

/// One buffer as it must be, and where the next one begins.
struct ExpectedBuffer {
    std::vector<short> placed;  // the samples that were read, at the front of the buffer
    int videoFrame = 0;
    long long firstSample = 0;
    long long endSample = 0;
    bool endOfStream = false;
    long long next = 0;
};

inline ExpectedBuffer ExpectBuffer(const RunRules& rules, long long position,
                                   const Source& source) {
    ExpectedBuffer buffer;
    buffer.firstSample = position;
    const bool forward = rules.direction == FORWARD;
    const long long room = static_cast<long long>(rules.BufferFrames()) * rules.speed;
    const int count = static_cast<int>(std::min(room, forward ? rules.total - position : position));
    buffer.next = forward ? position + count : position - count;
    const std::vector<short> mixed = source(forward ? position : buffer.next, count);
    const bool whole = mixed.size() == 2 * static_cast<std::size_t>(count);
    if (!whole && forward) buffer.next = position;
    const int frames = whole ? count / rules.speed : 0;
    for (int n = 0; n < frames; ++n) {
        const int k = forward ? n : frames - 1 - n;
        const double step = static_cast<double>(count) / frames;
        const auto picked = std::min(static_cast<int>(2 * k * step) / 2, count - 1);
        buffer.placed.push_back(mixed[2 * static_cast<std::size_t>(picked)]);
        buffer.placed.push_back(mixed[2 * static_cast<std::size_t>(picked) + 1]);
    }
    const auto lowest = static_cast<double>(forward ? position : buffer.next);
    buffer.videoFrame = static_cast<int>(lowest / rules.rate * rules.frameRate);
    buffer.endSample = position + frames;
    buffer.endOfStream = rules.EndedAt(buffer.next);
    return buffer;
}

/// All that a run without a flush submits, the old contents of its 50 buffers included.
inline std::vector<Submission> ExpectRun(const RunRules& rules, long long start,
                                         const Source& source) {
    std::vector<std::vector<short>> ring(
        50, std::vector<short>(2 * static_cast<std::size_t>(rules.BufferFrames())));
    std::vector<Submission> run;
    for (long long position = start; !rules.EndedAt(position);) {
        const ExpectedBuffer buffer = ExpectBuffer(rules, position, source);
        std::vector<short>& slot = ring[run.size() % 50];
        std::copy(buffer.placed.begin(), buffer.placed.end(), slot.begin());
        run.push_back({slot, nullptr, buffer.endOfStream, buffer.videoFrame, buffer.firstSample,
                       buffer.endSample});
        position = buffer.next;
    }
    return run;
}

/// A source that is a list of samples.
inline Source SamplesSource(std::vector<short> samples) {
    return [samples = std::move(samples)](long long position, int count) {
        const auto first = samples.begin() + 2 * position;
        return std::vector<short>(first, first + 2 * static_cast<std::ptrdiff_t>(count));
    };
}

/// Compares everything but the contexts.
inline void ExpectSameSubmissions(const std::vector<Submission>& actual,
                                  const std::vector<Submission>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(actual[i].videoFrame, expected[i].videoFrame) << "buffer " << i;
        ASSERT_EQ(actual[i].firstSample, expected[i].firstSample) << "buffer " << i;
        ASSERT_EQ(actual[i].endSample, expected[i].endSample) << "buffer " << i;
        ASSERT_EQ(actual[i].endOfStream, expected[i].endOfStream) << "buffer " << i;
        ASSERT_TRUE(actual[i].samples == expected[i].samples) << "samples of buffer " << i;
    }
}

}  // namespace sonrel_tests
