// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/RecordTable.h"

#include <limits>

#include "sonrel/base/Paths.h"
#include "sonrel/database/detail/DatabaseSchema.h"

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

/// The parameters of the key are ?1 to ?3 and, for conformed files, ?4.
std::string WhereKey(RecordTable::Kind kind) {
    return std::string(" WHERE media_path = ?1 AND media_fingerprint = ?2 AND stream_index = ?3") +
           (kind == RecordTable::Kind::Conformed ? " AND sample_rate = ?4" : "");
}

/// Variable-frame-rate files are written by other programs and have no checksum.
bool HasChecksum(SqliteConnection& connection, RecordTable::Kind kind) {
    return kind != RecordTable::Kind::Vfr &&
           connection.QueryNumber("PRAGMA user_version") >= CHECKSUM_VERSION;
}

/// @param verb  "INSERT" or "REPLACE"
std::string InsertInto(RecordTable::Kind kind, const std::string& verb, bool hasChecksum) {
    const bool hasRate = kind == RecordTable::Kind::Conformed;
    return verb + " INTO " + Table(kind) + " (media_path, media_fingerprint, stream_index" +
           RateColumn(kind) + ", cache_filename, last_use" + (hasChecksum ? ", checksum" : "") +
           ") VALUES (?, ?, ?, ?, ?" + (hasRate ? ", ?" : "") + (hasChecksum ? ", ?)" : ")");
}

std::string UpdateLastUse(RecordTable::Kind kind) {
    const bool hasRate = kind == RecordTable::Kind::Conformed;
    return "UPDATE " + Table(kind) + " SET last_use = " + (hasRate ? "?5" : "?4") + WhereKey(kind);
}

/// Moves a record with all its columns to another fingerprint, the last parameter.
std::string UpdateFingerprint(RecordTable::Kind kind) {
    const std::string fingerprint = kind == RecordTable::Kind::Conformed ? "?5" : "?4";
    return "UPDATE OR REPLACE " + Table(kind) + " SET media_fingerprint = " + fingerprint +
           ", last_use = 0" + WhereKey(kind);
}

/// The name is the last parameter; null matches any name.
std::string DeleteNamed(RecordTable::Kind kind) {
    const std::string name = kind == RecordTable::Kind::Conformed ? "?5" : "?4";
    return "DELETE FROM " + Table(kind) + WhereKey(kind) + " AND (" + name +
           " IS NULL OR cache_filename = " + name + ")";
}

std::string SelectUnusedName(RecordTable::Kind kind) {
    return "SELECT cache_filename FROM " + Table(kind) + WhereKey(kind) +
           " AND last_use <= " + (kind == RecordTable::Kind::Conformed ? "?5" : "?4");
}

constexpr char KEY[] = "media_path, media_fingerprint, stream_index";

std::string SelectUnused(RecordTable::Kind kind) {
    return std::string("SELECT ") + KEY + ", cache_filename" + RateColumn(kind) + " FROM " +
           Table(kind) + " WHERE last_use <= ?1 ORDER BY last_use, " + KEY + RateColumn(kind);
}

/// @param where  a condition; may be empty
std::string SelectAll(RecordTable::Kind kind, bool hasChecksum, const std::string& where = {}) {
    return std::string("SELECT ") + KEY + ", cache_filename" + RateColumn(kind) + ", last_use, " +
           (hasChecksum ? "checksum" : "NULL") + " FROM " + Table(kind) + where + " ORDER BY " +
           KEY + RateColumn(kind);
}

}  // namespace

RecordTable::RecordTable(SqliteConnection& connection, Kind kind)
    : connection_(connection),
      hasRate_(kind == Kind::Conformed),
      hasChecksum_(HasChecksum(connection, kind)),
      ending_(Ending(kind)),
      get_(connection, "SELECT cache_filename FROM " + Table(kind) + WhereKey(kind)),
      add_(connection, InsertInto(kind, "INSERT", hasChecksum_)),
      replace_(connection, InsertInto(kind, "REPLACE", hasChecksum_)),
      retire_(connection, UpdateFingerprint(kind)),
      touch_(connection, UpdateLastUse(kind)),
      remove_(connection, DeleteNamed(kind)),
      findUnused_(connection, SelectUnused(kind)),
      isUnused_(connection, SelectUnusedName(kind)),
      list_(connection, SelectAll(kind, hasChecksum_)),
      listOf_(connection, SelectAll(kind, hasChecksum_, " WHERE media_path = ?1")) {}

