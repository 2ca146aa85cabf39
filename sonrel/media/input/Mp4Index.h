// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/media/input/InputFile.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media::detail {

/// The maximum number of packets in the index of an MP4 or QuickTime file.
constexpr std::int64_t MaxIndexPackets(std::int64_t fileBytes) {
    const std::int64_t bySize = (1 << 23) + fileBytes / 64;
    return bySize < fileBytes + 4096 ? bySize : fileBytes + 4096;
}

/// Whether FFmpeg may read the headers of an MP4 or QuickTime file. FFmpeg makes an index of 24
/// bytes for each packet from them, before it reads any packet and without a way to interrupt it,
/// and a header of a few bytes may claim billions of packets. This function counts the claimed
/// packets first. Compressed headers cannot be counted and are refused.
///
/// @return None, IndexTooLarge, Cancelled or ReadFailed
MediaError CheckMp4Index(const InputFile& file);

}  // namespace zrh::media::detail
