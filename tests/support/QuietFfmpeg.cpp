// SPDX-License-Identifier: MIT
// The library leaves FFmpeg's log to the host, and the tests read many damaged files: without this
// their messages hide the results of the tests. Programs without FFmpeg are linked without it.

extern "C" [[gnu::weak]] void av_log_set_level(int level);

namespace {

/// AV_LOG_QUIET of FFmpeg.
constexpr int QUIET = -8;

[[maybe_unused]] const bool isQuiet = [] {
    if (av_log_set_level != nullptr) av_log_set_level(QUIET);
    return true;
}();

}  // namespace
