// SPDX-License-Identifier: MIT
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>

#include "sonrel/database/detail/RecordDatabase.h"

namespace orlo::project {

class SqliteError : public DatabaseError {
public:
    /// @param code  of the database; SQLITE_ERROR for a failure without a code
    SqliteError(const std::string& text, int code) : DatabaseError(text), code_(code) {}
    /// The primary result code.
    int Code() const { return code_ & 0xFF; }

private:
    int code_;
};

/// A connection to one SQLite file. The content of the file is not trusted: no trigger, view or
/// function in it runs.
///
/// A connection that closes does not change the file and its write-ahead log, until AllowChanges is
/// called for a file that is ours.
class SqliteConnection {
public:
    enum class Mode {
        Existing,  ///< an existing file, read-only if it cannot be written
        Create,    ///< as Existing; a missing file is created
        Frozen     ///< an existing file that no program writes, without locks and side files
    };

    /// @throws SqliteError when the file cannot be opened
    SqliteConnection(std::wstring const& path, Mode mode);
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    sqlite3* Handle() const { return handle_.get(); }
    /// The path as UTF-8.
    const std::string& Path() const { return path_; }
    /// True when the file cannot be written through this connection.
    bool IsReadOnly() const;
    /// For a file that is ours: closing may remove the write-ahead log.
    void AllowChanges();

    /// Whether a change is on the disk when its statement returns. With a journal that would not
    /// keep the file consistent otherwise, it always is.
    void SetDurable(bool durable);

    /// Begins a write transaction. Waits until no other connection writes.
    void BeginWrite() { Execute("BEGIN IMMEDIATE"); }
    void Commit() { Execute("COMMIT"); }
    void Rollback() noexcept;

    /// Runs statements without a result. @throws SqliteError
    void Execute(const char* sql);
    /// The first column of the first row. @throws SqliteError also for a result without rows
    long long QueryNumber(const char* sql);
    std::string QueryText(const char* sql);

    /// @throws SqliteError with the name of the file and @p reason
    [[noreturn]] void Fail(std::string_view reason, int code = SQLITE_ERROR) const;
    /// @throws SqliteError with the name of the file and the message of the database for @p code
    [[noreturn]] void FailWith(int code) const;

private:
    struct Closer {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
    };

    void Harden();

    std::string path_;
    bool durable_ = true;
    std::unique_ptr<sqlite3, Closer> handle_;
};

/// A prepared statement.
class SqliteStatement : public RecordStatement {
public:
    /// @throws SqliteError when the tables of the file do not match
    SqliteStatement(SqliteConnection& connection, const std::string& sql);

    void BindNumber(int parameter, long long value) override;
    void BindText(int parameter, std::string const& utf8) override;
    bool Step() override;
    void Reset() noexcept override;
    bool IsNull(int column) const override;
    bool IsText(int column) const override;
    long long Number(int column) const override;
    std::string_view Bytes(int column) const override;

private:
    struct Closer {
        void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
    };

    void Check(int code) const;

    SqliteConnection* connection_;
    std::unique_ptr<sqlite3_stmt, Closer> handle_;
};

/// A write transaction: it is undone unless Commit was called.
class SqliteTransaction {
public:
    explicit SqliteTransaction(SqliteConnection& connection) : connection_(connection) {
        connection_.BeginWrite();
    }
    ~SqliteTransaction() {
        if (open_) connection_.Rollback();
    }
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    void Commit() {
        connection_.Commit();
        open_ = false;
    }

private:
    SqliteConnection& connection_;
    bool open_ = true;
};

}  // namespace orlo::project
