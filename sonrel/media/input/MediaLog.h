// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// Receives an error message of FFmpeg, one line without its end, on the thread that reads the
/// media file.
using MediaLog = void (*)(const std::string& message);

/// Replaces FFmpeg's log callback, now or when FFmpeg is loaded, by a callback that passes errors
/// to
/// @p log. Without a call of this function the callback is not changed: FFmpeg writes its messages
/// to standard error, unless the host sets a callback itself.
///
/// Threads: any.
/// @param log  null restores the default callback of FFmpeg
SONREL_EXPORT void SetMediaLog(MediaLog log);

}  // namespace zrh::media
