// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "sonrel/project/MediaManager.h"

namespace orlo::project {
class MediaAsset;
class MediaDB;
}  // namespace orlo::project

/// The kinds of cache files. Conformed files and peak files are found, made and recorded in the
/// same steps (CacheFile.h); a CacheKind holds everything in which they differ.
///
/// To add a kind: give MediaDB a table of records and MediaManager a lock for it, and add a
/// constant here.
namespace orlo::sonrel::detail {

/// The key of a record in the media database.
struct CacheKey {
    std::wstring mediaPath;
    std::wstring fingerprint;  ///< empty when the media file cannot be examined
    int streamIndex = 0;       ///< counts audio streams only
    int sampleRate = 0;        ///< hertz; 0 for peak files, which are made at the stream's own rate
};

struct CacheKind {
    const wchar_t* extension;  ///< with the dot

    /// The lock of a media path. It is held while a file of this kind is found or made.
    zrtl::thread::ZRCriticalSection& (project::MediaManager::*lock)(const std::wstring& mediaPath);

    /// @param name  receives the bare file name, which may be empty; untouched without a record
    /// @return whether the key has a record
    bool (*find)(const project::MediaDB& database, const CacheKey& key, std::wstring* name);
    /// Marks the record as used now.
    void (*touch)(project::MediaDB& database, const CacheKey& key);
    void (*remove)(project::MediaDB& database, const CacheKey& key);
    void (*add)(project::MediaDB& database, const CacheKey& key, const std::wstring& name,
                std::uint64_t checksum);
    /// Records a file instead of the recorded file. The old file keeps a record until its removal.
    /// @return the old name; empty without a record
    std::wstring (*replace)(project::MediaDB& database, const CacheKey& key,
                            const std::wstring& name, std::uint64_t checksum);

    /// Writes a new file and syncs it.
    /// @return the checksum of the file; empty when it is incomplete
    std::optional<std::uint64_t> (*make)(const std::shared_ptr<project::MediaAsset>& asset,
                                         const CacheKey& key, const std::wstring& cachePath);
};

extern const CacheKind CONFORMED_FILES;
extern const CacheKind PEAK_FILES;

}  // namespace orlo::sonrel::detail
