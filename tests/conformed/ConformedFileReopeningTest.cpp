// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/database/CacheLedger.h"
#include "sonrel/files/FileIdentity.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

/// Bytes that were requested from files.
std::atomic<long long> bytesRead = 0;
/// Reads of bytes from here on fail.
std::atomic<long long> firstBadByte = LLONG_MAX;

}  // namespace

/// Takes the place of the system call, counts, and fails on request.
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    if (offset + static_cast<long long>(size) > firstBadByte) {
        errno = EIO;
        return -1;
    }
    bytesRead += static_cast<long long>(size);
    return syscall(SYS_pread64, descriptor, buffer, size, offset);
}

namespace {

using orlo::project::ConformedAudioFile;
using sonrel_tests::Chunk;
using sonrel_tests::ConformedFileBytes;
using sonrel_tests::CountingSamples;
using sonrel_tests::PcmFormat;
using sonrel_tests::Riff;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

constexpr int FRAMES = 100000;
/// The requests of a mix at 48 kHz and 25 frames a second.
constexpr int BLOCK = 1920;

/// Ticks that the clock of a test has made.
std::atomic<std::int64_t> ticks = 0;

/// An hour after the time of every file that a test writes.
std::int64_t InAnHour() {
    static const std::int64_t START = orlo::files::SystemFileClock() + 3'600'000'000'000;
    return START + ticks * 4'000'000;
}

/// The same clock, of which every reading is in another tick.
std::int64_t TickingInAnHour() {
    ++ticks;
    return InAnHour();
}

/// Files that have not changed for a long time and are opened repeatedly.
class ConformedFileReopening : public testing::Test {
protected:
    void SetUp() override { orlo::files::fileClock = TickingInAnHour; }
    void TearDown() override { orlo::files::fileClock = orlo::files::SystemFileClock; }

    std::string Name(int index) const { return "a" + std::to_string(index) + ".xwmc"; }
    void Write(int index, const std::string& bytes) { WriteFile(folder_ / Name(index), bytes); }

    /// The result of an object that is open for one read; "refused" if it does not open.
    std::string ReadOnce(int index, long long start, int count) const {
        ConformedAudioFile file;
        if (!file.Open(folder_.Wide(Name(index)))) return "refused";
        return ReadOpen(file, start, count);
    }

    static std::string ReadOpen(const ConformedAudioFile& file, long long start, int count) {
        std::string bytes(static_cast<std::size_t>(count) * 4, '\xA5');
        int samples = -1;
        const int code = file.GetSamples(start, count, reinterpret_cast<unsigned char*>(&bytes[0]),
                                         count * 4, &samples);
        if (code != 0) return "code " + std::to_string(code);
        return bytes.substr(0, static_cast<std::size_t>(samples) * 4);
    }

    /// Descriptors of this process that lead to a file.
    std::ptrdiff_t Descriptors(int index) const {
        const auto target = folder_ / Name(index);
        std::ptrdiff_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            count += std::filesystem::read_symlink(entry.path(), gone) == target;
        }
        return count;
    }

    /// Three blocks, each read by a separate object.
    void ReadThreeBlocks(int index) const {
        for (int block = 0; block < 3; ++block) ReadOnce(index, block * BLOCK, BLOCK);
    }

    /// The bytes that are requested from the file while consecutive blocks are read, each by a
    /// separate object.
    /// @param lengths  frames of the blocks, alternately
    long long BytesReadForBlocks(int index, std::pair<int, int> lengths) const {
        const long long before = bytesRead;
        int count = lengths.first;
        for (long long start = 0; start < FRAMES; start += count) {
            count = count == lengths.first ? lengths.second : lengths.first;
            ReadOnce(index, start, count);
        }
        return bytesRead - before;
    }

    /// Writes in place until the file system shows that the file changed.
    void Rewrite(int index, const std::string& bytes) {
        const auto changed = [&] {
            struct stat status = {};
            stat((folder_ / Name(index)).c_str(), &status);
            return std::pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
        };
        const auto before = changed();
        while (changed() == before) Write(index, bytes);
    }

    TemporaryFolder folder_;
};

