// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "sonrel/cache/detail/PeakFileWriter.h"
#include "sonrel/files/RegularFile.h"
#include "tests/cache/PeakFileFixture.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/ResourceLimit.h"

namespace {

/// The number of the call on a C stream that fails, counted from 1; 0 for none. System calls are
/// interrupted, or refused for folders. The program is linked so that the calls of the code under
/// test are made here (see CMakeLists.txt).
struct StreamFaults {
    std::atomic<int> failingSeek = 0;
    std::atomic<int> failingWrite = 0;
    std::atomic<int> failingFlush = 0;
    std::atomic<int> seeks = 0;
    std::atomic<int> writes = 0;
    std::atomic<int> flushes = 0;
    /// Whether every second system call on files is interrupted.
    std::atomic<bool> isInterrupting = false;
    std::atomic<int> calls = 0;
    std::atomic<int> interruptions = 0;
    /// The error of fsync for a folder; 0 for success.
    std::atomic<int> folderSyncError = 0;
    std::atomic<int> wholeSyncs = 0;

    bool Interrupts() {
        if (!isInterrupting || ++calls % 2 == 0) return false;
        ++interruptions;
        errno = EINTR;
        return true;
    }

    void Reset() {
        isInterrupting = false;
        calls = interruptions = folderSyncError = wholeSyncs = 0;
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
int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
    va_end(arguments);
    return faults.Interrupts() ? -1 : __real_open(path, flags, mode);
}
ssize_t __real_read(int descriptor, void* bytes, std::size_t size);
ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size) {
    return faults.Interrupts() ? -1 : __real_read(descriptor, bytes, size);
}
ssize_t __real_write(int descriptor, const void* bytes, std::size_t size);
ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t size) {
    return faults.Interrupts() ? -1 : __real_write(descriptor, bytes, size);
}
int __real_ftruncate(int descriptor, off_t size);
int __wrap_ftruncate(int descriptor, off_t size) {
    return faults.Interrupts() ? -1 : __real_ftruncate(descriptor, size);
}
int __real_fsync(int descriptor);
int __wrap_fsync(int descriptor) {
    if (faults.Interrupts()) return -1;
    struct stat status = {};
    if (faults.folderSyncError != 0 && fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        errno = faults.folderSyncError;
        return -1;
    }
    return __real_fsync(descriptor);
}
int __real_syncfs(int descriptor);
int __wrap_syncfs(int descriptor) {
    ++faults.wholeSyncs;
    return __real_syncfs(descriptor);
}
/// Like the system, it closes the descriptor also when the call is interrupted.
int __real_close(int descriptor);
int __wrap_close(int descriptor) {
    const int result = __real_close(descriptor);
    return faults.Interrupts() ? -1 : result;
}
}

namespace {

using sonrel_tests::FileSizeLimit;
using sonrel_tests::NamesIn;
using testing::AnyOf;

class PeakFileFault : public sonrel_tests::PeakFileFixture {
protected:
    PeakFileFault() { faults.Reset(); }
    ~PeakFileFault() override { faults.Reset(); }

