// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// Two clocks that do not run equally fast.
struct Drift {
    double ppm = 0.0;       ///< A's clock against B's: positive where A counts more frames
    double residual = 0.0;  ///< root mean square distance of the places from the line, frames
    double change = 0.0;    ///< of the offset over the whole overlap, frames
};

/// Whether a place measured the same offset as the whole, clocks that drift allowed for.
bool Agrees(const Measure& place, const Measure& whole, int rate);

/// The probability with which a place of unrelated recordings agrees, at most.
double ChanceToAgree(const Measure& place, const Measure& whole, int rate);

/// Fits a line through the offsets along an overlap. @return nothing where the places are too few
/// or too close together
std::optional<Drift> FitDrift(const std::vector<Measure>& places, const Measure& whole,
                              const FrameRange& overlap, int rate);

}  // namespace orlo::host
