// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"

namespace zrh::media::detail {

/// Gives the map of a file: the one that another reader in this process made of the file as it is
/// now and still holds, or made a short while ago, or else what @p make makes. Of several threads
/// that ask for one file at once, one makes the map and the others wait for it.
///
/// Threads: any.
/// @param isInterrupted  ends the wait for another thread; called every 50 ms while it lasts
/// @param make           makes the map; called without any lock that another file needs
/// @return None with a map, Cancelled when the wait was ended, or what @p make returned
MediaError SharedIndexOf(const FileIdentity& identity, const std::function<bool()>& isInterrupted,
                         const std::function<MediaError(FileIndex* index)>& make,
                         std::shared_ptr<const FileIndex>* index);

}  // namespace zrh::media::detail