    /// Checks that no descriptor remains open and the file does not open as a peak file.
    /// @return the code of Create
    int CreateInVain(Mode mode = Mode::SingleThreaded) {
        const std::size_t descriptors = NamesIn("/proc/self/fd").size();
        const int code = Create(mode);
        EXPECT_EQ(media.OpenFiles(), 0);
        EXPECT_EQ(NamesIn("/proc/self/fd").size(), descriptors);
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
        return code;
    }
};

TEST_F(PeakFileFault, AFileThatCannotBeOpenedHasItsCodeAndTheMediaIsReleased) {
    EXPECT_EQ(PeakFile::Create(asset, folder.Wide("none/p.xwpk"), Mode::Auto), -11);
    EXPECT_EQ(PeakFile::Create(asset, L"", Mode::Auto), -11);
    std::filesystem::create_directory(folder / "p.xwpk");
    EXPECT_EQ(Create(), -11);
    EXPECT_EQ(media.OpenFiles(), 0);
    EXPECT_EQ(media.CallCount("Release"), 3);
}

TEST_F(PeakFileFault, OnlyARegularFileIsWrittenWithoutWaiting) {
    const std::string pipe = (folder / "p.xwpk").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(Create(), -11);  // the pipe has no reader
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(Create(), -11);
    close(reader);

    for (const wchar_t* device : {L"/dev/full", L"/dev/null"}) {
        EXPECT_EQ(PeakFile::Create(asset, device, Mode::SingleThreaded), -11);
    }
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileFault, APipeIsNotOpenedForReadingAndDoesNotBlock) {
    ASSERT_EQ(mkfifo((folder / "p.xwpk").c_str(), 0600), 0);

    EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
}

TEST_F(PeakFileFault, APathWithAZeroByteIsRefused) {
    sonrel_tests::WriteFile(folder / "other", "mine");
    const std::wstring path = folder.Wide("other") + std::wstring(L"\0.xwpk", 6);

    EXPECT_EQ(PeakFile::Create(asset, path, Mode::SingleThreaded), -11);

    EXPECT_EQ(sonrel_tests::ReadFile(folder / "other"), "mine");
    ASSERT_EQ(Create(), 0);
    EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk") + std::wstring(L"\0", 1)));
}

TEST_F(PeakFileFault, ALinkIsFollowedForWritingAndNotForReading) {
    std::filesystem::create_symlink("elsewhere", folder / "p.xwpk");

    ASSERT_EQ(Create(), 0);

    EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
    EXPECT_TRUE(PeakFile().Open(folder.Wide("elsewhere")));
}

TEST_F(PeakFileFault, TheNameOfAnOpenDescriptorIsWrittenAndRead) {
    const int descriptor = open((folder / "p.xwpk").c_str(), O_RDWR | O_CREAT, 0600);
    const std::wstring path = L"/proc/self/fd/" + std::to_wstring(descriptor);

    EXPECT_EQ(PeakFile::Create(asset, path, Mode::SingleThreaded), 0);
    EXPECT_TRUE(PeakFile().Open(path));
    close(descriptor);
}

TEST_F(PeakFileFault, ACacheFileNeverReplacesAnExistingFile) {
    using orlo::sonrel::detail::PeakOutput;
    using orlo::sonrel::detail::WritePeakFile;
    sonrel_tests::WriteFile(folder / "mine", "mine");
    std::filesystem::create_symlink("mine", folder / "link");
    std::filesystem::create_symlink("nothing", folder / "dangling");

    for (const char* name : {"mine", "link", "dangling"}) {
        EXPECT_EQ(WritePeakFile(asset, folder.Wide(name), Mode::Auto, PeakOutput::New, nullptr),
                  -11);
    }
    EXPECT_EQ(WritePeakFile(asset, folder.Wide("new"), Mode::Auto, PeakOutput::New, nullptr), 0);

    EXPECT_EQ(sonrel_tests::ReadFile(folder / "mine"), "mine");
    EXPECT_FALSE(std::filesystem::exists(folder / "nothing"));
}

TEST_F(PeakFileFault, AStartedProgramInheritsNoPeakFile) {
    const auto inherited = [] {
        int count = 0;
        for (const std::string& name : NamesIn("/proc/self/fd")) {
            const int descriptor = std::stoi(name);
            const int flags = fcntl(descriptor, F_GETFD);
            count += flags >= 0 && (flags & FD_CLOEXEC) == 0;
        }
        return count;
    };
    const int before = inherited();
    int whileWriting = -1;
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        if (whileWriting < 0) whileWriting = inherited();
        return good(start, count, buffer, bytes, read);
    };

    ASSERT_EQ(Create(), 0);
    PeakFile file;
    ASSERT_TRUE(file.Open(folder.Wide("p.xwpk")));

    EXPECT_EQ(whileWriting, before);
    EXPECT_EQ(inherited(), before);
}

TEST_F(PeakFileFault, AFailedFirstSeekLeavesAnEmptyFile) {
    faults.failingSeek = 1;

    EXPECT_EQ(CreateInVain(), -12);
    EXPECT_EQ(Written(), "");
}

TEST_F(PeakFileFault, AFailedWriteOfBlocksHasItsCode) {
    media.format.frames = 48000;
    faults.failingWrite = 1;
    EXPECT_EQ(CreateInVain(Mode::SingleThreaded), -100);

    faults.Reset();
    faults.failingWrite = 1;
    EXPECT_EQ(CreateInVain(Mode::MultiThreaded), -100);
}

