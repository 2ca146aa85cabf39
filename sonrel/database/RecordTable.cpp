// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/RecordTable.h"

#include <limits>

#include "sonrel/base/Paths.h"

namespace orlo::project {

namespace {

constexpr long long MS_PER_DAY = 24LL * 60 * 60 * 1000;

std::string Table(RecordTable::Kind kind) {
    switch (kind) {
        case RecordTable::Kind::Conformed:
            return "conformed_file";
        case RecordTable::Kind::Peak:
            return "peak_file";
        case RecordTable::Kind::Vfr:
            return "vfr_cache_file";
    }
    return {};
}

std::string RateColumn(RecordTable::Kind kind) {
    return kind == RecordTable::Kind::Conformed ? ", sample_rate" : "";
}

/// The extension of the file names; empty for files of other programs.
std::string_view Ending(RecordTable::Kind kind) {
    switch (kind) {
        case RecordTable::Kind::Conformed:
            return ".xwmc";
        case RecordTable::Kind::Peak:
            return ".xwpk";
        case RecordTable::Kind::Vfr:
            break;
    }
    return {};
}

constexpr char KEY[] = "media_path, media_fingerprint, stream_index";

/// The statements of one kind of record. The parameters of the key are ?1 to ?3 and, for conformed
/// files, ?4; other parameters follow.
class Statements {
public:
    Statements(const RecordDatabase& database, RecordTable::Kind kind, bool hasChecksum)
        : database_(database), kind_(kind), hasChecksum_(hasChecksum) {}

    std::string SelectName() const {
        return "SELECT cache_filename FROM " + Table(kind_) + WhereKey();
    }
    std::string SelectUnusedName() const {
        return SelectName() + " AND last_use <= " + Parameter(1) + database_.LockOfRow();
    }
    std::string Insert() const {
        return "INSERT INTO " + Table(kind_) + " (" + KEY + RateColumn(kind_) +
               ", cache_filename, last_use" + (hasChecksum_ ? ", checksum" : "") +
               ") VALUES (?1, ?2, ?3" + (HasRate() ? ", ?4, " : ", ") + Parameter(1) + ", " +
               Parameter(2) + (hasChecksum_ ? ", " + Parameter(3) : "") + ")";
    }
    /// Adds a record, or replaces all columns except the key.
    std::string Replace() const {
        return Insert() + " ON CONFLICT (" + database_.PathKeyColumn() +
               ", media_fingerprint, stream_index" + RateColumn(kind_) +
               ") DO UPDATE SET cache_filename = excluded.cache_filename, "
               "last_use = excluded.last_use" +
               (hasChecksum_ ? ", checksum = excluded.checksum" : "");
    }
    /// Moves a record with all its columns to another fingerprint.
    std::string UpdateFingerprint() const {
        return "UPDATE " + Table(kind_) + " SET media_fingerprint = " + Parameter(1) +
               ", last_use = 0" + WhereKey();
    }
    std::string UpdateLastUse() const {
        return "UPDATE " + Table(kind_) + " SET last_use = " + Parameter(1) + WhereKey();
    }
    /// The name is the last parameter; null matches any name.
    std::string DeleteNamed() const {
        return "DELETE FROM " + Table(kind_) + WhereKey() +
               " AND (cache_filename = " + Parameter(1) + " OR " + Parameter(1) + " IS NULL)";
    }
    std::string SelectUnused() const {
        return std::string("SELECT ") + KEY + ", cache_filename" + RateColumn(kind_) + " FROM " +
               Table(kind_) + " WHERE last_use <= ?1 ORDER BY last_use, " + KEY + RateColumn(kind_);
    }
    std::string SelectAll() const { return SelectWhere(""); }
    std::string SelectOfPath() const { return SelectWhere(" WHERE " + database_.WherePath()); }

private:
    bool HasRate() const { return kind_ == RecordTable::Kind::Conformed; }

    /// The parameter after the key, starting with 1.
    std::string Parameter(int afterKey) const {
        return "?" + std::to_string((HasRate() ? 4 : 3) + afterKey);
    }
    std::string WhereKey() const {
        return " WHERE " + database_.WherePath() +
               " AND media_fingerprint = ?2 AND stream_index = ?3" +
               (HasRate() ? " AND sample_rate = ?4" : "");
    }
    /// @param where  a condition; may be empty
    std::string SelectWhere(const std::string& where) const {
        return std::string("SELECT ") + KEY + ", cache_filename" + RateColumn(kind_) +
               ", last_use, " + (hasChecksum_ ? "checksum" : "NULL") + " FROM " + Table(kind_) +
               where + " ORDER BY " + KEY + RateColumn(kind_);
    }

