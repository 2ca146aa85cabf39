// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/media/ReadCheck.h"
#include "host/mix/Normalization.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// Mixes a range of a conformed media asset with the gain for the loudness that the options
/// request. The asset is mixed as the only clip of a sequence, with dither.
/// @param project  contains the asset; its sequence is used
/// @param total    samples of the asset
/// @throws as in Normalize
Normalization RenderNormalizedMedia(sonrel::AudioMixer& mixer,
                                    const std::shared_ptr<project::Project>& project,
                                    const project::MediaAsset& asset, const FrameGrid& grid,
                                    const zrtl::FrameRange& span, long long total,
                                    const MixOptions& options, MixSink& sink,
                                    const ReadCheck& reads, Progress& progress);

}  // namespace orlo::host
