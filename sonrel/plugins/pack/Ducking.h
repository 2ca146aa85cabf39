// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/pack/PluginPack.h"

/// Ducking: the sound of one track, the key, lowers the sound of another.
///
/// The host measures the key once: the peaks of its cells, for example of a mix of the track. From
/// them it computes one gain curve, and creates an effect with this curve for each object of the
/// lowered track. The effects need no earlier samples.
///
/// Threads: every function and every effect may be used on any number of threads at once.
namespace orlo::sonrel::PluginPack {

/// The name, "duck", and the parameters of DuckingCurve.
SONREL_EXPORT const PluginInfo& Ducking();

/// Frames of the cells in which the key is measured: ten milliseconds, rounded, at least 1.
/// @param sampleRate  hertz
SONREL_EXPORT int DuckingCellFrames(int sampleRate);

/// The gains at the starts of the cells of a timeline, from its first frame on. Before the first
/// and after the last, the gain is that of the nearest.
struct GainCurve {
    int sampleRate = 0;         ///< hertz
    std::vector<double> gains;  ///< factors of 0 or more; at least one
};

/// Computes the gain curve of a track that a key lowers.
/// @param peaks       largest absolute sample value of each cell of the key, from the first frame
///                    of the timeline on; 32768 is full scale
/// @param sampleRate  hertz, above 0
/// @return never empty; one gain more than there are peaks
/// @throws std::invalid_argument for a parameter that is unknown, out of range or not finite; the
///         text is one sentence with the fault and the allowed values
SONREL_EXPORT std::shared_ptr<const GainCurve> DuckingCurve(const std::vector<int>& peaks,
                                                            const Parameters& parameters,
                                                            int sampleRate);

/// Creates the effect of an object.
/// @param curve        shared by the objects of a track
/// @param objectStart  frame of the timeline at which the object starts, at the rate of the curve
/// @return never empty
/// @throws std::invalid_argument for a curve without a rate or gains, and for a gain that is below
///         0 or not finite
SONREL_EXPORT std::shared_ptr<project::AbstractPluginAudio> CreateDucking(
    std::shared_ptr<const GainCurve> curve, long long objectStart);

}  // namespace orlo::sonrel::PluginPack
