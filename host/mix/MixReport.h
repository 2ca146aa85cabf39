// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/mix/Loudness.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Neighbouring meter blocks in which one or both channels clip. Samples of the timeline.
struct ClipStretch {
    zrtl::FrameRange span;
    bool clipped[2] = {false, false};
};

/// What a signal did over the whole mix.
struct SignalSummary {
    std::string name;
    float peak[2] = {0.0f, 0.0f};         ///< full scale 1.0
    long long clippedBlocks[2] = {0, 0};  ///< meter blocks with a clipped value
    std::vector<ClipStretch> clips;       ///< where those blocks lie
};

struct MeterSummary {
    std::vector<SignalSummary> tracks;
    SignalSummary master;
};

/// Sums up all blocks of a meter session.
/// @param trackNames   one for each track meter
/// @param firstSample  where the first block begins on the timeline
MeterSummary Summarize(const sonrel::AudioMixer& mixer, const std::vector<std::string>& trackNames,
                       long long firstSample);

/// All blocks of all meters as a document.
/// @param firstSample  where the first block begins on the timeline
Json MetersJson(const sonrel::AudioMixer& mixer, const std::vector<std::string>& trackNames,
                int rate, int blockFrames, long long firstSample);

Json SignalJson(const SignalSummary& signal, const FrameGrid& grid);
Json LoudnessJson(const LoudnessMeter& loudness);

/// Both as lines of a table.
std::string MetersText(const MeterSummary& meters, const FrameGrid& grid);
std::string LoudnessText(const LoudnessMeter& loudness);

}  // namespace orlo::host
