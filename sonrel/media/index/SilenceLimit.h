// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace zrh::media::detail {

/// The reader puts in silence by itself before the first packet and for packets that do not decode.
/// A small file could claim any amount of it, so that its length is limited: at the stream's own
/// rate, and 4 bytes a frame as in a conformed file, to 8 times the size of the file and 1 MiB.
inline constexpr std::int64_t SILENCE_BYTES_PER_FRAME = 4;

constexpr std::int64_t MaxSilentFrames(std::int64_t fileBytes) {
    return 2 * fileBytes + (1 << 20) / SILENCE_BYTES_PER_FRAME;
}

/// Why a stream with too much silence is refused, as a clause with both numbers.
std::string SilenceRefusal(std::int64_t silentFrames, std::int64_t fileBytes);

}  // namespace zrh::media::detail
