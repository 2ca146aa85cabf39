// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sonrel/database/detail/Libpq.h"
#include "sonrel/database/detail/RecordDatabase.h"

namespace orlo::project {

/// A parameter of a query: a number, bytes, or null.
struct PostgresqlValue {
    enum class Kind { Null, Number, Bytes };

    Kind kind = Kind::Null;
    std::string bytes;  ///< of a number: 8 bytes, big-endian

    static PostgresqlValue Number(long long value);
    static PostgresqlValue Bytes(std::string const& value);
};

/// The rows of a query. A column contains bytes or a whole number of 2, 4 or 8 bytes.
class PostgresqlRows {
public:
    explicit PostgresqlRows(libpq::ResultPtr result) : result_(std::move(result)) {}

    int Count() const { return libpq::PQntuples(result_.get()); }
    bool IsNull(int row, int column) const {
        return libpq::PQgetisnull(result_.get(), row, column) == 1;
    }
    bool IsBytes(int column) const;
    std::string_view Bytes(int row, int column) const;
    long long Number(int row, int column) const;
    /// The number of rows that the statement changed.
    long long ChangeCount() const;

private:
    libpq::ResultPtr result_;
};

/// A connection to one database of a PostgreSQL server.
///
/// A process or machine that dies is noticed by the other side within 30 seconds, also without
/// traffic: the server then ends the transaction and releases the locks.
class PostgresqlConnection {
public:
    /// @param address  a URI of libpq
    /// @throws DatabaseError when the server cannot be reached, refuses or is too old
    explicit PostgresqlConnection(std::string const& address);

    /// Runs one statement with its parameters. @throws DatabaseError
    PostgresqlRows Query(const std::string& sql, const std::vector<PostgresqlValue>& values = {});
    /// Runs statements without a result, in one transaction unless they begin or end one.
    /// @throws DatabaseError
    void Execute(const std::string& sql);
    /// The same without a failure.
    void TryToExecute(const char* sql) noexcept;

    /// The time-out of a lock as a setting of the server. The server waits for ever with 0.
    static std::string LockTimeout();

    /// @throws DatabaseError with the name of the server and @p reason
    [[noreturn]] void Fail(std::string_view reason, bool isConflict = false) const;

private:
    void Connect(std::string const& address);
    [[noreturn]] void FailToConnect() const;
    [[noreturn]] void FailWith(const PGresult* result) const;
    libpq::ResultPtr Checked(PGresult* result) const;

    std::string name_;
    libpq::ConnectionPtr connection_;
};

}  // namespace orlo::project