    const RecordDatabase& database_;
    RecordTable::Kind kind_;
    bool hasChecksum_;
};

}  // namespace

RecordTable::RecordTable(RecordDatabase& database, Kind kind)
    : database_(database),
      table_(Table(kind)),
      hasRate_(kind == Kind::Conformed),
      // Variable-frame-rate files are written by other programs and have no checksum.
      hasChecksum_(kind != Kind::Vfr && database.HasChecksums()),
      ending_(Ending(kind)) {
    const Statements statements(database, kind, hasChecksum_);
    get_ = database.Prepare(statements.SelectName());
    add_ = database.Prepare(statements.Insert());
    replace_ = database.Prepare(statements.Replace());
    retire_ = database.Prepare(statements.UpdateFingerprint());
    touch_ = database.Prepare(statements.UpdateLastUse());
    remove_ = database.Prepare(statements.DeleteNamed());
    findUnused_ = database.Prepare(statements.SelectUnused());
    isUnused_ = database.Prepare(statements.SelectUnusedName());
    list_ = database.Prepare(statements.SelectAll());
    listOf_ = database.Prepare(statements.SelectOfPath());
}

bool RecordTable::Get(const RecordKey& key, std::wstring* name) {
    StatementRun run(*get_);
    Bind(&run, key);
    if (!run.Step()) return false;
    *name = NameOf(run, 0);
    lastNames_[Owned(key)] = run.Bytes(0);
    return true;
}

void RecordTable::Add(const RecordKey& key, std::wstring const& name, long long nowMs,
                      std::optional<std::uint64_t> checksum) {
    database_.SetDurable(true);
    Store(*add_, key, name, nowMs, checksum);
    lastNames_[Owned(key)] = zrtl::ToUtf8(name);
}

std::wstring RecordTable::Replace(const RecordKey& key, std::wstring const& name,
                                  std::wstring (*oldFingerprint)(std::wstring const&),
                                  long long nowMs, std::optional<std::uint64_t> checksum) {
    database_.SetDurable(true);  // not possible inside a transaction
    RecordTransaction transaction(database_, table_, WriteExtent::Table);
    std::wstring oldName;
    Get(key, &oldName);
    if (!oldName.empty()) Retire(key, oldFingerprint(oldName));
    Store(*replace_, key, name, nowMs, checksum);
    transaction.Commit();
    lastNames_[Owned(key)] = zrtl::ToUtf8(name);
    return oldName;
}

// A power cut may undo a stamp or a removal. Then a file ages early, or a record without a file is
// left, which the next lookup removes. Neither waits for the disk, so that thousands of records are
// removed in a moment.

bool RecordTable::Touch(const RecordKey& key, long long nowMs) {
    database_.SetDurable(false);
    StatementRun run(*touch_);
    Bind(&run, key);
    run.Bind(nowMs);
    run.Step();
    return database_.ChangeCount() > 0;
}

bool RecordTable::Remove(const RecordKey& key) {
    database_.SetDurable(false);
    const auto lastName = lastNames_.extract(Owned(key));
    return RemoveNamed(key, lastName ? std::optional(lastName.mapped()) : std::nullopt);
}

std::wstring RecordTable::NameOf(const StatementRun& row, int column) const {
    return row.Bytes(column).ends_with(ending_) ? row.BareName(column) : std::wstring();
}

bool RecordTable::IsNotUsedSince(const RecordKey& key, std::wstring const& name,
                                 long long lastUseMs) {
    StatementRun run(*isUnused_);
    Bind(&run, key);
    run.Bind(lastUseMs);
    if (!run.Step() || NameOf(run, 0) != name) return false;
    lastNames_[Owned(key)] = run.Bytes(0);
    return true;
}

RecordTable::OwnedKey RecordTable::Owned(const RecordKey& key) {
    return {key.mediaPath, key.mediaFingerprint, key.streamIndex, key.sampleRate};
}

long long RecordTable::Cutoff(int days, long long nowMs) {
    if (days <= 0) return std::numeric_limits<long long>::max();
    return nowMs - days * MS_PER_DAY;
}

void RecordTable::Bind(StatementRun* run, const RecordKey& key) const {
    run->Bind(key.mediaPath);
    run->Bind(key.mediaFingerprint);
    run->Bind(key.streamIndex);
    if (hasRate_) run->Bind(key.sampleRate);
}

bool RecordTable::RemoveNamed(const RecordKey& key, std::optional<std::string> const& name) {
    StatementRun run(*remove_);
    Bind(&run, key);
    if (name) run.Bind(*name);
    run.Step();
    return database_.ChangeCount() > 0;
}

void RecordTable::Retire(const RecordKey& key, std::wstring const& fingerprint) {
    RemoveNamed({key.mediaPath, fingerprint, key.streamIndex, key.sampleRate}, std::nullopt);
    StatementRun run(*retire_);
    Bind(&run, key);
    run.Bind(fingerprint);
    run.Step();
}

void RecordTable::Store(RecordStatement& statement, const RecordKey& key, std::wstring const& name,
                        long long nowMs, std::optional<std::uint64_t> checksum) {
    StatementRun run(statement);
    Bind(&run, key);
    run.Bind(name);
    run.Bind(nowMs);
    // The database has signed integers with the same 64 bits. An unbound parameter is NULL.
    if (hasChecksum_ && checksum) run.Bind(static_cast<long long>(*checksum));
    run.Step();
}

std::optional<std::uint64_t> RecordTable::ChecksumOf(const StatementRun& run, int column) {
    if (run.IsNull(column)) return {};
    return static_cast<std::uint64_t>(run.Number(column));
}

}  // namespace orlo::project
