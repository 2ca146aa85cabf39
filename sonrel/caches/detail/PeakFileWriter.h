// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/caches/PeakFile.h"

namespace orlo::sonrel::detail {

/// What may have the name of the file to write.
enum class PeakOutput {
    Any,  ///< a file or a link to one, which is emptied, or nothing
    New,  ///< nothing, for a file of the cache
};

/// The body of PeakFile::Create.
int WritePeakFile(const std::shared_ptr<project::MediaAsset>& asset, const std::wstring& path,
                  PeakFile::CreateMode mode, PeakOutput output);

}  // namespace orlo::sonrel::detail
