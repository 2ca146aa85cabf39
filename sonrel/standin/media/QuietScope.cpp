// SPDX-License-Identifier: MIT
#include <cstdarg>
#include <mutex>

#include "sonrel/standin/media/detail/Ffmpeg.h"

namespace zrh::media::detail {
namespace {

thread_local int quietDepth = 0;

void LogUnlessQuiet(void* object, int level, const char* format, va_list arguments) {
    if (quietDepth == 0) av_log_default_callback(object, level, format, arguments);
}

}  // namespace

QuietScope::QuietScope() {
    static std::once_flag installed;
    std::call_once(installed, [] { av_log_set_callback(&LogUnlessQuiet); });
    ++quietDepth;
}

QuietScope::~QuietScope() {
    --quietDepth;
}

}  // namespace zrh::media::detail
