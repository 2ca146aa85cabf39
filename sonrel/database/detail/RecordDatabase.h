// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "sonrel/database/detail/RecordStatement.h"

namespace orlo::project {

/// A failure of the database: one line with the name of the database and the reason.
class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The extent of a write transaction.
enum class WriteExtent {
    Record,  ///< reads and writes a single record
    Table    ///< may write any record of one table
};

/// A connection to a media database whose schema has been checked.
///
/// The SQL of the records is written once for all databases. It contains only statements that every
/// database knows, with the parameters ?1, ?2 and so on; the operations below return the rest.
class RecordDatabase {
public:
    RecordDatabase() = default;
    virtual ~RecordDatabase() = default;
    RecordDatabase(const RecordDatabase&) = delete;
    RecordDatabase& operator=(const RecordDatabase&) = delete;

    /// @throws DatabaseError when a table does not match; a database may report that at the first
    ///         run instead
    virtual std::unique_ptr<RecordStatement> Prepare(const std::string& sql) = 0;
    /// Whether conformed and peak records have a checksum.
    virtual bool HasChecksums() const = 0;
    /// The column that contains the media path in the key of a table.
    virtual std::string PathKeyColumn() const = 0;
    /// The condition of a media path, which is the parameter ?1.
    virtual std::string WherePath() const = 0;
    /// The end of a query that keeps its row unchanged until the transaction ends; may be empty.
    virtual std::string LockOfRow() const = 0;

    /// Begins a write transaction. Waits for other connections that write the same records.
    virtual void Begin(const std::string& table, WriteExtent extent) = 0;
    virtual void Commit() = 0;
    virtual void Rollback() noexcept = 0;
    /// Whether a change is on the disk when its statement returns. Not inside a transaction.
    virtual void SetDurable(bool durable) = 0;
    /// The number of records that the last statement has changed.
    virtual long long ChangeCount() const = 0;

    /// The time for stamps and ages: milliseconds since 1970, UTC.
    virtual long long Now() = 0;

    /// As MediaDB::LockForAll.
    virtual bool LockForAll(std::wstring const& name) = 0;
    virtual void UnlockForAll(std::wstring const& name) = 0;
};

/// A write transaction: it is undone unless Commit was called.
class RecordTransaction {
public:
    RecordTransaction(RecordDatabase& database, const std::string& table, WriteExtent extent)
        : database_(database) {
        database_.Begin(table, extent);
    }
    ~RecordTransaction() {
        if (open_) database_.Rollback();
    }
    RecordTransaction(const RecordTransaction&) = delete;
    RecordTransaction& operator=(const RecordTransaction&) = delete;

    void Commit() {
        database_.Commit();
        open_ = false;
    }

private:
    RecordDatabase& database_;
    bool open_ = true;
};

}  // namespace orlo::project
