// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/align/Drift.h"
#include "host/align/RecordingPair.h"
#include "host/shell/Progress.h"

namespace orlo::host {

/// How an answer was found.
enum class AlignmentMethod { Search, Levels, OtherPlaces, LoudSeconds, Ranges };

/// The way as a word of the report.
const char* MethodName(AlignmentMethod method);

enum class Verdict { Aligned, Uncertain, Unrelated };

const char* VerdictName(Verdict verdict);

/// An offset that was measured.
struct Alignment {
    AlignmentMethod method = AlignmentMethod::Search;
    Measure refined;
    std::vector<Measure> places;       ///< along the overlap
    std::vector<FrameRange> segments;  ///< that were searched for, in the reference recording
    double matchedSeconds = 0.0;       ///< of the overlap, weighted with the correlation
    double chance = 1.0;               ///< correlation that unrelated recordings reach
};

/// Sample frames of the shortest stretch whose correlation is judged: a tenth of a second. Shorter
/// stretches of words and music rest on so few independent values that unrelated ones reach 0.9; a
/// single frame always reaches 1.0. docs/alignment.md has the measurements.
constexpr long long MinJudgedFrames(int rate) {
    return (rate + 9LL) / 10;
}

/// What is told about a pair of recordings.
struct AlignmentAnswer {
    sonrel::AudioSync::CorrelationResult engine;
    Alignment found;
    std::optional<Drift> drift;
    Verdict verdict = Verdict::Unrelated;
    bool oneOffsetFits = true;
    bool referenceIsA = true;
    bool tooShort = false;  ///< a recording cannot be judged; nothing was compared
};

/// Finds how far a pair is apart: the engine's search first, and where its answer does not hold up
/// when it is measured again, other ways in turn.
///
/// An offset at which both recordings run together for less than MinJudgedFrames is not an answer.
/// A recording that is shorter is unrelated to everything, with the correlation 0.0.
/// @param leastCorrelation  of the refined answer
/// @throws CommandError when the program is asked to stop
AlignmentAnswer Align(const RecordingPair& pair, double leastCorrelation, Progress& progress);

}  // namespace orlo::host
