// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/media/input/InputFile.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media::detail {

/// The packets that the index of an MP4 or QuickTime file may have.
constexpr std::int64_t MaxIndexPackets(std::int64_t fileBytes) {
    const std::int64_t bySize = (1 << 23) + fileBytes / 64;
    return bySize < fileBytes + 4096 ? bySize : fileBytes + 4096;
}

/// Whether FFmpeg may read the headers of an MP4 or QuickTime file. From them it makes an index of
/// 24 bytes for each packet, before any packet is read and without asking whether to stop, and a
/// header of a few bytes may claim billions of packets. The packets that the headers claim are
/// counted here first. Headers that are compressed cannot be counted and are refused.
///
/// @return None, IndexTooLarge, Cancelled or ReadFailed
MediaError CheckMp4Index(const InputFile& file);

}  // namespace zrh::media::detail
