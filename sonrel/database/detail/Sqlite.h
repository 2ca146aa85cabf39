// SPDX-License-Identifier: MIT
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orlo::project {

/// A failure of the database: one line with the name of the file and the reason.
class DatabaseError : public std::runtime_error {
public:
    /// @param code  of the database; SQLITE_ERROR for a failure without a code
    DatabaseError(const std::string& text, int code) : std::runtime_error(text), code_(code) {}
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

    /// @throws DatabaseError when the file cannot be opened
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

    /// Runs statements without a result. @throws DatabaseError
    void Execute(const char* sql);
    /// The first column of the first row. @throws DatabaseError also when there is no row
    long long QueryNumber(const char* sql);
    std::string QueryText(const char* sql);

    /// @throws DatabaseError with the name of the file and @p reason
    [[noreturn]] void Fail(std::string_view reason, int code = SQLITE_ERROR) const;
    /// @throws DatabaseError with the name of the file and the message of the database for @p code
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
class SqliteStatement {
public:
    /// @throws DatabaseError when the tables of the file do not match
    SqliteStatement(SqliteConnection& connection, const std::string& sql);

    sqlite3_stmt* Handle() const { return handle_.get(); }

private:
    friend class SqliteRun;

    struct Closer {
        void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
    };

    SqliteConnection* connection_;
    std::unique_ptr<sqlite3_stmt, Closer> handle_;
};

/// One run of a statement: binds and steps, and resets the statement on every way out.
class SqliteRun {
public:
    explicit SqliteRun(SqliteStatement& statement) : statement_(statement) {}
    ~SqliteRun();
    SqliteRun(const SqliteRun&) = delete;
    SqliteRun& operator=(const SqliteRun&) = delete;

    /// Binds the next parameter, starting with the first.
    void Bind(long long value);
    void Bind(std::wstring const& text);
    void Bind(std::string const& utf8);

    /// @return whether a row was read; false at the end
    /// @throws DatabaseError
    bool Step();

    bool IsNull(int column) const;
    long long Number(int column) const;
    /// The text of a column, with a replacement character for invalid bytes.
    std::wstring Text(int column) const;
    /// The text of a column if it is a file name without a path, else empty.
    std::wstring BareName(int column) const;
    /// The stored bytes of a column, valid until the next step.
    std::string_view Bytes(int column) const;

private:
    void Check(int code) const;

    SqliteStatement& statement_;
    int nextParameter_ = 1;
};

/// A write transaction: it is undone unless Commit was called.
class SqliteTransaction {
public:
    /// Waits until no other connection writes.
    explicit SqliteTransaction(SqliteConnection& connection);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    void Commit();

private:
    SqliteConnection& connection_;
    bool open_ = true;
};

/// The name if it is the name of a file in a folder, else empty: for ".", "..", names with a
/// separator of any system or a zero byte, and names that are too long.
std::wstring BareFileName(std::string_view utf8);

}  // namespace orlo::project
