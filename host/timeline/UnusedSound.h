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

/// The remedy for a media file as INPUT.
constexpr const char* CHOOSE_SOUND = "choose other sound with --stream and --channels";

/// The audio streams and channels that remain unused when a media file is INPUT and its first audio
/// stream is used. Empty where everything is used, and for any other choice.
std::string UnusedSoundOfInput(const std::string& path, const zrh::media::SoundChoice& sound);

}  // namespace orlo::host
