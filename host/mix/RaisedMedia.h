// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>

#include "host/mix/Normalization.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// Mixes a range of a conformed media asset with the gain that the options request, or with the
/// gain for their loudness. The asset is mixed as the only clip of a sequence, with dither.
/// @param project  contains the asset; its sequence is used
/// @param total    samples of the asset
/// @return the normalization; empty for a fixed gain
/// @throws as in Normalize
std::optional<Normalization> RenderRaisedMedia(sonrel::AudioMixer& mixer,
                                               const std::shared_ptr<project::Project>& project,
                                               const project::MediaAsset& asset,
                                               const MixRange& range, long long total,
                                               const MixOptions& options, MixSink& sink,
                                               Progress& progress);

}  // namespace orlo::host
