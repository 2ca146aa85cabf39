// SPDX-License-Identifier: MIT
// Outputs that the system writes to the disk while the program computes the rest of them.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host/output/PartialFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

struct WriteBack {
    long long start;
    long long bytes;
    unsigned int flags;
};

std::vector<WriteBack> writeBacks;

}  // namespace

/// Takes the place of the system call, and fails.
int sync_file_range(int, off64_t start, off64_t bytes, unsigned int flags) {
    writeBacks.push_back({start, bytes, flags});
    errno = EIO;
    return -1;
}

namespace orlo::host {
namespace {

using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;

constexpr long long PIECE = 128 * 1024;
constexpr long long MEGABYTE = 1024 * 1024;

class WriteBackTest : public testing::Test {
protected:
    WriteBackTest() { writeBacks.clear(); }

    void Write(long long bytes) {
        const std::string piece(PIECE, 'a');
        for (; bytes > 0; bytes -= PIECE) file_.Write(piece);
    }

    TemporaryFolder folder_;
    PartialFile file_{folder_ / "out", "out"};
};

TEST_F(WriteBackTest, BeginsAfterEvery4MegabytesAndLeavesTheRestForTheEnd) {
    Write(43 * MEGABYTE);

    ASSERT_EQ(writeBacks.size(), 10u);
    for (int i = 0; i < 10; ++i) {
        const WriteBack& writeBack = writeBacks[static_cast<std::size_t>(i)];
        EXPECT_EQ(writeBack.start, i * 4 * MEGABYTE);
        EXPECT_EQ(writeBack.bytes, 4 * MEGABYTE);
        EXPECT_EQ(writeBack.flags, static_cast<unsigned int>(SYNC_FILE_RANGE_WRITE));
    }
}

TEST_F(WriteBackTest, OfASmallFileIsLeftToTheEnd) {
    Write(MEGABYTE);

    EXPECT_TRUE(writeBacks.empty());
}

TEST_F(WriteBackTest, ThatFailsIsNoFailureOfTheFile) {
    Write(10 * MEGABYTE);
    file_.Sync();

    EXPECT_TRUE(file_.MoveTo(folder_ / "out", true));
    EXPECT_FALSE(writeBacks.empty());
    EXPECT_EQ(ReadFile(folder_ / "out").size(), static_cast<std::size_t>(10 * MEGABYTE));
}

}  // namespace
}  // namespace orlo::host
