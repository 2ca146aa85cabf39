// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/standin/project/detail/Sqlite.h"

namespace orlo::project {

/// What a record is found by.
struct RecordKey {
    std::wstring const& mediaPath;
    std::wstring const& mediaFingerprint;
    int streamIndex;
    int sampleRate = 0;  ///< of conformed files only
};

/// The statements on the records of one kind of cache file.
class RecordTable {
public:
    enum class Kind { Conformed, Peak, Vfr };

    /// @throws DatabaseError when the file's tables do not fit
    RecordTable(SqliteConnection& connection, Kind kind);

    /// @param name  receives the bare name, which may be empty; untouched without a record
    /// @return whether there is a record
    bool Get(const RecordKey& key, std::wstring* name);
    /// @throws DatabaseError also when there is a record
    void Add(const RecordKey& key, std::wstring const& name, long long nowMs);
    /// @return whether there is a record
    bool Touch(const RecordKey& key, long long nowMs);
    /// @return whether there was a record
    bool Remove(const RecordKey& key);

    /// The columns of a row of FindUnused: media path, fingerprint, stream index, cache file name
    /// and, for conformed files, sample rate.
    /// @param visit  called with the run, for each record, the longest unused first
    template <class Visit>
    void FindUnused(int days, long long nowMs, Visit visit) {
        SqliteRun run(findUnused_);
        run.Bind(Cutoff(days, nowMs));
        while (run.Step()) visit(run);
    }

    /// All records in the order of their keys, with the columns of FindUnused.
    /// @param visit  called with the run and the time of last use, milliseconds since 1970
    template <class Visit>
    void List(Visit visit) {
        SqliteRun run(list_);
        while (run.Step()) visit(run, run.Number(hasRate_ ? 5 : 4));
    }

private:
    static long long Cutoff(int days, long long nowMs);
    void Bind(SqliteRun* run, const RecordKey& key) const;
    bool Changed() const;

    SqliteConnection& connection_;
    bool hasRate_;
    SqliteStatement get_;
    SqliteStatement add_;
    SqliteStatement touch_;
    SqliteStatement remove_;
    SqliteStatement findUnused_;
    SqliteStatement list_;
};

}  // namespace orlo::project
