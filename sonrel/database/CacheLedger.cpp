// SPDX-License-Identifier: MIT
#include "sonrel/database/CacheLedger.h"

#include <sys/stat.h>

#include "sonrel/base/Paths.h"
#include "sonrel/database/detail/DatabaseSchema.h"
#include "sonrel/database/detail/RecordTable.h"
#include "sonrel/database/detail/Sqlite.h"

namespace orlo::project {

namespace {

using Mode = SqliteConnection::Mode;

std::unique_ptr<SqliteConnection> OpenAs(std::wstring const& path, Mode mode) {
    auto connection = std::make_unique<SqliteConnection>(path, mode);
    PrepareDatabaseSchema(*connection, SchemaWork::Reading, DatabaseSchemaSteps());
    return connection;
}

/// Whether a write-ahead log contains changes that the database file does not contain yet.
bool HasPendingLog(std::wstring const& path) {
    struct stat status = {};
    return stat((zrtl::ToUtf8(path) + "-wal").c_str(), &status) == 0 && status.st_size > 0;
}

/// A database in a read-only folder cannot have lock files. No program writes it then, and it is
/// read without locks.
std::unique_ptr<SqliteConnection> OpenToLook(std::wstring const& path) {
    try {
        return OpenAs(path, Mode::Existing);
    } catch (const DatabaseError& error) {
        const bool noSideFiles = error.Code() == SQLITE_CANTOPEN || error.Code() == SQLITE_READONLY;
        if (!noSideFiles || HasPendingLog(path)) throw;
    }
    return OpenAs(path, Mode::Frozen);
}

CacheRecord RecordOf(CacheFileKind kind, const RecordTable& table, const SqliteRun& row,
                     long long lastUseMs, std::optional<std::uint64_t> checksum) {
    const bool hasRate = kind == CacheFileKind::Conformed;
    return {kind,
            row.Text(0),
            row.Text(1),
            static_cast<int>(row.Number(2)),
            hasRate ? static_cast<int>(row.Number(4)) : 0,
            table.NameOf(row, 3),
            lastUseMs,
            checksum};
}

RecordKey KeyOf(CacheRecord const& record) {
    return {record.mediaPath, record.mediaFingerprint, record.streamIndex, record.sampleRate};
}

}  // namespace

struct CacheLedgerImpl {
    explicit CacheLedgerImpl(std::wstring const& path)
        : connection(OpenToLook(path)),
          conformed(*connection, RecordTable::Kind::Conformed),
          peak(*connection, RecordTable::Kind::Peak),
          vfr(*connection, RecordTable::Kind::Vfr) {}

    RecordTable& Table(CacheFileKind kind) {
        switch (kind) {
            case CacheFileKind::Conformed:
                return conformed;
            case CacheFileKind::Peak:
                return peak;
            case CacheFileKind::Vfr:
                break;
        }
        return vfr;
    }

    std::unique_ptr<SqliteConnection> connection;
    RecordTable conformed;
    RecordTable peak;
    RecordTable vfr;
};

CacheLedger::CacheLedger(std::wstring const& databasePath)
    : impl_(std::make_unique<CacheLedgerImpl>(databasePath)) {}

CacheLedger::~CacheLedger() = default;

std::vector<CacheRecord> CacheLedger::Records() const {
    std::vector<CacheRecord> records;
    for (const CacheFileKind kind :
         {CacheFileKind::Conformed, CacheFileKind::Peak, CacheFileKind::Vfr}) {
        RecordTable& table = impl_->Table(kind);
        table.List([&](const SqliteRun& row, long long lastUseMs, auto checksum) {
            records.push_back(RecordOf(kind, table, row, lastUseMs, checksum));
        });
    }
    return records;
}

std::vector<CacheRecord> CacheLedger::RecordsOf(CacheFileKind kind,
                                                std::wstring const& mediaPath) const {
    std::vector<CacheRecord> records;
    RecordTable& table = impl_->Table(kind);
    table.ListOf(mediaPath, [&](const SqliteRun& row, long long lastUseMs, auto checksum) {
        records.push_back(RecordOf(kind, table, row, lastUseMs, checksum));
    });
    return records;
}

bool CacheLedger::Remove(CacheRecord const& record) {
    return impl_->Table(record.kind).Remove(KeyOf(record));
}

bool CacheLedger::IfUnchanged(CacheRecord const& record, std::function<void()> const& work) {
    return impl_->Table(record.kind)
        .IfNotUsedSince(KeyOf(record), record.cacheFilename, record.lastUseMs, work);
}

}  // namespace orlo::project
