// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/cache/detail/BinaryFile.h"

namespace orlo::sonrel::detail {

/// The numbers in the header of a peak file.
struct PeakHeader {
    int channels = 0;          ///< 1 to 16
    std::uint32_t blocks = 0;  ///< 0 for a stream without length
};

/// Reads the header of a file that is open and positioned at its start.
/// @param header  unchanged on failure
/// @return false when the file is not a peak file of version 1 or its channel count is not 1 to 16
bool ReadPeakHeader(project::utility::BinaryFile& file, PeakHeader* header);

}  // namespace orlo::sonrel::detail
