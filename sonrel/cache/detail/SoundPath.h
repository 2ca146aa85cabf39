// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/project/MediaAsset.h"

namespace orlo::sonrel::detail {

/// The path of the media file that contains an asset's sound: the separate sound file of a merged
/// asset.
inline std::wstring SoundPath(const project::MediaAsset& asset) {
    return asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename();
}

}  // namespace orlo::sonrel::detail
