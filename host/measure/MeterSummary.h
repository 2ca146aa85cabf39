// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Consecutive meter blocks in which one or both channels clip, in samples of the timeline.
struct ClipRange {
    zrtl::FrameRange span;
    bool clipped[2] = {false, false};
};

/// The levels of a signal over the whole mix.
struct SignalSummary {
    std::string name;
    float peak[2] = {0.0f, 0.0f};         ///< full scale 1.0
    long long clippedBlocks[2] = {0, 0};  ///< meter blocks with a clipped value
    std::vector<ClipRange> clips;         ///< ranges of these blocks
};

struct MeterSummary {
    std::vector<SignalSummary> tracks;
    SignalSummary master;
};

/// The finished blocks of a meter session.
struct MeterBlocks {
    unsigned long long count = 0;
    std::function<sonrel::AudioMetrics(unsigned long long index)> at;
};

/// The blocks of a mixer, which must outlive the result.
MeterBlocks BlocksOf(const sonrel::AudioMixer& mixer);

/// Summarizes all blocks of a meter session.
/// @param trackNames   name of each track meter
/// @param firstSample  timeline position of the first block
MeterSummary Summarize(const MeterBlocks& blocks, const std::vector<std::string>& trackNames,
                       long long firstSample);

/// The channels that clip in a range: "left", "right" or "both".
const char* ClippedChannels(const ClipRange& range);

/// Where a signal clips: "at 3 places, 1.2 s in all, first from 00:00:01:05 to 00:00:02:00".
/// @param signal  clips
std::string ClippingText(const SignalSummary& signal, const FrameGrid& grid);

}  // namespace orlo::host
