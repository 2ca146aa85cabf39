// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/PostgresqlDatabase.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "sonrel/database/detail/PostgresqlSchema.h"

namespace orlo::project {

namespace {

/// The number of a lock name. Two names with one number wait for each other, and nothing else.
long long LockNumber(std::wstring const& name) {
    std::uint64_t hash = 14695981039346656037u;  // FNV-1a
    for (const char letter : zrtl::ToUtf8(name)) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211u;
    }
    return static_cast<long long>(hash);
}

}  // namespace

std::unique_ptr<RecordDatabase> PostgresqlDatabase::Open(std::string const& address,
                                                         std::wstring const& cacheFolder,
                                                         bool createAndMigrate,
                                                         MediaDB::DatabaseStatus* status) {
    auto connection = std::make_unique<PostgresqlConnection>(address);
    *status = PreparePostgresqlSchema(*connection, cacheFolder, createAndMigrate);
    return std::make_unique<PostgresqlDatabase>(std::move(connection));
}

std::unique_ptr<RecordDatabase> PostgresqlDatabase::OpenToLook(std::string const& address) {
    auto connection = std::make_unique<PostgresqlConnection>(address);
    PreparePostgresqlSchema(*connection, {}, false);
    return std::make_unique<PostgresqlDatabase>(std::move(connection));
}

PostgresqlDatabase::PostgresqlDatabase(std::unique_ptr<PostgresqlConnection> connection)
    : connection_(std::move(connection)) {}

std::unique_ptr<RecordStatement> PostgresqlDatabase::Prepare(const std::string& sql) {
    return std::make_unique<PostgresqlStatement>(*this, sql);
}

/// A transaction on one record does not delay work on other records. The lock of its table, which
/// it needs for its changes, is taken first, so that it never waits for a lock of the whole table
/// while it holds the lock of a record.
void PostgresqlDatabase::Begin(const std::string& table, WriteExtent extent) {
    const char* const mode = extent == WriteExtent::Table ? "SHARE ROW EXCLUSIVE" : "ROW EXCLUSIVE";
    try {
        connection_->Execute("BEGIN; LOCK TABLE " + table + " IN " + mode + " MODE");
    } catch (const DatabaseError&) {
        Rollback();
        throw;
    }
}

void PostgresqlDatabase::Commit() {
    connection_->Execute("COMMIT");
}

void PostgresqlDatabase::Rollback() noexcept {
    connection_->TryToExecute("ROLLBACK");
}

void PostgresqlDatabase::SetDurable(bool durable) {
    if (durable == isDurable_) return;
    connection_->Execute(durable ? "SET synchronous_commit = on" : "SET synchronous_commit = off");
    isDurable_ = durable;
}

/// The clock of the server: the clocks of the machines may differ.
long long PostgresqlDatabase::Now() {
    if (const auto time = TestDatabaseTime()) return *time;
    const PostgresqlRows rows =
        connection_->Query("SELECT floor(extract(epoch FROM clock_timestamp()) * 1000)::bigint");
    return rows.Number(0, 0);
}

bool PostgresqlDatabase::LockForAll(std::wstring const& name) {
    connection_->Execute("SET lock_timeout = 0; SELECT pg_advisory_lock(" +
                         std::to_string(LockNumber(name)) +
                         "); SET lock_timeout = " + PostgresqlConnection::LockTimeout());
    return true;
}

void PostgresqlDatabase::UnlockForAll(std::wstring const& name) {
    const std::string number = std::to_string(LockNumber(name));
    connection_->TryToExecute(("SELECT pg_advisory_unlock(" + number + ")").c_str());
}

PostgresqlStatement::PostgresqlStatement(PostgresqlDatabase& database, std::string sql)
    : database_(database), sql_(std::move(sql)) {
    for (std::size_t at = sql_.find('?'); at != std::string::npos; at = sql_.find('?', at)) {
        sql_[at] = '$';
        parameterCount_ =
            std::max(parameterCount_, static_cast<std::size_t>(sql_.at(at + 1) - '0'));
    }
    values_.resize(parameterCount_);
}

void PostgresqlStatement::BindNumber(int parameter, long long value) {
    values_.at(static_cast<std::size_t>(parameter) - 1) = PostgresqlValue::Number(value);
}

void PostgresqlStatement::BindText(int parameter, std::string const& utf8) {
    values_.at(static_cast<std::size_t>(parameter) - 1) = PostgresqlValue::Bytes(utf8);
}

bool PostgresqlStatement::Step() {
    if (rows_ == nullptr) {
        rows_ = std::make_unique<PostgresqlRows>(database_.connection_->Query(sql_, values_));
        database_.changeCount_ = rows_->ChangeCount();
        row_ = 0;
    } else {
        ++row_;
    }
    return row_ < rows_->Count();
}

void PostgresqlStatement::Reset() noexcept {
    rows_.reset();
    values_.assign(parameterCount_, {});
}

bool PostgresqlStatement::IsText(int column) const {
    return rows_->IsBytes(column) && !IsNull(column);
}

}  // namespace orlo::project
