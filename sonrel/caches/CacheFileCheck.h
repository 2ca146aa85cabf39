// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/Export.h"

namespace orlo::sonrel {

/// Checks of files in the media cache. They change nothing; a file is opened only if it is a
/// regular file and not a link.
///
/// Threads: any.
namespace CacheFileCheck {

/// Whether a peak file is whole: its header is valid, the file has exactly the length that its
/// header gives, and its last byte can be read. A file of a stream without length, which has a
/// header and no blocks, is whole.
/// @param channels  of the stream; a file with another number is not whole. 0 accepts any number
SONREL_EXPORT bool IsWholePeakFile(const std::wstring& path, int channels = 0);

}  // namespace CacheFileCheck

}  // namespace orlo::sonrel
