// SPDX-License-Identifier: MIT
#include "host/shell/FileReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace {

/// Reads of this thread that a signal will interrupt.
thread_local int interruptions = 0;

}  // namespace

/// Takes the place of the system call.
ssize_t read(int descriptor, void* bytes, std::size_t size) {
    if (interruptions > 0) {
        --interruptions;
        errno = EINTR;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}

namespace orlo::host {
namespace {

std::string ReasonOf(const std::string& path) {
    try {
        const FileReader reader(path);
    } catch (const JobError& error) {
        return error.what();
    }
    return {};
}

TEST(FileReaderTest, ReadsAtAnyOffsetAndLessOnlyAtTheEnd) {
    const sonrel_tests::TemporaryFolder folder;
    sonrel_tests::WriteFile(folder / "file", "0123456789");
    const FileReader reader((folder / "file").string());
    std::string bytes(4, '-');

    EXPECT_EQ(reader.Size(), 10);
    EXPECT_EQ(reader.ReadAt(5, bytes.data(), 4), 4u);
    EXPECT_EQ(bytes, "5678");
    EXPECT_EQ(reader.ReadAt(0, bytes.data(), 4), 4u);
    EXPECT_EQ(bytes, "0123");
    EXPECT_EQ(reader.ReadAt(8, bytes.data(), 4), 2u);
    EXPECT_EQ(bytes, "8923");
    EXPECT_EQ(reader.ReadAt(10, bytes.data(), 4), 0u);
    EXPECT_EQ(reader.ReadAt(4000, bytes.data(), 4), 0u);
}

TEST(FileReaderTest, ContinuesInterruptedReadsToTheEnd) {
    const sonrel_tests::TemporaryFolder folder;
    sonrel_tests::WriteFile(folder / "file", "0123456789");
    const FileReader reader((folder / "file").string());
    std::string bytes(20, '-');

    interruptions = 3;

    EXPECT_EQ(reader.ReadAt(4, bytes.data(), 20), 6u);
    EXPECT_EQ(interruptions, 0);
    EXPECT_EQ(bytes.substr(0, 6), "456789");
}

TEST(FileReaderTest, NamesTheFileThatCannotBeReadAndTheReason) {
    const sonrel_tests::TemporaryFolder folder;
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string missing = (folder / "missing").string();

    EXPECT_EQ(ReasonOf(missing), "cannot read '" + missing + "': No such file or directory");
    EXPECT_EQ(ReasonOf(pipe), "cannot read '" + pipe + "': it is not a regular file");
    EXPECT_EQ(ReasonOf(folder.Path().string()),
              "cannot read '" + folder.Path().string() + "': it is not a regular file");
}

}  // namespace
}  // namespace orlo::host
