// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "sonrel/database/MediaDB.h"

namespace sonrel_tests {

/// The media database of a test program: the bodies of `MediaDB` over lists in memory, one database
/// for all connections and paths. Records have no age: every record is always due.
///
/// The name of an operation is that of the member function, "MediaDB" for the constructor.
class FakeMediaDB {
public:
    static FakeMediaDB& Instance();

    /// No records, no calls, no failures, status Ready.
    void Reset();

    /// Makes every call of an operation throw `std::runtime_error` with this text.
    void Throw(const std::string& operation, const std::string& text);
    /// Makes the @p nth call of an operation from now on, counted from 1, throw.
    void ThrowAt(const std::string& operation, int nth, const std::string& text);
    void SetStatus(orlo::project::MediaDB::DatabaseStatus status);

    /// Every call so far, in order, as "Operation" or, with a number of days or a flag,
    /// "Operation 30" and "MediaDB true"; "RemovePeakFile in transaction" from the work of
    /// IfStillUnused.
    std::vector<std::string> Calls() const;
    int CallCount(const std::string& operation) const;
    void ForgetCalls();
    /// Connections that were opened and not closed.
    int OpenConnections() const;

    std::vector<orlo::project::MediaDB::ConformedFile> conformed;
    std::vector<orlo::project::MediaDB::PeakFile> peaks;
    std::vector<orlo::project::MediaDB::VFRCacheFile> vfr;
    /// The checksums of records that have one, by cache file name.
    std::map<std::wstring, std::uint64_t> checksums;
    /// Cache file names of records that another process stamps after every search.
    std::set<std::wstring> stamped;
    /// Run at every call of AddConformedFile and AddPeakFile, and of TouchConformedFile and
    /// TouchPeakFile. A function may throw anything.
    std::function<void()> add;
    std::function<void()> touch;
    /// Whether LockForAll locks, as with a database on a server.
    bool isOnServer = false;
    /// Run at every call of LockForAll that locks.
    std::function<void()> lock;
    /// The names that are locked.
    std::set<std::wstring> locked;
    /// True while the work of IfStillUnused runs.
    std::atomic<bool> isInTransaction = false;
    /// The paths of the opened connections.
    std::wstring databasePath;
    std::wstring cacheFolderPath;

private:
    friend class orlo::project::MediaDB;
    friend struct FakeMediaDBCalls;

    struct Failure {
        int callsLeft;  // below 0: without end
        std::string text;
    };

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::map<std::string, Failure> failures_;
    orlo::project::MediaDB::DatabaseStatus status_ = orlo::project::MediaDB::Ready;
    int openConnections_ = 0;
};

}  // namespace sonrel_tests
