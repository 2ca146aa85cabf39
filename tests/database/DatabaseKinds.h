// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "sonrel/database/DatabaseServer.h"
#include "tests/support/PostgresqlServer.h"
#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {

enum class DatabaseKind { File, Server };

/// An empty media database at "media.db", for rules that hold for every kind of database. Tests of
/// a server are skipped where no server is installed, unless SONREL_NEED_POSTGRESQL is set.
class DatabaseOfKind : public testing::TestWithParam<DatabaseKind> {
protected:
    DatabaseOfKind() {
        std::filesystem::create_directory(folder_ / "cache");
        if (GetParam() == DatabaseKind::File) return;
        server_ = PostgresqlServer::Shared();
        if (server_ == nullptr) return;
        server_->Clear();
        orlo::project::WriteDatabaseServerFile(path_, server_->Address());
    }

    bool HasDatabase() const { return GetParam() == DatabaseKind::File || server_ != nullptr; }

    void SetUp() override {
        if (HasDatabase()) return;
        if (std::getenv("SONREL_NEED_POSTGRESQL") != nullptr) FAIL() << PostgresqlServer::MISSING;
        GTEST_SKIP() << PostgresqlServer::MISSING;
    }

    TemporaryFolder folder_;
    std::wstring path_ = folder_.Wide("media.db");
    std::wstring cache_ = folder_.Wide("cache");
    PostgresqlServer* server_ = nullptr;  ///< null for a file
};

inline std::string NameOfKind(const testing::TestParamInfo<DatabaseKind>& info) {
    return info.param == DatabaseKind::File ? "File" : "Server";
}

}  // namespace sonrel_tests

/// Runs the tests of a fixture for both kinds of databases.
#define SONREL_FOR_BOTH_DATABASES(Fixture)                                                     \
    INSTANTIATE_TEST_SUITE_P(                                                                  \
        Databases, Fixture,                                                                    \
        testing::Values(sonrel_tests::DatabaseKind::File, sonrel_tests::DatabaseKind::Server), \
        sonrel_tests::NameOfKind)
