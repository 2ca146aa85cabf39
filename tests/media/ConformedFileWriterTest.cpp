// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedFileWriter.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/database/CacheLedger.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/NoDescriptors.h"

using namespace sonrel_tests;
using orlo::project::ConformedFileWriter;

namespace {

const std::int16_t SAMPLES[] = {1, -1, 2, -2, 3, -3};

/// The requests to start the sync of a range.
struct SyncRequests {
    int error = 0;                                        ///< of each request; 0 for success
    std::vector<std::pair<long long, long long>> ranges;  ///< first byte and number of bytes
};

/// The requests of a test that replaces the system call.
std::optional<SyncRequests> syncRequests;

/// Writes zeros. @return whether all could be written
bool WriteMebibytes(int count, ConformedFileWriter& writer) {
    const std::vector<std::int16_t> samples(static_cast<std::size_t>(count) << 19);
    return writer.Write(samples.data(), static_cast<std::int64_t>(samples.size() / 2));
}

}  // namespace

/// Takes the place of the system call.
int sync_file_range(int descriptor, off64_t first, off64_t bytes, unsigned int flags) {
    if (!syncRequests) {
        return static_cast<int>(syscall(SYS_sync_file_range, descriptor, first, bytes, flags));
    }
    EXPECT_EQ(flags, static_cast<unsigned int>(SYNC_FILE_RANGE_WRITE));
    syncRequests->ranges.emplace_back(first, bytes);
    errno = syncRequests->error;
    return syncRequests->error == 0 ? 0 : -1;
}

TEST(ConformedFileWriter, WritesAPlainWaveFile) {
    const TemporaryFolder folder;
    ConformedFileWriter writer;

    ASSERT_EQ(writer.Open(folder / "a.xwmc", 44100, 1000), ConformedFileWriter::Result::Done);
    EXPECT_TRUE(writer.Write(SAMPLES, 1));
    EXPECT_TRUE(writer.Write(SAMPLES + 2, 2));
    EXPECT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);

    EXPECT_EQ(ReadFile(folder / "a.xwmc"),
              WaveFile(1, 2, 44100, 16, Bytes16({1, -1, 2, -2, 3, -3})));
}

TEST(ConformedFileWriter, AWriterThatIsNotOpenWritesNothing) {
    ConformedFileWriter writer;

    EXPECT_FALSE(writer.Write(SAMPLES, 0));
    EXPECT_FALSE(writer.Write(SAMPLES, 1));
}

TEST(ConformedFileWriter, ThePositionIsThatOfTheNextSampleInTheFile) {
    const TemporaryFolder folder;
    ConformedFileWriter plain;
    ConformedFileWriter large;
    ASSERT_EQ(plain.Open(folder / "a", 48000, 10), ConformedFileWriter::Result::Done);
    ASSERT_EQ(large.Open(folder / "b", 48000, 1LL << 30), ConformedFileWriter::Result::Done);
    EXPECT_EQ(plain.Position(), 44);
    EXPECT_EQ(large.Position(), 104);

    ASSERT_TRUE(plain.Write(SAMPLES, 3));

    EXPECT_EQ(plain.Position(), 56);
}

TEST(ConformedFileWriter, AFileOfManyMebibytesIsWhole) {
    // The disk starts to write every 8 MiB.
    const TemporaryFolder folder;
    const std::string samples = NoiseBytes(3 << 20);
    ConformedFileWriter writer;
    ASSERT_EQ(writer.Open(folder / "a", 48000, 1 << 24), ConformedFileWriter::Result::Done);

    std::string expected;
    for (int i = 0; i < 7; ++i) {
        ASSERT_TRUE(writer.Write(reinterpret_cast<const std::int16_t*>(samples.data()),
                                 static_cast<std::int64_t>(samples.size() / 4)));
        expected += samples;
    }
    ASSERT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);

    EXPECT_TRUE(ReadFile(folder / "a") == WaveFile(1, 2, 48000, 16, expected));
    EXPECT_EQ(orlo::project::ConformedFileChecksum(folder.Wide("a"), {}), writer.Checksum());
}

TEST(ConformedFileWriter, TheDiskStartsToWriteTheBytesSinceItsLastStartEvery8Mebibytes) {
    const TemporaryFolder folder;
    ConformedFileWriter writer;
    ASSERT_EQ(writer.Open(folder / "a", 48000, 1 << 24), ConformedFileWriter::Result::Done);
    syncRequests.emplace();

    for (int i = 0; i < 7; ++i) EXPECT_TRUE(WriteMebibytes(3, writer));

    const auto ranges = std::exchange(syncRequests, {})->ranges;
    ASSERT_EQ(ranges.size(), 2u);
    EXPECT_EQ(ranges[0], std::pair(0LL, 44 + (9LL << 20)));
    EXPECT_EQ(ranges[1], std::pair(44 + (9LL << 20), 9LL << 20));
}

TEST(ConformedFileWriter, ADiskThatCannotWriteFailsTheWriteThatStartsIt) {
    const TemporaryFolder folder;
    // The last three: the system or the kind of file has no such call.
    for (const int error : {EIO, ENOSPC, EDQUOT, ENOSYS, EINVAL, ESPIPE}) {
        ConformedFileWriter writer;
        ASSERT_EQ(writer.Open(folder / std::to_string(error), 48000, 1 << 24),
                  ConformedFileWriter::Result::Done);
        syncRequests = SyncRequests{error, {}};

        EXPECT_TRUE(WriteMebibytes(7, writer)) << error;
        EXPECT_EQ(WriteMebibytes(1, writer), error == ENOSYS || error == EINVAL || error == ESPIPE)
            << error;

        syncRequests.reset();
    }
}

