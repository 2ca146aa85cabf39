// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace orlo::project {
class LogFile;
class MediaAsset;
}  // namespace orlo::project

/// What every kind of cache file has in common: how it is found again through the media database,
/// and that it is recorded whole or not kept.
namespace orlo::sonrel::detail {

/// The media stream that a cache file is made of.
struct MediaKey {
    std::wstring mediaPath;
    std::wstring fingerprint;  // empty when the media file cannot be examined
    int streamIndex = 0;
};

/// The file whose sound an asset has: the merged one, where there is one.
std::wstring SoundPath(const project::MediaAsset& asset);

/// The asset's key as the media file stands now.
MediaKey KeyOf(const project::MediaAsset& asset);

/// Whether cache files are made of the asset: it has an audio stream, of a codec that is not passed
/// over.
bool IsCached(const project::MediaAsset& asset, bool includeAllCodecs);

/// The database's record of one cache file: one kind, one key, one connection.
class CacheRecord {
public:
    virtual ~CacheRecord() = default;

    /// @param name  receives the bare file name, which may be empty; untouched without a record
    /// @return whether there is a record
    virtual bool Find(std::wstring* name) const = 0;
    virtual void Add(const std::wstring& name, std::uint64_t checksum) = 0;
    /// Records a file in place of the one that is recorded, which keeps a record until it is
    /// removed.
    /// @return the name that was recorded; empty without a record
    virtual std::wstring Replace(const std::wstring& name, std::uint64_t checksum) = 0;
    /// Removes the record that a replaced file keeps.
    virtual void RemoveReplaced(const std::wstring& name) = 0;
    /// Stamps the record as used now.
    virtual void Touch() = 0;
    virtual void Remove() = 0;
};

/// Where a cache file lies and what is said when it fails.
struct CachePaths {
    std::wstring mediaPath;           // for the log
    std::wstring cacheFolder;         // not empty
    std::wstring extension;           // with its point
    project::LogFile* log = nullptr;  // may be null
};

/// Writes a cache file to a path that nothing has yet.
/// @return the checksum of the whole file; empty when it is not whole
using MakeCacheFile = std::function<std::optional<std::uint64_t>(const std::wstring& cachePath)>;

/// Brings a file and the entry for it in its folder to the disk, so that no record is left behind
/// by a power cut that took its file back.
/// @return whether both are there
bool SyncToDisk(const std::wstring& path);

/// What follows when a finished file cannot be recorded. Another process may have recorded its own
/// file first.
enum class WhenRefused { GiveUp, LookAgain };

/// Finds the current file of a record, or makes one under a fresh name and records it.
///
/// A record is current when it has a name and the file of that name is there and is not a link; the
/// content of the file is not examined. A record that is not current is removed. A file that was
/// not made whole, or that cannot be recorded, is deleted, and a line in the log says so; a record
/// that cannot be stamped costs a line only.
///
/// The file is marked as used by this process before it is looked at or written.
///
/// The caller holds the lock of the media path.
/// @param record  null without a database: a file is made each time and recorded nowhere
/// @return the full path; empty on failure
/// @throws std::exception what the record's Find and Remove throw, and "Cannot create UUID"
std::wstring FindOrMakeCacheFile(const CachePaths& place, CacheRecord* record,
                                 const MakeCacheFile& make, WhenRefused whenRefused);

/// Makes a file under a fresh name and records it in place of the one that is recorded, whatever
/// that is. Everybody who looks finds one of the two. The old file is removed unless another
/// process uses it; it is then unused in the database, and housekeeping removes it.
///
/// On failure the old file and its record stay. Everything else is as for FindOrMakeCacheFile.
std::wstring RemakeCacheFile(const CachePaths& place, CacheRecord* record,
                             const MakeCacheFile& make);

}  // namespace orlo::sonrel::detail
