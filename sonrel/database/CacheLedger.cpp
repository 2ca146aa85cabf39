// SPDX-License-Identifier: MIT
#include "sonrel/database/CacheLedger.h"

#include "sonrel/database/detail/OpenRecordDatabase.h"
#include "sonrel/database/detail/RecordTable.h"

namespace orlo::project {

namespace {

CacheRecord RecordOf(CacheFileKind kind, const RecordTable& table, const StatementRun& row,
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
        : database(OpenRecordDatabaseToLook(path)),
          conformed(*database, RecordTable::Kind::Conformed),
          peak(*database, RecordTable::Kind::Peak),
          vfr(*database, RecordTable::Kind::Vfr) {}

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

    std::unique_ptr<RecordDatabase> database;
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
        table.List([&](const StatementRun& row, long long lastUseMs, auto checksum) {
            records.push_back(RecordOf(kind, table, row, lastUseMs, checksum));
        });
    }
    return records;
}

std::vector<CacheRecord> CacheLedger::RecordsOf(CacheFileKind kind,
                                                std::wstring const& mediaPath) const {
    std::vector<CacheRecord> records;
    RecordTable& table = impl_->Table(kind);
    table.ListOf(mediaPath, [&](const StatementRun& row, long long lastUseMs, auto checksum) {
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
