// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::project {
class MediaAudioStream;
}

namespace orlo::sonrel {

class LevelProfile;

/// The seconds of a recording that AudioSync::FindOffset searches for in a longer one: the loudest
/// second by RMS, and the loudest by peak that does not overlap it, in the order of the recording.
/// A recording of up to a second is searched for whole.
/// @return nullopt when the peak file is needed and cannot be opened
std::optional<std::vector<zrtl::FrameRange>> SearchedSeconds(
    const project::MediaAudioStream& stream);

/// Seconds spread over a recording: the first, the last and the loudest second of each of its parts,
/// the loudest first.
/// @param frames  of the recording, at the rate of the profile
std::vector<zrtl::FrameRange> SpreadSeconds(const LevelProfile& profile, long long frames, int rate,
                                            int parts);

}  // namespace orlo::sonrel
