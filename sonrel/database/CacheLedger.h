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

enum class CacheFileKind : int { Conformed = 0, Peak = 1, Vfr = 2 };

/// One record of the media database.
struct CacheRecord {
    CacheFileKind kind = CacheFileKind::Conformed;
    std::wstring mediaPath;
    std::wstring mediaFingerprint;
    int streamIndex = 0;
    int sampleRate = 0;  ///< hertz; 0 for all but conformed files
    /// The bare name in the cache folder; empty when the stored name is none.
    std::wstring cacheFilename;
    long long lastUseMs = 0;  ///< milliseconds since 1970, UTC
    /// Of the file when it was written; empty for files of other programs and of older versions.
    std::optional<std::uint64_t> checksum;
};

/// All that a media database remembers, for listings and for cleaning up by hand.
///
/// Looking at a database changes nothing in it, stamps nothing as used and makes no missing one. A
/// database that can only be read is listed all the same, and so is a database of an older version.
///
/// Threads: one thread at a time on one object.
///
/// Errors: every operation may throw `std::runtime_error` with the database's own words and the
/// file's name, as MediaDB does.
class SONREL_EXPORT CacheLedger {
public:
    /// @throws std::runtime_error when there is no database at the path, or its version is newer
    explicit CacheLedger(std::wstring const& databasePath);
    ~CacheLedger();
    CacheLedger(const CacheLedger&) = delete;
    CacheLedger& operator=(const CacheLedger&) = delete;

    /// Conformed files, then peak files, then VFR cache files, each in the order of media path,
    /// fingerprint, stream and rate.
    std::vector<CacheRecord> Records() const;

    /// The records of one media path and kind, found by the key of the table: the cost does not
    /// depend on how many other records there are.
    std::vector<CacheRecord> RecordsOf(CacheFileKind kind, std::wstring const& mediaPath) const;

    /// Forgets a record of any kind, found by its key; leaves its file alone.
    /// @return whether there was one
    bool Remove(CacheRecord const& record);

private:
    std::unique_ptr<CacheLedgerImpl> impl_;
};

/// Whether a conformed file is whole: its header is valid and fits its length, and its first and
/// its last sample can be read.
/// @param sampleRate  of the record, hertz; a file at another rate is not whole. 0 accepts any rate
SONREL_EXPORT bool IsWholeConformedFile(std::wstring const& path, int sampleRate = 0);

/// Reads a conformed file to its end and computes its checksum, as its writer did.
/// @param proceed  called again and again; false stops the reading; may be empty
/// @return empty when the file is not a conformed file, a part of it cannot be read or @p proceed
///         returned false
SONREL_EXPORT std::optional<std::uint64_t> ConformedFileChecksum(
    std::wstring const& path, std::function<bool()> const& proceed);

}  // namespace orlo::project
