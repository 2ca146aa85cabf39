// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

/// Indexes all audio streams of a file.
/// @param demuxer  the opened file, at its start
/// @return None if a stream can be read or the file has no audio stream; an error if no stream can
///         be read, if a stream has a rate out of range, or if the disk failed
MediaError IndexFile(const std::shared_ptr<const InputFile>& file, std::unique_ptr<Demuxer> demuxer,
                     FileIndex* index);

/// Frames by which an audio stream starts after the first moving pictures of the file; 0 without
/// pictures.
std::int64_t LeadFrames(const AVFormatContext& context, const AVStream& stream, int rate);

/// Whether a stream contains moving pictures, not a cover.
bool IsPicture(const AVStream& stream);

}  // namespace zrh::media::detail
