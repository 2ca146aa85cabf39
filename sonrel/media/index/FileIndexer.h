// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

/// Makes the maps of all audio streams of a file.
/// @param demuxer  the opened file, at its beginning; left anywhere
/// @return None, also when some stream cannot be read; an error when none can, when a stream has a
///         rate out of range, or when the disk failed
MediaError IndexFile(const std::shared_ptr<const InputFile>& file, std::unique_ptr<Demuxer> demuxer,
                     FileIndex* index);

/// Frames by which an audio stream starts later than the file's picture; 0 without a picture.
std::int64_t LeadFrames(const AVFormatContext& context, const AVStream& stream, int rate);

/// The stream holds moving pictures, not a cover.
bool IsPicture(const AVStream& stream);

}  // namespace zrh::media::detail
