// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/measure/Loudness.h"
#include "host/measure/MeterSummary.h"
#include "host/mix/MixOptions.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// The keys of the report of every mix, with their values before mixing.
Json ReportHead(const MixOptions& options, const FrameGrid& grid, bool isTimeline);

/// All blocks of all meters as a document.
/// @param firstSample  timeline position of the first block
Json MetersJson(const MeterBlocks& blocks, const std::vector<std::string>& trackNames, int rate,
                int blockFrames, long long firstSample);

/// The first line of the text: the name of the output and its length.
std::string HeadText(const std::string& output, const FrameGrid& grid, long long samples);

/// Fails with exit code 3 when the master clips.
void FailOnClip(const std::string& output, const MeterSummary& meters, const FrameGrid& grid,
                Outcome& outcome);

Json SignalJson(const SignalSummary& signal, const FrameGrid& grid);
Json LoudnessJson(const LoudnessMeter& loudness);
/// The momentary and short-term loudness at the end of each meter block.
Json LoudnessBlocksJson(const LoudnessMeter& loudness);

/// The meters and the loudness as lines of a table.
std::string MetersText(const MeterSummary& meters, const FrameGrid& grid);
std::string LoudnessText(const LoudnessMeter& loudness);

}  // namespace orlo::host
