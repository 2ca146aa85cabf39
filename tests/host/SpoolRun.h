// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/host/FaultRun.h"
#include "tests/host/ShellRun.h"

namespace sonrel_tests {

/// Commands whose input is spooled: an archive or standard input.
class SpoolRun : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directory(shop_.Path("tmp")); }

    /// Runs a line of bash and expects that no temporary file and no cache is left.
    int Bash(const std::string& line) const {
        const Variable temporary("TMPDIR", shop_.Path("tmp"));
        const int code = RunBash(shop_, line);
        EXPECT_TRUE(std::filesystem::is_empty(shop_.Path("tmp"))) << line;
        EXPECT_FALSE(std::filesystem::exists(shop_.Path("cache"))) << line;
        EXPECT_FALSE(std::filesystem::exists(shop_.Path("media.db"))) << line;
        return code;
    }

    std::string Report() const { return ReadFile(shop_.Work("report")); }
    nlohmann::json JsonReport() const { return nlohmann::json::parse(Report()); }

    Workshop shop_;
};

}  // namespace sonrel_tests
