// SPDX-License-Identifier: MIT
#include "host/shell/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "tests/support/TemporaryFolder.h"

namespace {

/// Removals of this thread that will fail, and the number of their error.
thread_local int failures = 0;
thread_local int failureNumber = 0;

}  // namespace

/// Takes the place of the system call.
int unlinkat(int folder, const char* name, int flags) noexcept {
    if (failures > 0) {
        --failures;
        errno = failureNumber;
        return -1;
    }
    return static_cast<int>(syscall(SYS_unlinkat, folder, name, flags));
}

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

TEST(HostTemporaryFolder, DisappearsAfterAnInterruptionAndAFailureThatPasses) {
    for (const int number : {EINTR, EBUSY}) {
        std::optional<orlo::host::TemporaryFolder> folder(std::in_place);
        const fs::path path = folder->Path();
        WriteFile(path / "a.wav", "sound");

        failures = 2;
        failureNumber = number;
        folder.reset();

        EXPECT_EQ(failures, 0);
        EXPECT_FALSE(fs::exists(path)) << number;
    }
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
