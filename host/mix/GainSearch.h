// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

namespace orlo::host {

/// The loudness that --normalize requests.
struct LoudnessTarget {
    double lufs = 0.0;
    double truePeakDb = -1.0;  ///< upper limit; takes precedence over the loudness
};

/// The measured levels of a mix.
struct MixLevels {
    std::optional<double> lufs;
    std::optional<double> truePeakDb;
    bool clips = false;
    double peak = 0.0;  ///< before clipping; full scale 1.0
};

/// The result of a search.
struct FoundGain {
    double gainDb = 0.0;
    bool limitedByTruePeak = false;
    double measuredLufs = 0.0;        ///< without the gain
    double measuredTruePeakDb = 0.0;  ///< without the gain
    int measurements = 0;
};

/// Mixes with a gain in dB and measures the mix.
using MeasureMix = std::function<MixLevels(double gainDb)>;

/// Finds the master gain that reaches a target. A mix that clips is measured again with a lower
/// gain, until it does not clip. A mix that needs much more gain is measured again with that gain,
/// because the rounding to 16 bits changes the levels of a quiet mix.
/// @throws JobError for a mix without loudness, and for a mix that clips with every gain
FoundGain FindGain(const LoudnessTarget& target, const MeasureMix& measure);

}  // namespace orlo::host
