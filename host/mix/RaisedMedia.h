// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>

#include "host/mix/Normalization.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// A range of a conformed media asset, and the options of its gain.
struct RaisedMedia {
    const std::shared_ptr<project::Project>& project;  ///< contains the asset; its sequence is used
    const project::MediaAsset& asset;
    const MixRange& range;
    long long total;  ///< samples of the asset
    const MixOptions& options;
};

/// Mixes a range of a conformed media asset with the gain that the options request, or with the
/// gain for their loudness. The asset is mixed as the only clip of a sequence, with dither.
/// @return the normalization; empty for a fixed gain
/// @throws as in Normalize
std::optional<Normalization> RenderRaisedMedia(sonrel::AudioMixer& mixer, const RaisedMedia& media,
                                               MixSink& sink, Progress& progress);

}  // namespace orlo::host
