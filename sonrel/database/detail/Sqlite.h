// SPDX-License-Identifier: MIT
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orlo::project {

/// A failure of the database: one line that names the file and says what went wrong.
class DatabaseError : public std::runtime_error {
public:
    /// @param code  the database's own, SQLITE_ERROR where it has none
    DatabaseError(const std::string& text, int code) : std::runtime_error(text), code_(code) {}
    /// The primary result code.
    int Code() const { return code_ & 0xFF; }

private:
    int code_;
};

/// A connection to one SQLite file. Content of the file is never trusted: no trigger, view or
/// function in it runs.
///
/// A connection leaves the file and its write-ahead log as they are when it closes, until
/// AllowChanges says that the file is ours.
class SqliteConnection {
public:
    enum class Mode {
        Existing,  ///< an existing file, for reading only where the system allows no more
        Create,    ///< the same, but a missing file is made
        Frozen     ///< an existing file that nobody writes, without locks and side files
    };

    /// @throws DatabaseError when the file cannot be opened
    SqliteConnection(std::wstring const& path, Mode mode);
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    sqlite3* Handle() const { return handle_.get(); }
    /// The path as UTF-8.
    const std::string& Path() const { return path_; }
    /// True when the system lets nobody write the file through this connection.
    bool IsReadOnly() const;
    /// The file was found to be ours: closing may tidy the write-ahead log away.
    void AllowChanges();

    /// Whether a change is on the disk when its statement returns. Where the journal would not keep
    /// the file whole without, it always is.
    void SetDurable(bool durable);

    /// Runs statements without a result. @throws DatabaseError
    void Execute(const char* sql);
    /// The first column of the first row. @throws DatabaseError also when there is no row
    long long QueryNumber(const char* sql);
    std::string QueryText(const char* sql);

    /// @throws DatabaseError with the file's name and @p reason
    [[noreturn]] void Fail(std::string_view reason, int code = SQLITE_ERROR) const;
    /// @throws DatabaseError with the file's name and the database's own words for @p code
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
    /// @throws DatabaseError when the file's tables do not fit
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

/// One run of a statement: binds, steps, and makes the statement ready again on every way out.
class SqliteRun {
public:
    explicit SqliteRun(SqliteStatement& statement) : statement_(statement) {}
    ~SqliteRun();
    SqliteRun(const SqliteRun&) = delete;
    SqliteRun& operator=(const SqliteRun&) = delete;

    /// Binds the next parameter, from the first on.
    void Bind(long long value);
    void Bind(std::wstring const& text);
    void Bind(std::string const& utf8);

    /// @return whether there is a row; false at the end
    /// @throws DatabaseError
    bool Step();

    bool IsNull(int column) const;
    long long Number(int column) const;
    /// The column's text, with a replacement character for what is no Unicode.
    std::wstring Text(int column) const;
    /// The column's text when it is the bare name of a file, else empty.
    std::wstring BareName(int column) const;
    /// The column's text as it is stored, good until the next step.
    std::string_view Bytes(int column) const;

private:
    void Check(int code) const;

    SqliteStatement& statement_;
    int nextParameter_ = 1;
};

/// A write transaction: all or, when it is left early, nothing.
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

/// The name when it is that of a file in a folder and no way to another place, else empty: ".",
/// "..", names with a separator of any system or a zero byte, and names that no folder can hold.
std::wstring BareFileName(std::string_view utf8);

}  // namespace orlo::project