bool RecordTable::Get(const RecordKey& key, std::wstring* name) {
    SqliteRun run(get_);
    Bind(&run, key);
    if (!run.Step()) return false;
    *name = NameOf(run, 0);
    lastNames_[Owned(key)] = run.Bytes(0);
    return true;
}

void RecordTable::Add(const RecordKey& key, std::wstring const& name, long long nowMs,
                      std::optional<std::uint64_t> checksum) {
    connection_.SetDurable(true);
    Store(add_, key, name, nowMs, checksum);
    lastNames_[Owned(key)] = zrtl::ToUtf8(name);
}

std::wstring RecordTable::Replace(const RecordKey& key, std::wstring const& name,
                                  std::wstring (*oldFingerprint)(std::wstring const&),
                                  long long nowMs, std::optional<std::uint64_t> checksum) {
    connection_.SetDurable(true);  // not possible inside a transaction
    SqliteTransaction transaction(connection_);
    std::wstring oldName;
    Get(key, &oldName);
    if (!oldName.empty()) Retire(key, oldFingerprint(oldName));
    Store(replace_, key, name, nowMs, checksum);
    transaction.Commit();
    lastNames_[Owned(key)] = zrtl::ToUtf8(name);
    return oldName;
}

// A power cut may undo a stamp or a removal. Then a file ages early, or a record without a file is
// left, which the next lookup removes. Neither waits for the disk, so that thousands of records are
// removed in a moment.

bool RecordTable::Touch(const RecordKey& key, long long nowMs) {
    connection_.SetDurable(false);
    SqliteRun run(touch_);
    Bind(&run, key);
    run.Bind(nowMs);
    run.Step();
    return Changed();
}

bool RecordTable::Remove(const RecordKey& key) {
    connection_.SetDurable(false);
    SqliteRun run(remove_);
    Bind(&run, key);
    const auto lastName = lastNames_.find(Owned(key));
    if (lastName != lastNames_.end()) {
        run.Bind(lastName->second);
        lastNames_.erase(lastName);
    }
    run.Step();
    return Changed();
}

std::wstring RecordTable::NameOf(const SqliteRun& row, int column) const {
    return row.Bytes(column).ends_with(ending_) ? row.BareName(column) : std::wstring();
}

bool RecordTable::IsNotUsedSince(const RecordKey& key, std::wstring const& name,
                                 long long lastUseMs) {
    SqliteRun run(isUnused_);
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

void RecordTable::Bind(SqliteRun* run, const RecordKey& key) const {
    run->Bind(key.mediaPath);
    run->Bind(key.mediaFingerprint);
    run->Bind(key.streamIndex);
    if (hasRate_) run->Bind(key.sampleRate);
}

void RecordTable::Retire(const RecordKey& key, std::wstring const& fingerprint) {
    SqliteRun run(retire_);
    Bind(&run, key);
    run.Bind(fingerprint);
    run.Step();
}

void RecordTable::Store(SqliteStatement& statement, const RecordKey& key, std::wstring const& name,
                        long long nowMs, std::optional<std::uint64_t> checksum) {
    SqliteRun run(statement);
    Bind(&run, key);
    run.Bind(name);
    run.Bind(nowMs);
    // The database has signed integers with the same 64 bits. An unbound parameter is NULL.
    if (hasChecksum_ && checksum) run.Bind(static_cast<long long>(*checksum));
    run.Step();
}

std::optional<std::uint64_t> RecordTable::ChecksumOf(const SqliteRun& run, int column) {
    if (run.IsNull(column)) return {};
    return static_cast<std::uint64_t>(run.Number(column));
}

bool RecordTable::Changed() const {
    return sqlite3_changes(connection_.Handle()) > 0;
}

}  // namespace orlo::project
