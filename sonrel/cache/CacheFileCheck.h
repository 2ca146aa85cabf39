// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// Checks files in the media cache. Nothing is changed. Only regular files are opened, and no
/// links.
///
/// Threads: any.
namespace CacheFileCheck {

/// Whether a peak file is whole: its header is valid, the length of the file matches its header,
/// and its first and last block can be read. A file without blocks, made from a stream without
/// length, is whole.
/// @param channels  of the stream; a file with another number is not whole. 0 accepts any number
SONREL_EXPORT bool IsWholePeakFile(const std::wstring& path, int channels = 0);

/// Reads a peak file to its end and computes its checksum in the same way as its writer.
/// @param proceed  called repeatedly; false stops the reading; may be empty
/// @return empty when a part of the file cannot be read or @p proceed returned false
SONREL_EXPORT std::optional<std::uint64_t> PeakFileChecksum(const std::wstring& path,
                                                            const std::function<bool()>& proceed);

/// The fingerprint of a media file, computed from its size and its last-write time. A record of the
/// media database with another fingerprint belongs to an earlier state of the media file.
/// @return empty when the file cannot be examined
SONREL_EXPORT std::wstring MediaFingerprint(const std::wstring& mediaPath);

}  // namespace CacheFileCheck

}  // namespace orlo::sonrel
