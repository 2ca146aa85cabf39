// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::project {
class MediaAudioStream;
}

namespace orlo::sonrel {

/// The seconds of a recording that AudioSync::FindOffset searches for in a longer one: the loudest
/// second by RMS, and the loudest by peak that does not overlap it, in the order of the recording.
/// A recording of up to a second is searched for whole.
/// @return nullopt when the peak file is needed and cannot be opened
std::optional<std::vector<zrtl::FrameRange>> SearchedSeconds(
    const project::MediaAudioStream& stream);

}  // namespace orlo::sonrel