TEST_F(ConformedFileReopening, ReadsTheSamplesOfEachBlockToTheEnd) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);

    for (long long start = 0; start < FRAMES; start += BLOCK) {
        ASSERT_EQ(ReadOnce(0, start, BLOCK), all.substr(start * 4, BLOCK * 4)) << start;
    }
    EXPECT_EQ(ReadOnce(0, FRAMES, BLOCK), "");
}

TEST_F(ConformedFileReopening, ReadsTheSamplesOfBlocksOfDifferentLengths) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);
    int count = 1601;

    for (long long start = 0; start < FRAMES; start += count) {
        count = count == 1601 ? 1602 : 1601;
        ASSERT_EQ(ReadOnce(0, start, count), all.substr(start * 4, count * 4)) << start;
    }
}

TEST_F(ConformedFileReopening, ReadsTheSamplesOfAnyPosition) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);
    std::mt19937 random(11);

    for (int i = 0; i < 500; ++i) {
        const int start = static_cast<int>(random() % FRAMES);
        const int count = static_cast<int>(random() % 20000);
        ASSERT_EQ(ReadOnce(0, start, count), all.substr(start * 4, count * 4)) << start;
    }
}

TEST_F(ConformedFileReopening, OfNoFrameReadsNothing) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, 0), "");
    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, 1), CountingSamples(FRAMES).substr(3 * BLOCK * 4, 4));
}

TEST_F(ConformedFileReopening, ReadsTheSamplesBackward) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);

    for (long long start = FRAMES - BLOCK; start >= 0; start -= BLOCK) {
        ASSERT_EQ(ReadOnce(0, start, BLOCK), all.substr(start * 4, BLOCK * 4)) << start;
    }
}

TEST_F(ConformedFileReopening, OfMoreFilesThanAreRememberedReadsTheSamplesOfEach) {
    constexpr int FILES = 300;
    const auto frames = [](int index) { return 2000 + index; };
    for (int index = 0; index < FILES; ++index) {
        Write(index, Riff(Chunk("fmt ", PcmFormat(1, 2, 8000 + index, 16)) +
                          Chunk("data", std::string(frames(index) * 4, static_cast<char>(index)))));
    }

    for (int start = 0; start < 2000; start += 500) {
        for (int index = 0; index < FILES; ++index) {
            ConformedAudioFile file;
            ASSERT_TRUE(file.Open(folder_.Wide(Name(index))));
            ASSERT_EQ(file.SampleRate(), 8000 + index);
            ASSERT_EQ(file.SampleCount(), frames(index));
            ASSERT_EQ(ReadOpen(file, start, 500), std::string(2000, static_cast<char>(index)));
        }
    }
}

TEST_F(ConformedFileReopening, NeedsNoDescriptorWhileTheNextBlocksAreAhead) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));

    EXPECT_EQ(Descriptors(0), 0);
    EXPECT_EQ(ReadOpen(file, 3 * BLOCK, BLOCK),
              CountingSamples(FRAMES).substr(3 * BLOCK * 4, BLOCK * 4));
    EXPECT_EQ(Descriptors(0), 0);
}

TEST_F(ConformedFileReopening, OfAFileWithoutReadsKeepsADescriptor) {
    Write(0, ConformedFileBytes(FRAMES));
    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));

    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));
    EXPECT_EQ(Descriptors(0), 1);
    std::filesystem::remove(folder_ / Name(0));

    EXPECT_EQ(ReadOpen(file, 90000, 10), CountingSamples(FRAMES).substr(90000 * 4, 40));
}

TEST_F(ConformedFileReopening, OpensOneDescriptorForReadsElsewhereAndClosesIt) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);
    {
        ConformedAudioFile file;
        ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));

        EXPECT_EQ(ReadOpen(file, 90000, 10), CountingSamples(FRAMES).substr(90000 * 4, 40));
        EXPECT_EQ(ReadOpen(file, 50000, 10), CountingSamples(FRAMES).substr(50000 * 4, 40));

        EXPECT_EQ(Descriptors(0), 1);
    }
    EXPECT_EQ(Descriptors(0), 0);
}

TEST_F(ConformedFileReopening, ReadsNoFrameTwice) {
    Write(0, ConformedFileBytes(FRAMES));
    constexpr long long HEADERS_AND_SINGLE_FRAMES = 2000;

    for (const auto& lengths : {std::pair(BLOCK, BLOCK), {1601, 1602}, {1602, 1601}, {7, 7}}) {
        EXPECT_LE(BytesReadForBlocks(0, lengths), FRAMES * 4 + HEADERS_AND_SINGLE_FRAMES)
            << lengths.first << " and " << lengths.second;
    }
}

