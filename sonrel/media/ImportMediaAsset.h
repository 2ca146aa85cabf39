// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/media/SoundChoice.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/MediaManager.h"

namespace orlo::project {

/// Makes an asset of a media file.
///
/// The asset has an audio stream with its exact length if the file has sound, and a video stream
/// with rate and frame count if the file has moving pictures. A cover does not count.
/// @param manager           the project's manager, which the asset refers to
/// @param path              the media file
/// @param audioStreamIndex  counts the audio streams of the file
/// @throws zrh::media::ZRMediaException  with a zrh::media::MediaError, when the file cannot be
///         opened, its sound cannot be read, or it has sound but no stream of that index
/// @throws std::invalid_argument  when the index is negative
SONREL_EXPORT std::shared_ptr<MediaAsset> ImportMediaAsset(
    const std::shared_ptr<MediaManager>& manager, const std::wstring& path,
    int audioStreamIndex = 0);

/// Makes an asset of chosen channels. Its audio stream index is the number of the choice; the index
/// of the stream where the choice is all of its channels, and for a downmix.
/// @param choice  may contain ANY_STREAM and OfFile
/// @throws zrh::media::ZRMediaException  as above, and with NoSuchChannel or StreamsDiffer
SONREL_EXPORT std::shared_ptr<MediaAsset> ImportMediaAsset(
    const std::shared_ptr<MediaManager>& manager, const std::wstring& path,
    const zrh::media::SoundChoice& choice);

}  // namespace orlo::project
