// SPDX-License-Identifier: MIT
#include "sonrel/media/index/SilenceLimit.h"

#include <array>
#include <cstdio>

namespace zrh::media::detail {
namespace {

std::string Megabytes(std::int64_t frames) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.1f MB",
                  static_cast<double>(frames) * SILENCE_BYTES_PER_FRAME / 1e6);
    return text.data();
}

}  // namespace

std::string SilenceRefusal(std::int64_t silentFrames, std::int64_t fileBytes) {
    return "it would need " + Megabytes(silentFrames) +
           " of silence that is not in it, and at most " + Megabytes(MaxSilentFrames(fileBytes)) +
           " are put in (8 times its size and 1 MiB)";
}

}  // namespace zrh::media::detail
