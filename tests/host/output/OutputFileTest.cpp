// SPDX-License-Identifier: MIT
#include "host/output/OutputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class OutputFileTest : public testing::Test {
protected:
    void WriteWhole(const std::string& path, const std::string& bytes) {
        WriteWholeFile(path, guard_, bytes);
    }

    TemporaryFolder folder_;
    OutputGuard guard_{false};
};

TEST_F(OutputFileTest, AppearsWhenItIsCommitted) {
    OutputFile file(folder_ / "out", guard_);
    file.Write("whole");
    file.Seal();
    EXPECT_FALSE(std::filesystem::exists(folder_ / "out"));

    file.Commit();

    EXPECT_EQ(ReadFile(folder_ / "out"), "whole");
}

TEST_F(OutputFileTest, LeavesNothingWithoutACommit) {
    {
        OutputFile file(folder_ / "out", guard_);
        file.Write("half");
    }

    EXPECT_TRUE(NamesIn(folder_.Path()).empty());
}

TEST_F(OutputFileTest, AnOldFileIsKeptUntilTheCommitAndPassesOnItsPermissions) {
    WriteFile(folder_ / "out", "old");
    chmod((folder_ / "out").c_str(), 0600);
    OutputFile file(folder_ / "out", guard_);
    file.Write("new");
    EXPECT_EQ(ReadFile(folder_ / "out"), "old");

    file.Commit();

    EXPECT_EQ(ReadFile(folder_ / "out"), "new");
    EXPECT_EQ(std::filesystem::status(folder_ / "out").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(NamesIn(folder_.Path()).size(), 1u);
}

TEST_F(OutputFileTest, ALinkIsKeptAndItsFileReplaced) {
    WriteFile(folder_ / "file", "old");
    std::filesystem::create_symlink("file", folder_ / "link");

    WriteWhole(folder_ / "link", "new");

    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
}

TEST_F(OutputFileTest, WrittenBytesCanBeReplaced) {
    OutputFile file(folder_ / "out", guard_);
    file.Write("0000 and more");

    file.WriteAt("1234", 0);
    file.Commit();

    EXPECT_EQ(ReadFile(folder_ / "out"), "1234 and more");
}

TEST_F(OutputFileTest, AProtectedFileThatAppearsBeforeTheCommitIsKept) {
    WriteFile(folder_ / "read", "precious");
    guard_.Protect(folder_ / "read", "the timeline");
    {
        OutputFile file(folder_ / "out", guard_);
        file.Write("new");
        std::filesystem::create_hard_link(folder_ / "read", folder_ / "out");

        EXPECT_THROW(file.Commit(), UsageError);
    }

    EXPECT_EQ(ReadFile(folder_ / "out"), "precious");
    EXPECT_EQ(NamesIn(folder_.Path()), (std::vector<std::string>{"out", "read"}));
}

TEST_F(OutputFileTest, AWriteProtectedFileThatAppearsBeforeTheCommitIsKept) {
    OutputFile file(folder_ / "out", guard_);
    file.Write("new");
    WriteFile(folder_ / "out", "precious");
    chmod((folder_ / "out").c_str(), 0444);

    EXPECT_THROW(file.Commit(), JobError);

    EXPECT_EQ(ReadFile(folder_ / "out"), "precious");
}

TEST_F(OutputFileTest, AFolderThatAppearsBeforeTheCommitIsKept) {
    OutputFile file(folder_ / "out", guard_);
    std::filesystem::create_directory(folder_ / "out");

    EXPECT_THROW(file.Commit(), JobError);

    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "out"));
}

TEST_F(OutputFileTest, APipeReceivesTheBytesInOrder) {
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    const std::string sent(300'000, 'x');  // more than the capacity of a pipe
    std::string received;
    std::jthread reader([&] { received = ReadFile(folder_ / "pipe"); });

    WriteWhole(folder_ / "pipe", sent + "end");
    reader.join();

    EXPECT_EQ(received, sent + "end");
    EXPECT_TRUE(std::filesystem::is_fifo(folder_ / "pipe"));
}

TEST_F(OutputFileTest, AWriterThatSeeksUsesATemporaryFileForAPipe) {
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    std::string received;
    std::jthread reader([&] { received = ReadFile(folder_ / "pipe"); });
    {
        OutputFile file(folder_ / "pipe", guard_);
        file.Seekable().Write("0000 and more");
        file.Seekable().WriteAt("1234", 0);
        file.Commit();
    }
    reader.join();

    EXPECT_EQ(received, "1234 and more");
}

TEST_F(OutputFileTest, ADeviceIsWrittenAndNotReplaced) {
    WriteWhole("/dev/null", "gone");

    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(OutputFileTest, AFullDiskIsAnErrorWithTheNameOfTheFile) {
    try {
        WriteWhole("/dev/full", "x");
        FAIL();
    } catch (const JobError& error) {
        EXPECT_NE(std::string(error.what()).find("'/dev/full': No space left"), std::string::npos);
    }
}

TEST_F(OutputFileTest, AnOutputThatCannotFitIsRefusedInAdvance) {
    const OutputFile file(folder_ / "out", guard_);

    EXPECT_NO_THROW(file.RequireSpace(1));
    EXPECT_THROW(file.RequireSpace(1LL << 62), JobError);
}

TEST_F(OutputFileTest, ANameOf255BytesCanBeWritten) {
    const std::string name(255, 'n');

    WriteWhole(folder_ / name, "x");

    EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{name});
}

}  // namespace
}  // namespace orlo::host
