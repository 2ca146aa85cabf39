// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/align/Drift.h"
#include "host/align/RecordingPair.h"
#include "host/shell/Progress.h"

namespace orlo::host {

/// The method that found an alignment.
enum class AlignmentMethod { Search, Levels, OtherPlaces, LoudSeconds, Ranges };

/// The name of a method in the report.
const char* MethodName(AlignmentMethod method);

enum class Verdict { Aligned, Uncertain, Unrelated };

const char* VerdictName(Verdict verdict);

/// A measured offset.
struct Alignment {
    AlignmentMethod method = AlignmentMethod::Search;
    Measure refined;
    std::vector<Measure> places;       ///< along the overlap
    std::vector<FrameRange> segments;  ///< searched segments of the reference recording
    double matchedSeconds = 0.0;  ///< matched part of the overlap, weighted with the correlation
    double chance = 1.0;          ///< correlation that unrelated recordings reach
};

/// Minimum number of sample frames whose correlation is judged: a tenth of a second. Shorter ranges
/// of speech and music have so few independent values that unrelated ranges reach 0.9; a single
/// frame always reaches 1.0. docs/alignment.md has the measurements.
constexpr long long MinJudgedFrames(int rate) {
    return (rate + 9LL) / 10;
}

/// The reported result for a pair of recordings.
struct AlignmentResult {
    sonrel::AudioSync::CorrelationResult engine;
    Alignment found;
    std::optional<Drift> drift;
    Verdict verdict = Verdict::Unrelated;
    bool oneOffsetFits = true;
    bool referenceIsA = true;
    bool tooShort = false;  ///< a recording is too short to be judged; no range was compared
};

/// Finds the offset of a pair. The engine's search runs first; when a second measurement does not
/// confirm its result, the other methods follow one after another.
///
/// An offset with an overlap of less than MinJudgedFrames is never a result. A shorter recording is
/// unrelated to every other recording, with the correlation 0.0.
/// @param minCorrelation  minimum correlation of the refined result
/// @throws CommandError when the program is asked to stop
AlignmentResult Align(const RecordingPair& pair, double minCorrelation, Progress& progress);

}  // namespace orlo::host
