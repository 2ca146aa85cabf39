// SPDX-License-Identifier: MIT
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "tests/caches/PeakFileFixture.h"

namespace {

/// Which call on a C stream fails, counted from 1; 0 fails none. The program is linked so that the
/// calls of the code under test come here (see CMakeLists.txt).
struct StreamFaults {
    std::atomic<int> failingSeek = 0;
    std::atomic<int> failingWrite = 0;
    std::atomic<int> failingFlush = 0;
    std::atomic<int> seeks = 0;
    std::atomic<int> writes = 0;
    std::atomic<int> flushes = 0;

    void Reset() {
        failingSeek = failingWrite = failingFlush = 0;
        seeks = writes = flushes = 0;
    }
};

StreamFaults faults;

}  // namespace

extern "C" {
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
    if (++faults.writes == faults.failingWrite) return 0;
    return __real_fwrite(data, size, count, file);
}
int __real_fseeko(std::FILE* file, off_t offset, int origin);
int __wrap_fseeko(std::FILE* file, off_t offset, int origin) {
    if (++faults.seeks == faults.failingSeek) return -1;
    return __real_fseeko(file, offset, origin);
}
int __real_fflush(std::FILE* file);
int __wrap_fflush(std::FILE* file) {
    if (++faults.flushes == faults.failingFlush) return EOF;
    return __real_fflush(file);
}
}

namespace {

using sonrel_tests::NamesIn;
using testing::AnyOf;

class PeakFileFault : public sonrel_tests::PeakFileFixture {
protected:
    PeakFileFault() { faults.Reset(); }
    ~PeakFileFault() override { faults.Reset(); }

    /// @return the code, after checking that nothing stays open and nothing opens as a peak file
    int CreateInVain(Mode mode = Mode::SingleThreaded) {
        const std::size_t descriptors = NamesIn("/proc/self/fd").size();
        const int code = Create(mode);
        EXPECT_EQ(media.OpenFiles(), 0);
        EXPECT_EQ(NamesIn("/proc/self/fd").size(), descriptors);
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
        return code;
    }
};

TEST_F(PeakFileFault, AFileThatCannotBeOpenedIsToldAndTheMediaAreReleased) {
    EXPECT_EQ(PeakFile::Create(asset, folder.Wide("none/p.xwpk"), Mode::Auto), -11);
    EXPECT_EQ(PeakFile::Create(asset, L"", Mode::Auto), -11);
    std::filesystem::create_directory(folder / "p.xwpk");
    EXPECT_EQ(Create(), -11);
    EXPECT_EQ(media.OpenFiles(), 0);
    EXPECT_EQ(media.CallCount("Release"), 3);
}

TEST_F(PeakFileFault, APipeCannotBePositioned) {
    const std::string path = (folder / "p.xwpk").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread reader([&] { std::ifstream(path).get(); });

    EXPECT_EQ(Create(), -12);

    reader.join();
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileFault, TheFirstSeekThatFailsLeavesAnEmptyFile) {
    faults.failingSeek = 1;

    EXPECT_EQ(CreateInVain(), -12);
    EXPECT_EQ(Written(), "");
}

TEST_F(PeakFileFault, AFailedWriteOfBlocksIsAFailedWriting) {
    media.format.frames = 48000;
    faults.failingWrite = 1;
    EXPECT_EQ(CreateInVain(Mode::SingleThreaded), -100);

    faults.Reset();
    faults.failingWrite = 1;
    EXPECT_EQ(CreateInVain(Mode::MultiThreaded), -100);
}

TEST_F(PeakFileFault, EachQuarterThatCannotBeAppendedHasItsCode) {
    media.format.frames = 48000;
    // Every quarter is two writes: all its bytes but the last, and the last.
    for (const int quarter : {1, 2, 3}) {
        for (const int write : {1, 2}) {
            faults.Reset();
            faults.failingWrite = 2 * quarter + write;
            EXPECT_EQ(CreateInVain(Mode::MultiThreaded), -30 - quarter);
        }
    }
}

TEST_F(PeakFileFault, TheSeekToTheHeaderHasItsCode) {
    faults.failingSeek = 2;
    EXPECT_EQ(CreateInVain(), -201);
}

TEST_F(PeakFileFault, EachFieldOfTheHeaderHasItsCode) {
    media.format.frames = 32;  // two writes for the blocks
    for (const int field : {1, 2, 3, 4}) {
        faults.Reset();
        faults.failingWrite = 2 + field;
        EXPECT_EQ(Create(), -201 - field);
        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileFault, AHeaderThatDoesNotReachTheSystemIsAFailedBlockCount) {
    faults.failingFlush = 1;

    EXPECT_EQ(Create(), -205);
}

TEST_F(PeakFileFault, AFailedFileIsClosedAndStaysForTheCallerToDelete) {
    media.format.frames = 48000;
    const auto expectStays = [this](Mode mode, int code) {
        EXPECT_EQ(CreateInVain(mode), code);
        EXPECT_TRUE(std::filesystem::remove(folder / "p.xwpk")) << code;
        faults.Reset();
    };

    faults.failingSeek = 1;
    expectStays(Mode::SingleThreaded, -12);
    faults.failingWrite = 1;
    expectStays(Mode::SingleThreaded, -100);
    faults.failingWrite = 3;
    expectStays(Mode::MultiThreaded, -31);
    faults.failingSeek = 2;
    expectStays(Mode::SingleThreaded, -201);
    faults.failingWrite = 3;
    expectStays(Mode::SingleThreaded, -202);
    std::atomic<int> prepared = 0;
    media.prepare = [&] { return prepared++ == 1 ? 1 : 0; };
    expectStays(Mode::MultiThreaded, -21);
}

TEST_F(PeakFileFault, AFullDeviceShowsAtTheBlocksOfALongStreamAndAtTheSeekOfAShortOne) {
    const auto createOnFull = [&](long long frames) {
        media.format.frames = frames;
        return PeakFile::Create(asset, L"/dev/full", Mode::SingleThreaded);
    };
    EXPECT_EQ(createOnFull(0), -205);
    EXPECT_EQ(createOnFull(32), -201);
    EXPECT_EQ(createOnFull(480000), -100);
}

/// What the same bytes give when each is written alone.
/// @param quarters  sizes in bytes
int CodeOfSingleBytes(const std::string& path, const std::vector<int>& quarters) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    int code = std::fseek(file, 20, SEEK_SET) == 0 ? 0 : -12;
    for (std::size_t quarter = 0; quarter < quarters.size() && code == 0; ++quarter) {
        for (int i = 0; i < quarters[quarter] && code == 0; ++i) {
            if (std::fputc(0, file) == EOF)
                code = quarter == 0 ? -100 : -30 - static_cast<int>(quarter);
        }
    }
    if (code == 0 && std::fseek(file, 0, SEEK_SET) != 0) code = -201;
    if (code == 0 && (std::fputs("ORLOXWPK            ", file) == EOF || std::fflush(file) != 0)) {
        code = -205;
    }
    std::fclose(file);
    return code;
}

/// A file size that no file may pass, for the length of a scope.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        struct rlimit limit = before_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    struct rlimit before_ = {};
};

