// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace orlo::host {

/// The declared size of the table of files in a ZIP archive, in bytes: the central directory. Reads
/// only the end of the archive. The largest size where the end has several.
/// @return 0 for a file without a table
std::uint64_t ZipTableBytes(const std::string& path);

}  // namespace orlo::host
