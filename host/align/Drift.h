// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// The drift between two clocks.
struct Drift {
    double ppm = 0.0;       ///< clock of A relative to B: positive when A counts more frames
    double residual = 0.0;  ///< root mean square distance of the places from the line, frames
    double change = 0.0;    ///< change of the offset over the whole overlap, frames
    double middle = 0.0;    ///< mean place, frame in B
    double atMiddle = 0.0;  ///< offset of the line there, from that of the whole, frames

    /// Offset of the line at a frame of B, from that of the whole, frames.
    double At(long long frame) const {
        return atMiddle + ppm * 1e-6 * (static_cast<double>(frame) - middle);
    }
};

/// Whether a place has the same offset as the whole, within the limits of clock drift.
bool Agrees(const Measure& place, const Measure& whole, int rate);

/// Upper limit of the probability that a place of unrelated recordings agrees.
double ChanceToAgree(const Measure& place, const Measure& whole, int rate);

/// Fits a line through the offsets along an overlap.
/// @return empty when the places are too few or too close together
std::optional<Drift> FitDrift(const std::vector<Measure>& places, const Measure& whole,
                              const FrameRange& overlap, int rate);

}  // namespace orlo::host
