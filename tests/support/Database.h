// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>

namespace sonrel_tests {

/// A plain connection to a database file, to examine and to damage it from outside.
class RawDatabase {
public:
    explicit RawDatabase(const std::filesystem::path& path) {
        EXPECT_EQ(sqlite3_open(path.c_str(), &handle_), SQLITE_OK);
    }
    ~RawDatabase() { sqlite3_close(handle_); }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;

    void Run(const std::string& sql) {
        char* error = nullptr;
        EXPECT_EQ(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
            << sql << ": " << (error ? error : "");
        sqlite3_free(error);
    }

    /// The first column of the first row.
    std::string Ask(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(handle_);
        std::string answer;
        if (statement && sqlite3_step(statement) == SQLITE_ROW) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
            if (text) answer = text;
        }
        sqlite3_finalize(statement);
        return answer;
    }

private:
    sqlite3* handle_ = nullptr;
};

}  // namespace sonrel_tests
