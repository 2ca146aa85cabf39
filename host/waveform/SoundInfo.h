// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/shell/TimeRuler.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/SoundChoice.h"

namespace orlo::host {

/// The names of the channels of a sound. A choice of two channels is left and right.
std::vector<std::string> NamesOfSound(const zrh::media::MediaInfo& info,
                                      const zrh::media::SoundChoice& sound, int channels);

/// The timecode of a media file: at the frame rate of its picture, else --fps, else 25, from the
/// timecode of the file, else from 0.
/// @param note  receives a clause when the file has a timecode that is not usable
/// @throws UsageError for less than 1 frame a second
RulerClock ClockOfMedia(const zrh::media::MediaInfo& info, const GlobalOptions& global,
                        std::string& note);

}  // namespace orlo::host