TEST(ConformedFileWriter, ChecksumCoversTheSamplesAndThenTheHeader) {
    const TemporaryFolder folder;
    ConformedFileWriter writer;
    ASSERT_EQ(writer.Open(folder / "a.xwmc", 44100, 1000), ConformedFileWriter::Result::Done);
    ASSERT_TRUE(writer.Write(SAMPLES, 1));
    ASSERT_TRUE(writer.Write(SAMPLES + 2, 2));
    ASSERT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);

    // XXH3 of the 12 bytes of samples followed by the 44 bytes of the header.
    EXPECT_EQ(writer.Checksum(), 0x4C60ABD7C660E204u);
    EXPECT_EQ(orlo::project::ConformedFileChecksum(folder.Wide("a.xwmc"), {}), writer.Checksum());
}

TEST(ConformedFileWriter, TheChecksumOfAnRf64FileIsTheChecksumOfItsBytes) {
    const TemporaryFolder folder;
    ConformedFileWriter writer;
    ASSERT_EQ(writer.Open(folder / "a.xwmc", 48000, 1LL << 30), ConformedFileWriter::Result::Done);
    ASSERT_TRUE(writer.Write(SAMPLES, 3));
    ASSERT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);

    EXPECT_EQ(orlo::project::ConformedFileChecksum(folder.Wide("a.xwmc"), {}), writer.Checksum());
}

TEST(ConformedFileWriter, AFileThatMayBecomeLargeIsRf64) {
    const TemporaryFolder folder;
    {
        ConformedFileWriter writer;
        ASSERT_EQ(writer.Open(folder / "a.xwmc", 48000, 1LL << 30),
                  ConformedFileWriter::Result::Done);
        EXPECT_TRUE(writer.Write(SAMPLES, 3));
        EXPECT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);
    }
    EXPECT_EQ(ReadFile(folder / "a.xwmc").substr(0, 4), "RF64");

    orlo::project::ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder.Wide("a.xwmc")));
    EXPECT_EQ(file.SampleCount(), 3);
}

TEST(ConformedFileWriter, TheLimitOfPlainFilesIs4GiBLessRoomForAHeader) {
    const TemporaryFolder folder;
    const long long most = (0xFFFFFFFFLL - 4096) / 4;
    for (const long long frames : {most, most + 1}) {
        ConformedFileWriter writer;
        const std::string name = std::to_string(frames);
        ASSERT_EQ(writer.Open(folder / name, 48000, frames), ConformedFileWriter::Result::Done);
        ASSERT_EQ(writer.Finish(), ConformedFileWriter::Result::Done);
        EXPECT_EQ(ReadFile(folder / name).substr(0, 4), frames == most ? "RIFF" : "RF64");
    }
}

TEST(ConformedFileWriter, AnExistingFileIsNotChanged) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.xwmc", "mine");
    {
        ConformedFileWriter writer;
        EXPECT_EQ(writer.Open(folder / "a.xwmc", 48000, 10), ConformedFileWriter::Result::Exists);
        EXPECT_FALSE(writer.Write(SAMPLES, 1));
        EXPECT_EQ(writer.Finish(), ConformedFileWriter::Result::Failed);
    }

    EXPECT_EQ(ReadFile(folder / "a.xwmc"), "mine");
}

TEST(ConformedFileWriter, ALackOfDescriptorsHasItsOwnResult) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors";
#endif
    const TemporaryFolder folder;
    ConformedFileWriter late;
    ASSERT_EQ(late.Open(folder / "late.xwmc", 48000, 10), ConformedFileWriter::Result::Done);
    ASSERT_TRUE(late.Write(SAMPLES, 3));
    ConformedFileWriter early;
    ConformedFileWriter::Result opened{}, finished{};
    {
        const NoDescriptors none;
        opened = early.Open(folder / "early.xwmc", 48000, 10);
        finished = late.Finish();  // syncs the folder too
    }

    EXPECT_EQ(opened, ConformedFileWriter::Result::TooManyFiles);
    EXPECT_EQ(finished, ConformedFileWriter::Result::TooManyFiles);
}

TEST(ConformedFileWriter, RelativePathIsSyncedInTheCurrentFolder) {
    const TemporaryFolder folder;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    ConformedFileWriter writer;

    const bool opened = writer.Open("a.xwmc", 48000, 10) == ConformedFileWriter::Result::Done;
    const bool finished = opened && writer.Finish() == ConformedFileWriter::Result::Done;

    std::filesystem::current_path(before);
    EXPECT_TRUE(finished);
}

TEST(ConformedFileWriter, AnUnfinishedFileIsEmpty) {
    const TemporaryFolder folder;
    {
        ConformedFileWriter writer;
        ASSERT_EQ(writer.Open(folder / "a.xwmc", 48000, 10), ConformedFileWriter::Result::Done);
        EXPECT_TRUE(writer.Write(SAMPLES, 3));
    }

    EXPECT_EQ(ReadFile(folder / "a.xwmc"), "");
}