TEST_F(ConformedFileReopening, ForLongReadsReadsNothingInAdvance) {
    Write(0, ConformedFileBytes(FRAMES));

    EXPECT_LE(BytesReadForBlocks(0, {70000, 70000}), FRAMES * 4 + 2000);
}

TEST_F(ConformedFileReopening, ReadsMoreThanASecondOfOneFileInAdvance) {
    Write(0, ConformedFileBytes(FRAMES));
    long long ahead = 0;

    // A thread without records of other tests.
    std::thread([&] {
        ReadOnce(0, 0, BLOCK);
        ReadOnce(0, BLOCK, BLOCK);
        const long long before = bytesRead;
        ReadOnce(0, 2 * BLOCK, BLOCK);
        ahead = bytesRead - before;
    }).join();

    EXPECT_GE(ahead, 48000 * 4);
    EXPECT_LE(ahead, 65536 * 4);
}

TEST_F(ConformedFileReopening, ReadsFortyMegabytesOfManyFilesInAdvance) {
    constexpr int FILES = 256;
    Write(0, ConformedFileBytes(FRAMES));
    for (int index = 1; index < FILES; ++index) {
        std::filesystem::create_hard_link(folder_ / Name(0), folder_ / Name(index));
    }
    long long ahead = 0;

    std::thread([&] {
        for (int index = 0; index < FILES; ++index) ReadOnce(index, 0, BLOCK);
        for (int index = 0; index < FILES; ++index) ReadOnce(index, BLOCK, BLOCK);
        const long long before = bytesRead;
        for (int index = 0; index < FILES; ++index) ReadOnce(index, 2 * BLOCK, BLOCK);
        ahead = bytesRead - before;
    }).join();

    EXPECT_LE(ahead, 40'000'000);
    // A third of a second of each file.
    EXPECT_GE(ahead, FILES * 14000 * 4);
}

TEST_F(ConformedFileReopening, ReadsNoFurtherInAdvanceThanThePreviousRun) {
    Write(0, ConformedFileBytes(FRAMES));
    constexpr int RUN = 8;
    long long bytes = 0;

    // Runs of eight blocks, with gaps of two blocks between them.
    std::thread([&] {
        for (int run = 0; run < 5; ++run) {
            const long long before = bytesRead;
            for (int block = 0; block < RUN; ++block) {
                ReadOnce(0, (run * (RUN + 2) + block) * BLOCK, BLOCK);
            }
            if (run > 0) bytes = std::max(bytes, bytesRead - before);
        }
    }).join();

    // A read may be one frame longer than the last one.
    EXPECT_LE(bytes, RUN * (BLOCK + 1) * 4);
}

TEST_F(ConformedFileReopening, AfterALongRunExpectsARunFromTheFirstReadElsewhere) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);

    std::thread([&] {
        for (int block = 0; block < 4; ++block) ReadOnce(0, block * BLOCK, BLOCK);
        ReadOnce(0, 10 * BLOCK, BLOCK);
        // The second read of the run needs the file, and reads the rest of the run with it.
        ReadOnce(0, 11 * BLOCK, BLOCK);
        const long long before = bytesRead;

        EXPECT_EQ(ReadOnce(0, 12 * BLOCK, BLOCK), all.substr(12 * BLOCK * 4, BLOCK * 4));
        EXPECT_EQ(ReadOnce(0, 13 * BLOCK, BLOCK), all.substr(13 * BLOCK * 4, BLOCK * 4));
        EXPECT_EQ(bytesRead, before);
    }).join();
}

TEST_F(ConformedFileReopening, AfterAFailedReadInAdvanceReadsTheFrameItself) {
    Write(0, ConformedFileBytes(FRAMES));
    std::string frame;

    std::thread([&] {
        ReadOnce(0, 0, BLOCK);
        ReadOnce(0, BLOCK, BLOCK);
        firstBadByte = 44 + 3 * BLOCK * 4;
        frame = ReadOnce(0, 2 * BLOCK, 1);
        firstBadByte = LLONG_MAX;
    }).join();

    EXPECT_EQ(frame, CountingSamples(FRAMES).substr(2 * BLOCK * 4, 4));
}

