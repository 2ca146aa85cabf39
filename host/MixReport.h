// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/Loudness.h"
#include "host/Outcome.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// What a signal did over the whole mix.
struct SignalSummary {
    std::string name;
    float peak[2] = {0.0f, 0.0f};         ///< full scale 1.0
    long long clippedBlocks[2] = {0, 0};  ///< meter blocks with a clipped value
};

struct MeterSummary {
    std::vector<SignalSummary> tracks;
    SignalSummary master;
};

/// Sums up all blocks of a meter session.
/// @param trackNames  one for each track meter
MeterSummary Summarize(const sonrel::AudioMixer& mixer, const std::vector<std::string>& trackNames);

/// All blocks of all meters as a document.
/// @param firstSample  where the first block begins on the timeline
Json MetersJson(const sonrel::AudioMixer& mixer, const std::vector<std::string>& trackNames,
                int rate, int blockFrames, long long firstSample);

Json SignalJson(const SignalSummary& signal);
Json LoudnessJson(const LoudnessMeter& loudness);

/// Both as lines of a table.
std::string MetersText(const MeterSummary& meters);
std::string LoudnessText(const LoudnessMeter& loudness);

}  // namespace orlo::host
