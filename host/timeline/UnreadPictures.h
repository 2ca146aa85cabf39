// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/timeline/Input.h"

namespace orlo::host {

/// The fit of a media file that cannot be read, where all its clips are on video tracks: a format
/// of pictures or projects that the media library does not know, or a folder of pictures. Such
/// clips are silent and reported.
/// @param problem  why the file cannot be read, as a clause
/// @return empty for other files, with which a command fails: those of audio tracks, those that
///         have the name of sound or video and are damaged, and those that the disk does not return
SoundFit FitOfUnreadPicture(const MediaUse& use, const std::string& problem);

}  // namespace orlo::host