TEST_F(ConformedFileReopening, ReadsNothingInAdvanceForReadsThatDoNotContinue) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadOnce(0, FRAMES - BLOCK, BLOCK);
    const long long before = bytesRead;

    for (long long start = FRAMES - 2 * BLOCK; start >= 0; start -= BLOCK) {
        ReadOnce(0, start, BLOCK);
    }

    EXPECT_LE(bytesRead - before, FRAMES * 4);
}

TEST_F(ConformedFileReopening, ExaminesTheFileOnceInATickOfTheClock) {
    Write(0, ConformedFileBytes(FRAMES));
    orlo::files::fileClock = InAnHour;
    ReadThreeBlocks(0);
    ReadOnce(0, 3 * BLOCK, BLOCK);

    std::filesystem::remove(folder_ / Name(0));

    const std::string all = CountingSamples(FRAMES);
    EXPECT_EQ(ReadOnce(0, 4 * BLOCK, BLOCK), all.substr(4 * BLOCK * 4, BLOCK * 4));
    ++ticks;
    EXPECT_EQ(ReadOnce(0, 5 * BLOCK, BLOCK), "refused");
}

TEST_F(ConformedFileReopening, OfADeletedFileIsRefused) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    std::filesystem::remove(folder_ / Name(0));

    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, BLOCK), "refused");
}

TEST_F(ConformedFileReopening, OfATruncatedFileIsRefused) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    std::filesystem::resize_file(folder_ / Name(0), 44 + FRAMES * 4 - 4);

    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, BLOCK), "refused");
}

TEST_F(ConformedFileReopening, OfALinkInPlaceOfTheFileIsRefused) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    std::filesystem::rename(folder_ / Name(0), folder_ / "moved.xwmc");
    std::filesystem::create_symlink(folder_ / "moved.xwmc", folder_ / Name(0));

    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, BLOCK), "refused");
}

TEST_F(ConformedFileReopening, OfAPathWithAnotherFileReadsTheNewFile) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    // Immediately, and with the same length: only the inode is sure to differ.
    WriteFile(folder_ / "new.xwmc", Riff(Chunk("fmt ", PcmFormat(1, 2, 32000, 16)) +
                                         Chunk("data", std::string(FRAMES * 4, 'n'))));
    std::filesystem::rename(folder_ / "new.xwmc", folder_ / Name(0));

    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));
    EXPECT_EQ(file.SampleRate(), 32000);
    EXPECT_EQ(ReadOpen(file, 3 * BLOCK, 2), "nnnnnnnn");
}

TEST_F(ConformedFileReopening, OfAFileThatWasRewrittenInPlaceReadsTheNewSamples) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    Rewrite(0, Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                    Chunk("data", std::string(FRAMES * 4, 'r'))));

    EXPECT_EQ(ReadOnce(0, 3 * BLOCK, 2), "rrrrrrrr");
    EXPECT_EQ(ReadOnce(0, 3 * BLOCK + 2, 2), "rrrrrrrr");
}

TEST_F(ConformedFileReopening, OfAFileWrittenAMomentAgoUsesNoMemory) {
    orlo::files::fileClock = orlo::files::SystemFileClock;

    // Faster than the time steps of most file systems: the times of the file often do not change.
    for (int i = 0; i < 300; ++i) {
        const std::string samples(400, static_cast<char>('A' + i % 50));
        Write(0, Riff(Chunk("fmt ", PcmFormat(1, 2, 8000 + i, 16)) + Chunk("data", samples)));

        ConformedAudioFile file;
        ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));
        ASSERT_EQ(file.SampleRate(), 8000 + i);
        ASSERT_EQ(ReadOpen(file, 0, 50), samples.substr(0, 200));
    }
}

TEST_F(ConformedFileReopening, AFileOfAnotherRateIsNotWhole) {
    Write(0, Riff(Chunk("fmt ", PcmFormat(1, 2, 44100, 16)) + Chunk("data", "word")));

    EXPECT_TRUE(orlo::project::IsWholeConformedFile(folder_.Wide(Name(0)), 0));
    EXPECT_TRUE(orlo::project::IsWholeConformedFile(folder_.Wide(Name(0)), 44100));
    EXPECT_FALSE(orlo::project::IsWholeConformedFile(folder_.Wide(Name(0)), 48000));
}

