// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/media.h"

namespace orlo::sonrel::detail {

struct ReleaseMediaFile {
    void operator()(zrh::media::ZRAbstractMediaFile* file) const {
        zrh::media::ZRMediaFileRelease(file);
    }
};

/// An opened media file, released at the end. What is taken of its streams goes first.
using MediaFile = std::unique_ptr<zrh::media::ZRAbstractMediaFile, ReleaseMediaFile>;

/// @throws zrh::media::ZRMediaException when the file cannot be opened
MediaFile OpenMediaFile(const std::wstring& mediaPath);

/// The audio stream of that index, counted among the audio streams alone; empty when there is none.
std::shared_ptr<zrh::media::ZRAbstractAudioStream> FindAudioStream(
    zrh::media::ZRAbstractMediaFile& file, unsigned long long streamIndex);

}  // namespace orlo::sonrel::detail
