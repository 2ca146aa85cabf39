// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

/// The audio streams and channels of a media file that none of the used sounds contains, as a
/// clause: "audio streams 2 to 8 and channel 3 of audio stream 1 are not used". Empty where
/// everything is used.
/// @param used  the sounds of the file's clips; a sound that the file does not have counts for
///              nothing
std::string UnusedSound(const zrh::media::MediaInfo& info,
                        const std::vector<zrh::media::SoundChoice>& used);

}  // namespace orlo::host
