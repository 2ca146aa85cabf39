// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "sonrel/database/detail/RecordDatabase.h"

namespace orlo::project {

/// The key of a record.
struct RecordKey {
    std::wstring const& mediaPath;
    std::wstring const& mediaFingerprint;
    int streamIndex;
    int sampleRate = 0;  ///< of conformed files only
};

/// The statements on the records of one kind of cache file.
///
/// Remembers the cache file name that was read or added last for each key, so that Remove keeps a
/// record that another connection made since then.
class RecordTable {
public:
    enum class Kind { Conformed, Peak, Vfr };

    /// @throws DatabaseError when the tables of the database do not match
    RecordTable(RecordDatabase& database, Kind kind);

    /// @param name  receives the file name, which may be empty; unchanged without a record
    /// @return whether the record exists
    bool Get(const RecordKey& key, std::wstring* name);
    /// @throws DatabaseError also when the record exists
    void Add(const RecordKey& key, std::wstring const& name, long long nowMs,
             std::optional<std::uint64_t> checksum = {});
    /// Adds a record, or replaces the name in an existing record, in one write transaction. The old
    /// name keeps its checksum, in a record that was last used in 1970.
    /// @param oldFingerprint  the fingerprint of that record, from the old name
    /// @return the old file name of the record; empty without a record
    std::wstring Replace(const RecordKey& key, std::wstring const& name,
                         std::wstring (*oldFingerprint)(std::wstring const&), long long nowMs,
                         std::optional<std::uint64_t> checksum = {});
    /// @return whether the record exists
    bool Touch(const RecordKey& key, long long nowMs);
    /// Removes the record if it still has the name that was read or added last for its key. For a
    /// key that was neither read nor added, removes the record with any name.
    /// @return whether a record was removed
    bool Remove(const RecordKey& key);

    /// Runs @p work in one write transaction if the record still has this file name and is unused.
    /// @return whether the work ran
    /// @throws DatabaseError, and the exceptions of the work, whose changes are undone
    template <class Work>
    bool IfUnused(const RecordKey& key, std::wstring const& name, int days, long long nowMs,
                  Work work) {
        return IfNotUsedSince(key, name, Cutoff(days, nowMs), work);
    }

    /// As IfUnused, if the record was not used after a time, in milliseconds since 1970.
    template <class Work>
    bool IfNotUsedSince(const RecordKey& key, std::wstring const& name, long long lastUseMs,
                        Work work) {
        database_.SetDurable(false);  // not possible inside a transaction
        RecordTransaction transaction(database_, table_, WriteExtent::Record);
        if (!IsNotUsedSince(key, name, lastUseMs)) return false;
        work();
        transaction.Commit();
        return true;
    }

    /// The file name in a column of cache file names. Empty for a name that this kind of file
    /// cannot have: a conformed file ends in ".xwmc" and a peak file in ".xwpk".
    std::wstring NameOf(const StatementRun& row, int column) const;

    /// The columns of a row of FindUnused: media path, fingerprint, stream index, cache file name
    /// and, for conformed files, sample rate.
    /// @param visit  called with the run for each record, the longest unused first
    template <class Visit>
    void FindUnused(int days, long long nowMs, Visit visit) {
        StatementRun run(*findUnused_);
        run.Bind(Cutoff(days, nowMs));
        while (run.Step()) visit(run);
    }

    /// All records in the order of their keys, with the columns of FindUnused.
    /// @param visit  called with the run, the time of last use, milliseconds since 1970, and the
    ///               checksum, if the record has one
    template <class Visit>
    void List(Visit visit) {
        StatementRun run(*list_);
        VisitAll(run, visit);
    }

    /// As List, the records of one media path.
    template <class Visit>
    void ListOf(std::wstring const& mediaPath, Visit visit) {
        StatementRun run(*listOf_);
        run.Bind(mediaPath);
        VisitAll(run, visit);
    }

private:
    using OwnedKey = std::tuple<std::wstring, std::wstring, int, int>;

    template <class Visit>
    void VisitAll(StatementRun& run, Visit visit) const {
        const int lastUse = hasRate_ ? 5 : 4;
        while (run.Step()) visit(run, run.Number(lastUse), ChecksumOf(run, lastUse + 1));
    }
    static std::optional<std::uint64_t> ChecksumOf(const StatementRun& run, int column);

    static long long Cutoff(int days, long long nowMs);
    static OwnedKey Owned(const RecordKey& key);
    bool IsNotUsedSince(const RecordKey& key, std::wstring const& name, long long lastUseMs);
    void Bind(StatementRun* run, const RecordKey& key) const;
    /// Moves a record to another fingerprint, with the last use in 1970.
    void Retire(const RecordKey& key, std::wstring const& fingerprint);
    /// Runs add_ or replace_.
    void Store(RecordStatement& statement, const RecordKey& key, std::wstring const& name,
               long long nowMs, std::optional<std::uint64_t> checksum);
    /// @param name  empty: a record with any name
    /// @return whether a record was removed
    bool RemoveNamed(const RecordKey& key, std::optional<std::string> const& name);

    RecordDatabase& database_;
    std::string table_;
    bool hasRate_;
    bool hasChecksum_;  // false in a database of version 1
    std::string_view ending_;
    std::unique_ptr<RecordStatement> get_;
    std::unique_ptr<RecordStatement> add_;
    std::unique_ptr<RecordStatement> replace_;
    std::unique_ptr<RecordStatement> retire_;
    std::unique_ptr<RecordStatement> touch_;
    std::unique_ptr<RecordStatement> remove_;
    std::unique_ptr<RecordStatement> findUnused_;
    std::unique_ptr<RecordStatement> isUnused_;
    std::unique_ptr<RecordStatement> list_;
    std::unique_ptr<RecordStatement> listOf_;
    std::map<OwnedKey, std::string> lastNames_;  // as they are stored
};

}  // namespace orlo::project
