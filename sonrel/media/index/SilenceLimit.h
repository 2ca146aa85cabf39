// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace zrh::media::detail {

/// The reader inserts silence before the first packet and for packets that cannot be decoded. A
/// small file could claim any amount of it. Therefore the silence is limited to 8 times the size of
/// the file and 1 MiB, at the stream's own rate and 4 bytes a frame as in a conformed file.
inline constexpr std::int64_t SILENCE_BYTES_PER_FRAME = 4;

constexpr std::int64_t MaxSilentFrames(std::int64_t fileBytes) {
    return 2 * fileBytes + (1 << 20) / SILENCE_BYTES_PER_FRAME;
}

/// The reason for refusing a stream with too much silence, as a clause with both numbers.
std::string SilenceRefusal(std::int64_t silentFrames, std::int64_t fileBytes);

}  // namespace zrh::media::detail
