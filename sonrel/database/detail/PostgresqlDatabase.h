// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/PostgresqlConnection.h"
#include "sonrel/database/detail/RecordDatabase.h"

namespace orlo::project {

/// A media database on a PostgreSQL server, in the schema `sonrel` of a database.
class PostgresqlDatabase : public RecordDatabase {
public:
    /// Opens a database for its records.
    /// @param cacheFolder       as in MediaDB
    /// @param createAndMigrate  as in MediaDB
    /// @param status            receives the state that was found
    /// @throws DatabaseError as MediaDB
    static std::unique_ptr<RecordDatabase> Open(std::string const& address,
                                                std::wstring const& cacheFolder,
                                                bool createAndMigrate,
                                                MediaDB::DatabaseStatus* status);
    /// Opens a database for a list, also on a read-only server.
    static std::unique_ptr<RecordDatabase> OpenToLook(std::string const& address);

    explicit PostgresqlDatabase(std::unique_ptr<PostgresqlConnection> connection);

    std::unique_ptr<RecordStatement> Prepare(const std::string& sql) override;
    bool HasChecksums() const override { return true; }
    std::string PathKeyColumn() const override { return "path_hash"; }
    std::string WherePath() const override { return "path_hash = sha256(?1)"; }
    std::string LockOfRow() const override { return " FOR UPDATE"; }

    void Begin(const std::string& table, WriteExtent extent) override;
    void Commit() override;
    void Rollback() noexcept override;
    void SetDurable(bool durable) override;
    long long ChangeCount() const override { return changeCount_; }
    long long Now() override;
    bool LockForAll(std::wstring const& name) override;
    void UnlockForAll(std::wstring const& name) override;

private:
    friend class PostgresqlStatement;

    std::unique_ptr<PostgresqlConnection> connection_;
    bool isDurable_ = true;
    long long changeCount_ = 0;
};

/// A statement, which is sent to the server when it runs.
class PostgresqlStatement : public RecordStatement {
public:
    /// @param sql  with the parameters ?1, ?2 and so on
    PostgresqlStatement(PostgresqlDatabase& database, std::string sql);

    void BindNumber(int parameter, long long value) override;
    void BindText(int parameter, std::string const& utf8) override;
    bool Step() override;
    void Reset() noexcept override;
    bool IsNull(int column) const override { return rows_->IsNull(row_, column); }
    bool IsText(int column) const override;
    long long Number(int column) const override { return rows_->Number(row_, column); }
    std::string_view Bytes(int column) const override { return rows_->Bytes(row_, column); }

private:
    PostgresqlDatabase& database_;
    std::string sql_;
    std::size_t parameterCount_ = 0;
    std::vector<PostgresqlValue> values_;
    std::unique_ptr<PostgresqlRows> rows_;
    int row_ = 0;
};

}  // namespace orlo::project