TEST_F(ConformedFileReopening, AFileWhoseEndCannotBeReadIsNotWhole) {
    const std::string bytes = ConformedFileBytes(FRAMES);
    Write(0, bytes);
    ASSERT_TRUE(orlo::project::IsWholeConformedFile(folder_.Wide(Name(0)), 0));

    firstBadByte = static_cast<long long>(bytes.size()) - 1;
    EXPECT_FALSE(orlo::project::IsWholeConformedFile(folder_.Wide(Name(0)), 0));
    firstBadByte = LLONG_MAX;
}

TEST_F(ConformedFileReopening, OfADeletedFileReadsTheFramesAheadAndFailsAfterThem) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);
    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));

    std::filesystem::remove(folder_ / Name(0));

    EXPECT_EQ(ReadOpen(file, 3 * BLOCK, 1), CountingSamples(FRAMES).substr(3 * BLOCK * 4, 4));
    EXPECT_EQ(ReadOpen(file, 90000, 1), "code 2");
    Write(0, ConformedFileBytes(FRAMES));
    EXPECT_EQ(ReadOpen(file, 90000, 1), "code 2") << "another file under the same path";
}

TEST_F(ConformedFileReopening, TwoObjectsOfOnePathReadIndependently) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);
    const std::string all = CountingSamples(FRAMES);

    ConformedAudioFile one;
    ConformedAudioFile other;
    ASSERT_TRUE(one.Open(folder_.Wide(Name(0))));
    ASSERT_TRUE(other.Open(folder_.Wide(Name(0))));

    EXPECT_EQ(ReadOpen(one, 3 * BLOCK, BLOCK), all.substr(3 * BLOCK * 4, BLOCK * 4));
    EXPECT_EQ(ReadOpen(other, 70000, BLOCK), all.substr(70000 * 4, BLOCK * 4));
}

TEST_F(ConformedFileReopening, ThreadsThatReadElsewhereAtOnceShareOneDescriptor) {
    Write(0, ConformedFileBytes(FRAMES));
    const std::string all = CountingSamples(FRAMES);
    for (int round = 0; round < 20; ++round) {
        ReadThreeBlocks(0);
        ConformedAudioFile file;
        ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));
        std::atomic<int> waiting = 4;
        std::array<bool, 4> right = {};
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < right.size(); ++t) {
            threads.emplace_back([&, t] {
                --waiting;
                while (waiting > 0) std::this_thread::yield();
                const long long start = 60000 + 1000 * static_cast<long long>(t);
                right[t] = ReadOpen(file, start, 500) == all.substr(start * 4, 2000);
            });
        }
        for (std::thread& thread : threads) thread.join();

        EXPECT_EQ(std::count(right.begin(), right.end(), true), 4);
        EXPECT_EQ(Descriptors(0), 1);
    }
}

TEST_F(ConformedFileReopening, OnAnotherThreadLeavesTheFramesAheadOfThisThread) {
    Write(0, ConformedFileBytes(FRAMES));
    ReadThreeBlocks(0);

    std::thread([&] { ReadOnce(0, 70000, BLOCK); }).join();

    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(folder_.Wide(Name(0))));
    EXPECT_EQ(ReadOpen(file, 3 * BLOCK, 1), CountingSamples(FRAMES).substr(3 * BLOCK * 4, 4));
    EXPECT_EQ(Descriptors(0), 0);
}

TEST_F(ConformedFileReopening, OnManyThreadsReadsTheSamplesOfEach) {
    const std::string all = CountingSamples(20000);
    for (int index = 0; index < 4; ++index) Write(index, ConformedFileBytes(20000));
    std::array<int, 4> wrong = {};
    std::vector<std::thread> threads;

    for (unsigned t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            for (int start = 0; start < 19000; start += 100) {
                const int index = static_cast<int>(random() % 4);
                if (ReadOnce(index, start, 100) != all.substr(start * 4, 400)) ++wrong[t];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    for (const int count : wrong) EXPECT_EQ(count, 0);
}

}  // namespace
