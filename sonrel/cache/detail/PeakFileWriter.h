// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/cache/PeakFile.h"

namespace orlo::sonrel::detail {

/// What may have the name of the file to write.
enum class PeakOutput {
    Any,  ///< a file or a link to one, which is emptied, or nothing
    New,  ///< nothing, for a file of the cache
};

/// The body of PeakFile::Create.
/// @param checksum  receives the checksum of the file on success; may be null
int WritePeakFile(const std::shared_ptr<project::MediaAsset>& asset, const std::wstring& path,
                  PeakFile::CreateMode mode, PeakOutput output, std::uint64_t* checksum);

}  // namespace orlo::sonrel::detail
