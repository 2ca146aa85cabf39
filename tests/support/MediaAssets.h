// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/project.h"

namespace sonrel_tests {

/// An asset with one audio stream of a second at 48000 Hz.
inline std::shared_ptr<orlo::project::MediaAsset> MakeMediaAsset(
    const std::shared_ptr<orlo::project::MediaManager>& manager, const std::wstring& path,
    zrh::media::ZRAudioCodec codec = zrh::media::ZRAudioCodec::Pcm) {
    auto asset = std::make_shared<orlo::project::MediaAsset>(manager, path);
    asset->SetAudioStream(std::make_unique<orlo::project::MediaAudioStream>(48000, 48000, codec));
    return asset;
}

}  // namespace sonrel_tests
