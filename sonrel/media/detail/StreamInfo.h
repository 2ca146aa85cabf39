// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// The value of a tag, whatever the case of its name; empty without the tag.
std::string TagOf(const AVDictionary* tags, const char* name);

/// The properties of a stream that the container declares. Lengths and formats of sound are set
/// later.
MediaStreamInfo InfoOf(const AVFormatContext& context, const AVStream& stream);

}  // namespace zrh::media::detail
