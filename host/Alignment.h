// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Progress.h"
#include "host/RecordingPair.h"

namespace orlo::host {

/// How an answer was found.
enum class AlignmentWay { Search, Levels, OtherPlaces, LoudSeconds, Ranges };

/// The way as a word of the report.
const char* WayName(AlignmentWay way);

enum class Verdict { Aligned, Uncertain, Unrelated };

const char* VerdictName(Verdict verdict);

/// Two clocks that do not run equally fast.
struct Drift {
    double ppm = 0.0;       ///< A's clock against B's: positive where A counts more frames
    double residual = 0.0;  ///< root mean square distance of the places from the line, frames
    double change = 0.0;    ///< of the offset over the whole overlap, frames
};

/// An offset that was measured.
struct Alignment {
    AlignmentWay way = AlignmentWay::Search;
    Measure refined;
    std::vector<Measure> places;  ///< along the overlap
    std::vector<Place> segments;  ///< that were searched for, in the reference recording
    double matchedSeconds = 0.0;  ///< of the overlap, weighted with the correlation
};

/// Sample frames of the shortest stretch whose correlation can be judged: a tenth of a second.
/// In 20 ms unrelated words and music reach 0.9, the correlation that is required of the shortest
/// stretches; a single frame always reaches 1.0. docs/alignment.md has the measurements.
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

/// Whether a place measured the same offset as the whole, clocks that drift allowed for.
bool Agrees(const Measure& place, const Measure& whole, int rate);

/// Fits a line through the offsets along an overlap. @return nothing where the places are too few
/// or too close together
std::optional<Drift> FitDrift(const std::vector<Measure>& places, const Measure& whole,
                              const Place& overlap, int rate);

/// Finds how far a pair is apart: the engine's search first, and where its answer does not hold up
/// when it is measured again, other ways in turn.
///
/// An offset at which both recordings run together for less than MinJudgedFrames is not an answer.
/// A recording that is shorter is unrelated to everything, with the correlation 0.0.
/// @param leastCorrelation  of the refined answer
/// @throws CommandError when the program is asked to stop
AlignmentAnswer Align(const RecordingPair& pair, double leastCorrelation, Progress& progress);

}  // namespace orlo::host