TEST_F(PeakFileFault, ADiskThatFillsAtAnyByteHasTheCodeOfWritingByteByByte) {
    media.format.frames = 32 * 4 * 1700;  // 6800 blocks of 5 bytes, 8500 a quarter
    const std::string other = (folder / "other").string();
    const rlim_t whole = 20 + 5 * 6800;
    for (rlim_t limit = 0; limit <= whole + 500; limit += 499) {
        int single = 0, tasks = 0, literalSingle = 0, literalTasks = 0;
        {
            const SizeLimit full(limit);
            single = Create(Mode::SingleThreaded);
            tasks = Create(Mode::MultiThreaded);
            literalSingle = CodeOfSingleBytes(other, {34000});
            literalTasks = CodeOfSingleBytes(other, {8500, 8500, 8500, 8500});
        }
        EXPECT_EQ(single, literalSingle) << limit;
        EXPECT_EQ(tasks, literalTasks) << limit;
        EXPECT_EQ(single == 0, limit >= whole) << limit;
        EXPECT_EQ(tasks == 0, limit >= whole) << limit;
        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileFault, ADiskThatFillsWhereTheBufferOfTheStreamEndsHasTheSameCode) {
    // The first quarter ends with the stream's buffer, so that the second byte by byte finds out.
    media.format.channels = 1;
    const std::string other = (folder / "other").string();
    for (const int blocks : {4095, 4096, 4097}) {
        const int bytes = 3 * blocks;
        media.format.frames = 4LL * 32 * blocks;
        for (const int limit : {20, 4116, 8212, 12288, 12308, 12309, 24576, 24596, 36864, 36884}) {
            int tasks = 0, literalTasks = 0;
            {
                const SizeLimit full(static_cast<rlim_t>(limit));
                tasks = Create(Mode::MultiThreaded);
                literalTasks = CodeOfSingleBytes(other, {bytes, bytes, bytes, bytes});
            }
            EXPECT_EQ(tasks, literalTasks) << blocks << " blocks, " << limit << " bytes";
        }
    }
}

}  // namespace
