// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/BinaryFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>

#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::utility::BinaryFile;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

TEST(BinaryFile, AClosedFileRefusesEverythingExceptClosing) {
    BinaryFile file;
    char byte = 'x';

    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.Seek(0, SEEK_SET));
    EXPECT_FALSE(file.Read(&byte, 1));
    EXPECT_EQ(file.ReadSome(&byte, 1), 0u);
    EXPECT_FALSE(file.Write(&byte, 1));
    EXPECT_FALSE(file.Flush());
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(byte, 'x');
}

TEST(BinaryFile, AnItemIsReadWholeOrRefused) {
    const TemporaryFolder folder;
    WriteFile(folder / "f", "abcde");
    BinaryFile file;
    ASSERT_TRUE(file.OpenForReading(folder.Wide("f")));
    char bytes[4] = {};

    EXPECT_TRUE(file.Read(bytes, 4));
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    EXPECT_FALSE(file.Read(bytes, 4));
    ASSERT_TRUE(file.Seek(3, SEEK_SET));
    EXPECT_EQ(file.ReadSome(bytes, 4), 2u);
    EXPECT_EQ(std::string(bytes, 2), "de");
}

TEST(BinaryFile, TheChecksumCoversTheItemsInWritingOrder) {
    const TemporaryFolder folder;
    BinaryFile file;
    ASSERT_TRUE(file.OpenNew(folder.Wide("f")));
    ASSERT_TRUE(file.Seek(2, SEEK_SET));
    ASSERT_TRUE(file.Write("cd", 2));
    ASSERT_TRUE(file.Seek(0, SEEK_SET));
    ASSERT_TRUE(file.Write("ab", 2));

    EXPECT_EQ(file.WrittenChecksum(), 0x29446D8CAD03A07Fu) << "XXH3 of cdab";
}

TEST(BinaryFile, WritingTruncatesTheFileAndUsesThePosition) {
    const TemporaryFolder folder;
    WriteFile(folder / "f", "what was there");
    BinaryFile file;
    ASSERT_TRUE(file.OpenForWriting(folder.Wide("f")));

    EXPECT_TRUE(file.Seek(2, SEEK_SET));
    EXPECT_TRUE(file.Write("cd", 2));
    EXPECT_TRUE(file.Seek(0, SEEK_SET));
    EXPECT_TRUE(file.Write("ab", 2));
    EXPECT_TRUE(file.Close());

    EXPECT_EQ(ReadFile(folder / "f"), "abcd");
}

TEST(BinaryFile, TheStreamMovesWithItsOwner) {
    const TemporaryFolder folder;
    BinaryFile first;
    ASSERT_TRUE(first.OpenForWriting(folder.Wide("f")));
    BinaryFile second(std::move(first));
    BinaryFile third;
    third = std::move(second);

    EXPECT_TRUE(third.Write("x", 1));
    EXPECT_TRUE(third.Close());
    EXPECT_EQ(ReadFile(folder / "f"), "x");
}

TEST(BinaryFile, AMissingFileDoesNotOpen) {
    const TemporaryFolder folder;
    BinaryFile file;
    EXPECT_FALSE(file.OpenForReading(folder.Wide("none")));
    EXPECT_FALSE(file.OpenForWriting(folder.Wide("none/f")));
    EXPECT_FALSE(file.IsOpen());
}

TEST(BinaryFile, OnlyARegularFileOpens) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    BinaryFile file;

    EXPECT_FALSE(file.OpenForReading(folder.Wide("pipe")));
    EXPECT_FALSE(file.OpenForReading(folder.Wide("")));
    EXPECT_FALSE(file.OpenForReading(L"/dev/zero"));
}

TEST(BinaryFile, ANameOutsideAsciiIsUtf8) {
    const TemporaryFolder folder;
    BinaryFile file;
    ASSERT_TRUE(file.OpenForWriting(folder.Wide("") + L"T\u00F6ne\u266B"));
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(std::filesystem::exists(folder / "T\xC3\xB6ne\xE2\x99\xAB"));
}

}  // namespace
