// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct CacheLedgerImpl;

/// The kind of a cache file.
enum class CacheFileKind : int { Conformed = 0, Peak = 1, Vfr = 2 };

/// One record of the media database.
struct CacheRecord {
    CacheFileKind kind = CacheFileKind::Conformed;  ///< the kind of the file
    std::wstring mediaPath;                         ///< the media file
    std::wstring mediaFingerprint;                  ///< the state of the media file
    int streamIndex = 0;                            ///< of the media file
    int sampleRate = 0;                             ///< hertz; 0 for all but conformed files
    /// The file name in the cache folder, without a path; empty when the stored name is not a file
    /// name.
    std::wstring cacheFilename;
    long long lastUseMs = 0;  ///< milliseconds since 1970, UTC
    /// Of the file when it was written; empty for files of other programs and of older versions.
    std::optional<std::uint64_t> checksum;
};

/// The records of a media database, for listings and for manual cleaning.
///
/// Listing changes no record and no time of last use, and creates no database. A read-only database
/// and a database of an older version are listed too.
///
/// Threads: one thread at a time on one object.
///
/// Errors: every operation may throw `std::runtime_error` with the message of the database and the
/// name of the file, as MediaDB does.
class SONREL_EXPORT CacheLedger {
public:
    /// @param databasePath  as in MediaDB
    /// @throws std::runtime_error when the path has no database, or its version is newer
    explicit CacheLedger(std::wstring const& databasePath);
    ~CacheLedger();
    CacheLedger(const CacheLedger&) = delete;
    CacheLedger& operator=(const CacheLedger&) = delete;

    /// Conformed files, then peak files, then VFR cache files, each in the order of media path,
    /// fingerprint, stream and rate.
    std::vector<CacheRecord> Records() const;

    /// The records of one media path and kind, found by the key of the table: the cost does not
    /// depend on the number of other records.
    std::vector<CacheRecord> RecordsOf(CacheFileKind kind, std::wstring const& mediaPath) const;

    /// Removes a record of any kind, found by its key. Its file is not touched.
    /// @return whether the record existed
    bool Remove(CacheRecord const& record);

    /// Runs @p work if a record still has its cache file name and was not used since it was listed,
    /// in one write transaction: no other connection of any process stamps, replaces or removes the
    /// record during the work. A stamp comes either before, and the work does not run, or after it.
    /// @param work  may remove the record through this object
    /// @return whether the work ran
    /// @throws std::runtime_error, and the exceptions of the work: the database is then unchanged
    bool IfUnchanged(CacheRecord const& record, std::function<void()> const& work);

private:
    std::unique_ptr<CacheLedgerImpl> impl_;
};

/// Whether a conformed file is complete: its header is valid and matches its length, and its first
/// and last samples can be read.
/// @param sampleRate  of the record, hertz; a file at another rate is not complete. 0 accepts any
///                    rate
SONREL_EXPORT bool IsWholeConformedFile(std::wstring const& path, int sampleRate = 0);

/// Reads a conformed file to its end and computes its checksum, as its writer did.
/// @param proceed  called repeatedly; false stops the reading; may be empty
/// @return empty when the file is not a conformed file, a part of it cannot be read or @p proceed
///         returned false
SONREL_EXPORT std::optional<std::uint64_t> ConformedFileChecksum(
    std::wstring const& path, std::function<bool()> const& proceed);

}  // namespace orlo::project
