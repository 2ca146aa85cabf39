// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// What the container tells of a stream before anything of it is read; lengths and formats of
/// sound are filled in later.
MediaStreamInfo InfoOf(const AVFormatContext& context, const AVStream& stream);

}  // namespace zrh::media::detail
