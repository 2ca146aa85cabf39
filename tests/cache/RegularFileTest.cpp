// SPDX-License-Identifier: MIT
#include "sonrel/files/RegularFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace {

namespace files = orlo::files;
using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

using Opener = std::function<int(const std::string&)>;

const std::vector<Opener> OPENERS{
    [](const std::string& name) { return files::OpenForReading(name, files::Links::Refused); },
    [](const std::string& name) { return files::OpenEmptied(name); },
    [](const std::string& name) { return files::OpenNew(name); },
};

TEST(RegularFile, ANameWithAZeroByteDoesNotOpen) {
    const TemporaryFolder folder;
    WriteFile(folder / "other", "mine");

    for (const Opener& open : OPENERS) {
        EXPECT_EQ(open((folder / "other").string() + std::string("\0.xwpk", 6)), -1);
        EXPECT_EQ(open((folder / "new").string() + std::string("\0", 1)), -1);
    }

    EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{"other"});
    EXPECT_EQ(ReadFile(folder / "other"), "mine");
}

TEST(RegularFile, ANameWithAZeroByteRemovesNoFile) {
    const TemporaryFolder folder;
    WriteFile(folder / "other", "mine");

    EXPECT_FALSE(files::Remove((folder / "other").string() + std::string("\0.xwpk", 6)));

    EXPECT_EQ(ReadFile(folder / "other"), "mine");
}

TEST(RegularFile, AStartedProgramInheritsNoDescriptor) {
    const TemporaryFolder folder;
    int number = 0;
    for (const Opener& open : OPENERS) {
        const std::string name = (folder / std::to_string(number++)).string();
        if (number == 1) WriteFile(name, "there");

        const int descriptor = open(name);

        ASSERT_GE(descriptor, 0);
        EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        files::Close(descriptor);
    }
}

TEST(RegularFile, FoldersPipesAndDevicesDoNotOpenAndDoNotBlock) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const int reader = ::open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);

    for (const Opener& open : OPENERS) {
        EXPECT_EQ(open(folder.Path().string()), -1);
        EXPECT_EQ(open((folder / "pipe").string()), -1);
        EXPECT_EQ(open("/dev/null"), -1);
    }
    EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
    ::close(reader);
}

TEST(RegularFile, OnlyTruncatingFollowsALink) {
    const TemporaryFolder folder;
    WriteFile(folder / "there", "mine");
    std::filesystem::create_symlink("there", folder / "link");
    const std::string link = (folder / "link").string();

    EXPECT_EQ(files::OpenForReading(link, files::Links::Refused), -1);
    EXPECT_EQ(files::OpenNew(link), -1);
    EXPECT_EQ(ReadFile(folder / "there"), "mine");

    const int emptied = files::OpenEmptied(link);
    EXPECT_GE(emptied, 0);
    EXPECT_EQ(ReadFile(folder / "there"), "");
    files::Close(emptied);
}

TEST(RegularFile, OnlyAnExistingFileIsSynced) {
    const TemporaryFolder folder;
    WriteFile(folder / "there", "bytes");

    EXPECT_TRUE(files::SyncClosedFile((folder / "there").string()));
    EXPECT_FALSE(files::SyncClosedFile((folder / "gone").string()));
}

TEST(RegularFile, AFileThatCannotStartItsSyncIsNoError) {
    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);

    EXPECT_TRUE(files::StartSync(ends[1], 0, 1));

    files::Close(ends[0]);
    files::Close(ends[1]);
}

TEST(RegularFile, AFileIsReadToItsEndOrToTheSizeThatIsAsked) {
    const TemporaryFolder folder;
    WriteFile(folder / "file", "abcdef");
    const int descriptor = files::OpenForReading((folder / "file").string(), files::Links::Refused);
    std::string bytes(4, '-');

    EXPECT_EQ(files::ReadFully(descriptor, bytes.data(), 4), 4u);
    EXPECT_EQ(bytes, "abcd");
    EXPECT_EQ(files::ReadFully(descriptor, bytes.data(), 4), 2u);
    EXPECT_EQ(bytes, "efcd");
    EXPECT_EQ(files::ReadFully(descriptor, bytes.data(), 4), 0u);
    files::Close(descriptor);
    EXPECT_EQ(files::ReadFully(descriptor, bytes.data(), 4), 0u);
}

}  // namespace
