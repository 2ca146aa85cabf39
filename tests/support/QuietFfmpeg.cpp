// SPDX-License-Identifier: MIT
// The library leaves FFmpeg's log to the host, and the tests read many damaged files: without this
// their messages hide the results of the tests. FFmpeg is a part of the program, is loaded later,
// or is not used at all.

#include "sonrel/media/input/MediaLog.h"

extern "C" [[gnu::weak]] void av_log_set_level(int level);
namespace zrh::media {
[[gnu::weak]] void SetMediaLog(MediaLog log);
}  // namespace zrh::media

namespace {

/// AV_LOG_QUIET of FFmpeg.
constexpr int QUIET = -8;

[[maybe_unused]] const bool isQuiet = [] {
    if (av_log_set_level != nullptr) {
        av_log_set_level(QUIET);
    } else if (zrh::media::SetMediaLog != nullptr) {
        zrh::media::SetMediaLog([](const std::string&) {});
    }
    return true;
}();

}  // namespace
