// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// The release of FFmpeg that decodes media files: "5.1.6". FFmpeg is loaded if it is not.
///
/// Threads: any.
/// @return empty when FFmpeg does not load
SONREL_EXPORT std::string DecoderVersion();

}  // namespace zrh::media
