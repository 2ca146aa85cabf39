// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/cache/PeakFile.h"

namespace orlo::sonrel::detail {

/// The state of the path of the output file.
enum class PeakOutput {
    Any,  ///< a regular file or a link to one, which is truncated, or no file
    New,  ///< no file: for files of the cache
};

/// Implements PeakFile::Create.
/// @param checksum  receives the checksum of the file on success; may be null
int WritePeakFile(const std::shared_ptr<project::MediaAsset>& asset, const std::wstring& path,
                  PeakFile::CreateMode mode, PeakOutput output, std::uint64_t* checksum);

}  // namespace orlo::sonrel::detail