TEST_F(PeakFileFault, EachQuarterThatCannotBeAppendedHasItsCode) {
    media.format.frames = 48000;
    // Every quarter is two writes: all its bytes except the last, and the last.
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

TEST_F(PeakFileFault, AFailedFileIsClosedAndLeftForTheCallerToDelete) {
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

TEST_F(PeakFileFault, InterruptedCallsAreRepeatedAndTheFileIsTheSame) {
    media.format.frames = 48000;
    media.read = Signal();
    ASSERT_EQ(Create(Mode::MultiThreaded), 0);
    const std::string undisturbed = Written();

    faults.isInterrupting = true;
    const int code = Create(Mode::MultiThreaded);
    const bool synced = orlo::files::SyncClosedFile((folder / "p.xwpk").string());
    PeakFile file;
    const bool opened = file.Open(folder.Wide("p.xwpk"));
    std::vector<unsigned char> amplitudes;
    const auto result = file.GetRMSAmplitude(0, 1500, 1.0, amplitudes);
    file.Close();
    faults.isInterrupting = false;

    EXPECT_EQ(code, 0);
    EXPECT_TRUE(synced);
    EXPECT_TRUE(opened);
    EXPECT_EQ(result, PeakFile::Result::Ok);
    EXPECT_EQ(amplitudes.size(), 1500u);
    EXPECT_TRUE(Written() == undisturbed);
    EXPECT_GT(faults.interruptions, 5);
}

TEST_F(PeakFileFault, IfAFolderCannotBeSyncedTheWholeFileSystemIsSynced) {
    ASSERT_EQ(Create(), 0);
    for (const int refusal : {EINVAL, ENOTSUP, ENOSYS, EBADF}) {
        faults.Reset();
        faults.folderSyncError = refusal;

        EXPECT_TRUE(orlo::files::SyncClosedFile((folder / "p.xwpk").string()));
        EXPECT_EQ(faults.wholeSyncs, 1);
    }
}

TEST_F(PeakFileFault, AFolderThatFailsToSyncIsAFailureAndNotARefusal) {
    ASSERT_EQ(Create(), 0);
    for (const int failure : {EIO, ENOSPC}) {
        faults.folderSyncError = failure;

        EXPECT_FALSE(orlo::files::SyncClosedFile((folder / "p.xwpk").string()));
    }
    EXPECT_EQ(faults.wholeSyncs, 0);
}

TEST_F(PeakFileFault, AFolderThatCannotBeListedIsSyncedWithTheWholeFileSystem) {
    ASSERT_EQ(Create(), 0);
    std::filesystem::permissions(folder / "p.xwpk", std::filesystem::perms(0644));
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0333));

    const int answer = sonrel_tests::AsAnyone([&] {
        return orlo::files::SyncClosedFile((folder / "p.xwpk").string()) && faults.wholeSyncs == 1
                   ? 0
                   : 1;
    });

    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0700));
    EXPECT_EQ(answer, 0);
}

/// The code for the same bytes when each is written separately.
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

TEST_F(PeakFileFault, ADiskThatFillsAtAnyByteHasTheCodeOfWritingByteByByte) {
    media.format.frames = 32 * 4 * 1700;  // 6800 blocks of 5 bytes, 8500 a quarter
    const std::string other = (folder / "other").string();
    const rlim_t whole = 20 + 5 * 6800;
    for (rlim_t limit = 0; limit <= whole + 500; limit += 499) {
        int single = 0, tasks = 0, referenceSingle = 0, referenceTasks = 0;
        {
            const FileSizeLimit full(limit);
            single = Create(Mode::SingleThreaded);
            tasks = Create(Mode::MultiThreaded);
            referenceSingle = CodeOfSingleBytes(other, {34000});
            referenceTasks = CodeOfSingleBytes(other, {8500, 8500, 8500, 8500});
        }
        EXPECT_EQ(single, referenceSingle) << limit;
        EXPECT_EQ(tasks, referenceTasks) << limit;
        EXPECT_EQ(single == 0, limit >= whole) << limit;
        EXPECT_EQ(tasks == 0, limit >= whole) << limit;
        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileFault, ADiskThatFillsWhereTheBufferOfTheStreamEndsHasTheSameCode) {
    // The first quarter ends with the stream's buffer: written byte by byte, the second quarter
    // fails.
    media.format.channels = 1;
    const std::string other = (folder / "other").string();
    for (const int blocks : {4095, 4096, 4097}) {
        const int bytes = 3 * blocks;
        media.format.frames = 4LL * 32 * blocks;
        for (const int limit : {20, 4116, 8212, 12288, 12308, 12309, 24576, 24596, 36864, 36884}) {
            int tasks = 0, referenceTasks = 0;
            {
                const FileSizeLimit full(static_cast<rlim_t>(limit));
                tasks = Create(Mode::MultiThreaded);
                referenceTasks = CodeOfSingleBytes(other, {bytes, bytes, bytes, bytes});
            }
            EXPECT_EQ(tasks, referenceTasks) << blocks << " blocks, " << limit << " bytes";
        }
    }
}

}  // namespace
