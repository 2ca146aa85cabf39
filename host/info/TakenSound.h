// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

/// The stream and the channels of a media file that a clip takes: "audio stream 2, channel 1",
/// "downmix of 6 channels". Empty where nothing can be chosen: for the whole sound of a file with
/// one audio stream of one or two channels.
std::string TakenSound(const zrh::media::MediaInfo& info, const zrh::media::SoundChoice& sound);

}  // namespace orlo::host
