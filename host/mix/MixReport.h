// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/mix/Loudness.h"
#include "host/mix/MixOptions.h"
#include "host/shell/Outcome.h"
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

/// The keys of the report of every mix, with their values before mixing.
Json ReportHead(const MixOptions& options, const FrameGrid& grid, bool isTimeline);

/// The blocks of a mixer, which must outlive the result.
MeterBlocks BlocksOf(const sonrel::AudioMixer& mixer);

/// Summarizes all blocks of a meter session.
/// @param trackNames   name of each track meter
/// @param firstSample  timeline position of the first block
MeterSummary Summarize(const MeterBlocks& blocks, const std::vector<std::string>& trackNames,
                       long long firstSample);

/// All blocks of all meters as a document.
/// @param firstSample  timeline position of the first block
Json MetersJson(const MeterBlocks& blocks, const std::vector<std::string>& trackNames, int rate,
                int blockFrames, long long firstSample);

/// The first line of the text: the name of the output and its length.
std::string HeadText(const std::string& output, const FrameGrid& grid, long long samples);

/// Fails with exit code 3 when the master clips.
void FailOnClip(const std::string& output, const MeterSummary& meters, const FrameGrid& grid,
                Outcome& outcome);

/// Where a signal clips: "at 3 places, 1.2 s in all, first from 00:00:01:05 to 00:00:02:00".
/// @param signal  clips
std::string ClippingText(const SignalSummary& signal, const FrameGrid& grid);

Json SignalJson(const SignalSummary& signal, const FrameGrid& grid);
Json LoudnessJson(const LoudnessMeter& loudness);
/// The momentary and short-term loudness at the end of each meter block.
Json LoudnessBlocksJson(const LoudnessMeter& loudness);

/// The meters and the loudness as lines of a table.
std::string MetersText(const MeterSummary& meters, const FrameGrid& grid);
std::string LoudnessText(const LoudnessMeter& loudness);

}  // namespace orlo::host
