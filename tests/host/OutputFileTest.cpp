// SPDX-License-Identifier: MIT
#include "host/OutputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/Errors.h"
#include "host/WavWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

TEST(OutputFile, AppearsWhenItIsCommitted) {
    const TemporaryFolder folder;
    OutputFile file(folder / "out");
    file.Write("whole");
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));

    file.Commit();

    EXPECT_EQ(ReadFile(folder / "out"), "whole");
}

TEST(OutputFile, LeavesNothingWithoutACommit) {
    const TemporaryFolder folder;

    { OutputFile(folder / "out").Write("half"); }

    EXPECT_TRUE(NamesIn(folder.Path()).empty());
}

TEST(OutputFile, AnOldFileStaysUntilTheCommitAndKeepsItsPermissions) {
    const TemporaryFolder folder;
    WriteFile(folder / "out", "old");
    chmod((folder / "out").c_str(), 0600);
    OutputFile file(folder / "out");
    file.Write("new");
    EXPECT_EQ(ReadFile(folder / "out"), "old");

    file.Commit();

    EXPECT_EQ(ReadFile(folder / "out"), "new");
    EXPECT_EQ(std::filesystem::status(folder / "out").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(NamesIn(folder.Path()).size(), 1u);
}

TEST(OutputFile, ALinkKeepsPointingAtItsFile) {
    const TemporaryFolder folder;
    WriteFile(folder / "file", "old");
    std::filesystem::create_symlink("file", folder / "link");

    WriteWholeFile(folder / "link", "new");

    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ(ReadFile(folder / "file"), "new");
}

TEST(OutputFile, AFolderOrAPipeIsRefused) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);

    EXPECT_THROW(OutputFile(folder.Path()), JobError);
    EXPECT_THROW(OutputFile(folder / "pipe"), JobError);
}

TEST(OutputFile, ADeviceIsWrittenAndStaysADevice) {
    WriteWholeFile("/dev/null", "gone");

    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(OutputFile, AFullDiskFailsWithTheFilesName) {
    try {
        WriteWholeFile("/dev/full", "x");
        FAIL();
    } catch (const JobError& error) {
        EXPECT_NE(std::string(error.what()).find("'/dev/full': No space left"), std::string::npos);
    }
}

TEST(OutputFile, WhatCannotFitIsRefusedBeforehand) {
    const TemporaryFolder folder;
    const OutputFile file(folder / "out");

    EXPECT_NO_THROW(file.RequireSpace(1));
    EXPECT_THROW(file.RequireSpace(1LL << 62), JobError);
}

TEST(OutputFile, ANameOf255BytesCanBeWritten) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');

    WriteWholeFile(folder / name, "x");

    EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{name});
}

TEST(WavWriter, SizesBeyond32BitsTakeTheLargeFormat) {
    // 4294967295 - 4096 bytes of room are 1073740799 frames of four bytes.
    EXPECT_EQ(WavFormatFor(1073740799), WavFormat::Wav);
    EXPECT_EQ(WavFormatFor(1073740800), WavFormat::Rf64);
}

}  // namespace
}  // namespace orlo::host
