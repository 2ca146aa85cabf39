// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/arrangement/Arrangement.h"
#include "host/mix/GainSearch.h"
#include "host/mix/MixOptions.h"
#include "host/mix/MixRender.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Sets the gain of a whole mix, in addition to its own levels.
using SetGain = std::function<void(double gainDb)>;

/// The gain of a sequence: its master level.
/// @param level  the master level of the timeline
SetGain GainOfSequence(const std::shared_ptr<project::EditorSequence>& sequence,
                       const otio::LevelCurve& level);

/// The gain of a composition, which has no master level: the levels of all layers.
/// @param placed  the item that the composition was built from
SetGain GainOfComposition(const std::shared_ptr<project::CompositionAsset>& composition,
                          const otio::PlacedComposition& placed);

/// A mix that can be repeated with another gain.
struct RepeatedMix {
    sonrel::AudioMixer& mixer;
    MixSource source;
    SetGain setGain;
    MixRange range;
    std::size_t tracks = 0;  ///< number of track meters
};

/// The requested loudness and the gain that was found for it.
struct Normalization {
    LoudnessTarget target;
    FoundGain found;
};

/// Starts the noise and the meters of a mix anew.
void StartMix(sonrel::AudioMixer& mixer, const MixOptions& options, std::size_t tracks,
              const FrameGrid& grid);

/// Measures a mix, and sets the gain for the loudness that the options request.
/// @throws as in FindGain and RenderFrames
Normalization Normalize(const RepeatedMix& mix, const MixOptions& options, Progress& progress);

Json NormalizationJson(const Normalization& normalization);
/// A line of the table; empty without normalization.
std::string NormalizationText(const std::optional<Normalization>& normalization);

}  // namespace orlo::host
