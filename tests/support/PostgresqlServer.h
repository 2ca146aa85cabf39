// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {

/// A PostgreSQL server of this test program, on a Unix socket in a temporary folder. It ends with
/// the program, also when the program crashes. As root it runs as another user, because it refuses
/// root.
class PostgresqlServer {
public:
    /// The server that the tests of this program share, which the first call starts.
    /// @return null when no server is installed
    static PostgresqlServer* Shared();
    /// The reason for skipping tests without a server.
    static constexpr char MISSING[] = "PostgreSQL is not installed: apt-get install postgresql";

    ~PostgresqlServer();
    PostgresqlServer(const PostgresqlServer&) = delete;
    PostgresqlServer& operator=(const PostgresqlServer&) = delete;

    /// The address of the database of the tests.
    /// @param user  also a user that does not exist
    std::string Address(const std::string& user = "sonrel") const;

    /// Stops the server and ends its connections. The data remains.
    void Stop();
    void Start();
    /// Removes the tables of the media database and the settings of the user.
    void Clear() const;
    /// Runs a statement. @return the first column of the first row, as text; may be empty
    std::string Ask(const std::string& sql) const;

private:
    explicit PostgresqlServer(std::string programs);

    [[noreturn]] void Exec(const std::string& program, int output) const;

    TemporaryFolder folder_;
    std::string programs_;
    pid_t child_ = -1;
};

}  // namespace sonrel_tests
