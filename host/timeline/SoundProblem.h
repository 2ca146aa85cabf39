// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

/// Why a media file does not have the chosen sound, as a predicate: "has 2 audio streams, and no
/// audio stream 5". Empty where it has the streams and the channels.
std::string SoundProblem(const zrh::media::MediaInfo& info, const zrh::media::SoundChoice& sound);

/// Whether a clip uses left and right of a media file that has only one channel.
bool IsStereoOfMono(const zrh::media::MediaInfo& info, const zrh::media::SoundChoice& sound);

}  // namespace orlo::host
