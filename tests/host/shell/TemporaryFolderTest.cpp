// SPDX-License-Identifier: MIT
#include "host/shell/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>

#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

TEST(HostTemporaryFolder, IsPrivateAndDisappearsWithItsContent) {
    std::optional<orlo::host::TemporaryFolder> folder(std::in_place);
    const fs::path path = folder->Path();
    fs::create_directory(path / "media");
    WriteFile(path / "media/a.wav", "sound");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);

    folder.reset();

    EXPECT_FALSE(fs::exists(path));
}

TEST(HostTemporaryFolder, AllAreRemovedAtTheEndOfTheProgramAndNothingThatALinkNames) {
    const TemporaryFolder other;
    WriteFile(other / "kept", "x");
    const orlo::host::TemporaryFolder first;
    const orlo::host::TemporaryFolder second;
    fs::create_directories(fs::path(first.Path()) / "a/b");
    for (int i = 0; i < 500; ++i) {
        WriteFile(fs::path(first.Path()) / "a/b" / ("file" + std::to_string(i)), "x");
    }
    fs::create_directory_symlink(other.Path(), fs::path(second.Path()) / "link");

    orlo::host::RemoveTemporaryFolders();

    EXPECT_FALSE(fs::exists(first.Path()));
    EXPECT_FALSE(fs::exists(second.Path()));
    EXPECT_TRUE(fs::exists(other / "kept"));
}

}  // namespace
}  // namespace sonrel_tests
