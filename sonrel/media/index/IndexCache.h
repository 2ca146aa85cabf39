// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"

namespace zrh::media::detail {

/// Returns the index of a file in its current state: an index that a reader in this process still
/// holds or built recently, or a new index from @p make. If several threads request the index of
/// one file, one thread builds it and the others wait.
///
/// Threads: any.
/// @param isInterrupted  ends the wait for another thread; called every 50 ms during the wait
/// @param make           builds the index; called without any lock that another file needs
/// @param index          receives the index
/// @return None, Cancelled when the wait was interrupted, or the error of @p make
MediaError SharedIndexOf(const FileIdentity& identity, const std::function<bool()>& isInterrupted,
                         const std::function<MediaError(FileIndex* index)>& make,
                         std::shared_ptr<const FileIndex>* index);

}  // namespace zrh::media::detail
