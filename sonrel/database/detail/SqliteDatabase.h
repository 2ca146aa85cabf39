// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/RecordDatabase.h"
#include "sonrel/database/detail/Sqlite.h"

namespace orlo::project {

/// A media database in a file.
class SqliteDatabase : public RecordDatabase {
public:
    /// Opens a database for its records.
    /// @param createAndMigrate  as in MediaDB
    /// @param status            receives the state that was found
    /// @throws DatabaseError as MediaDB
    static std::unique_ptr<RecordDatabase> Open(std::wstring const& path, bool createAndMigrate,
                                                MediaDB::DatabaseStatus* status);
    /// Opens a database for a list, also of an older version and in a read-only folder.
    static std::unique_ptr<RecordDatabase> OpenToLook(std::wstring const& path);

    explicit SqliteDatabase(std::unique_ptr<SqliteConnection> connection);

    std::unique_ptr<RecordStatement> Prepare(const std::string& sql) override;
    bool HasChecksums() const override { return hasChecksums_; }
    std::string PathKeyColumn() const override { return "media_path"; }
    std::string WherePath() const override { return "media_path = ?1"; }
    /// Empty: no other connection writes during a transaction.
    std::string LockOfRow() const override { return {}; }

    void Begin(const std::string& table, WriteExtent extent) override;
    void Commit() override;
    void Rollback() noexcept override;
    void SetDurable(bool durable) override;
    long long ChangeCount() const override;
    long long Now() override;
    bool LockForAll(std::wstring const&) override { return false; }
    void UnlockForAll(std::wstring const&) override {}

private:
    std::unique_ptr<SqliteConnection> connection_;
    bool hasChecksums_;
};

}  // namespace orlo::project
