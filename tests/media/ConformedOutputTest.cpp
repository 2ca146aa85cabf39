// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/ConformedOutput.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "tests/media/MediaSupport.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/Threads.h"

using namespace sonrel_tests;
using orlo::project::ConformedFileWriter;
using zrh::media::detail::ConformedOutput;
using zrh::media::detail::SampleBuffer;

namespace {

/// An open file of the folder.
class OutputFile {
public:
    OutputFile() { EXPECT_EQ(writer_.Open(path_, 48000, 1 << 20), Result::Done); }

    ConformedFileWriter* Writer() { return &writer_; }
    std::string FinishedBytes() {
        EXPECT_EQ(writer_.Finish(), Result::Done);
        return ReadFile(path_);
    }

private:
    using Result = ConformedFileWriter::Result;

    TemporaryFolder folder_;
    std::string path_ = (folder_ / "a.xwmc").string();
    ConformedFileWriter writer_;
};

/// The disk. While it is stopped, the writes of this program wait. The program is linked so that
/// the code under test writes here (see CMakeLists.txt).
class Disk {
public:
    void Stop() { SetStopped(true); }
    void Continue() { SetStopped(false); }
    /// Lets one of the next writes fail, counted from 1.
    void Fail(int write) {
        const std::lock_guard lock(mutex_);
        writesToFailure_ = write;
    }

    /// Waits while the disk is stopped. @return whether a write succeeds
    bool Take() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !isStopped_; });
        return writesToFailure_ == 0 || --writesToFailure_ > 0;
    }

private:
    void SetStopped(bool isStopped) {
        const std::lock_guard lock(mutex_);
        isStopped_ = isStopped;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool isStopped_ = false;   // guarded by mutex_, like the number
    int writesToFailure_ = 0;  // 0: none fails
} disk;

/// Polls a condition. @return false after a time that only a broken build needs
template <class Condition>
bool Await(Condition isTrue) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::yield();
    }
    return true;
}

std::vector<std::int16_t> NoiseValues(std::size_t count) {
    std::vector<std::int16_t> values;
    for (const int value : Values16(NoiseBytes(2 * count))) {
        values.push_back(static_cast<std::int16_t>(value));
    }
    return values;
}

void Append(const std::int16_t* values, std::size_t count, SampleBuffer* to) {
    std::copy_n(values, count, to->Room(count));
    to->Fill(count);
}

std::string BytesOf(const std::vector<std::int16_t>& values) {
    return Bytes16({values.begin(), values.end()});
}

/// The bytes of the first block after the header of 44.
constexpr std::size_t FIRST_BLOCK_VALUES = (512 * 1024 - 44) / 2;

}  // namespace

extern "C" {
ssize_t __real_write(int descriptor, const void* bytes, std::size_t size);

ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t size) {
    if (disk.Take()) return __real_write(descriptor, bytes, size);
    errno = ENOSPC;
    return -1;
}
}

TEST(ConformedOutput, WritesSamplesOfAnyLengthInOrder) {
    const std::vector<std::int16_t> values = NoiseValues(2'000'000);
    for (const bool onThread : {false, true}) {
        OutputFile file;
        ConformedOutput output(file.Writer(), onThread);

        std::size_t step = 2;
        for (std::size_t at = 0; at < values.size(); step = step * 3 % 700'000 + 2) {
            const std::size_t count = std::min(step, values.size() - at);
            Append(values.data() + at, count, &output.Samples());
            ASSERT_TRUE(output.WriteFullBlocks()) << onThread;
            at += count;
        }
        ASSERT_TRUE(output.WriteAll()) << onThread;

        EXPECT_TRUE(file.FinishedBytes() == WaveFile(1, 2, 48000, 16, BytesOf(values))) << onThread;
    }
}

TEST(ConformedOutput, ABlockEndsAtAMultipleOf512KiBInTheFile) {
    const std::vector<std::int16_t> values = NoiseValues(FIRST_BLOCK_VALUES + 2);
    for (const bool onThread : {false, true}) {
        OutputFile file;
        ConformedOutput output(file.Writer(), onThread);
        EXPECT_EQ(output.FramesToBlockEnd(), 131061);

        Append(values.data(), FIRST_BLOCK_VALUES - 2, &output.Samples());
        ASSERT_TRUE(output.WriteFullBlocks());
        EXPECT_EQ(output.Samples().Size(), FIRST_BLOCK_VALUES - 2);

        Append(values.data() + FIRST_BLOCK_VALUES - 2, 4, &output.Samples());
        ASSERT_TRUE(output.WriteFullBlocks());
        EXPECT_EQ(output.Samples().Size(), 2u);
        EXPECT_EQ(output.FramesToBlockEnd(), 131072);
        ASSERT_TRUE(output.Wait());
        EXPECT_EQ(file.Writer()->Position(), 512 * 1024);
    }
}

TEST(ConformedOutput, FramesOfTheCallerFollowTheCollectedSamples) {
    const std::vector<std::int16_t> values = NoiseValues(12);
    for (const bool onThread : {false, true}) {
        OutputFile file;
        ConformedOutput output(file.Writer(), onThread);

        Append(values.data(), 4, &output.Samples());
        ASSERT_TRUE(output.WriteDirectly(values.data() + 4, 2));
        EXPECT_EQ(output.FramesToBlockEnd(), 131057);
        Append(values.data() + 8, 4, &output.Samples());
        ASSERT_TRUE(output.WriteAll());

        EXPECT_EQ(file.FinishedBytes(), WaveFile(1, 2, 48000, 16, BytesOf(values)));
    }
}

TEST(ConformedOutput, TheCallerWaitsWhileFourBlocksAreNotWritten) {
    const std::vector<std::int16_t> values = NoiseValues(8 * 256 * 1024);
    OutputFile file;
    ConformedOutput output(file.Writer(), true);
    std::atomic<pid_t> callerNumber = 0;
    std::atomic<int> passedOn = 0;
    disk.Stop();

    std::jthread caller([&] {
        callerNumber = gettid();
        for (; passedOn < 8; ++passedOn) {
            Append(values.data() + passedOn * 256 * 1024, 256 * 1024, &output.Samples());
            EXPECT_TRUE(output.WriteFullBlocks());
        }
        EXPECT_TRUE(output.WriteAll());
    });
    EXPECT_TRUE(Await([&] { return passedOn >= 3 && IsAsleep(callerNumber); }));
    EXPECT_EQ(passedOn, 3);
    disk.Continue();
    caller.join();

    EXPECT_TRUE(file.FinishedBytes() == WaveFile(1, 2, 48000, 16, BytesOf(values)));
}

TEST(ConformedOutput, ABlockThatCannotBeWrittenIsReported) {
    const std::vector<std::int16_t> values = NoiseValues(FIRST_BLOCK_VALUES);
    for (const bool onThread : {false, true}) {
        OutputFile file;
        const FileSizeLimit limit(700'000);
        ConformedOutput output(file.Writer(), onThread);

        bool isWritten = true;
        int blocks = 0;
        for (; isWritten && blocks < 20; ++blocks) {
            Append(values.data(), values.size(), &output.Samples());
            isWritten = output.WriteFullBlocks();
        }

        EXPECT_FALSE(isWritten) << onThread;
        EXPECT_FALSE(output.Wait()) << onThread;
        EXPECT_FALSE(output.WriteAll()) << onThread;
        EXPECT_EQ(file.Writer()->Position(), 512 * 1024) << onThread;
    }
}

TEST(ConformedOutput, NoBlockIsWrittenAfterABlockThatFailed) {
    const std::vector<std::int16_t> values = NoiseValues(256 * 1024);
    for (const bool onThread : {false, true}) {
        OutputFile file;
        disk.Fail(2);
        // With a thread, three blocks wait for it.
        if (onThread) disk.Stop();
        {
            ConformedOutput output(file.Writer(), onThread);
            for (int i = 0; i < 3; ++i) {
                Append(values.data(), values.size(), &output.Samples());
                EXPECT_EQ(output.WriteFullBlocks(), onThread || i < 1) << i;
            }
            disk.Continue();

            EXPECT_FALSE(output.Wait()) << onThread;
            EXPECT_FALSE(output.WriteAll()) << onThread;
        }
        // The thread has ended.
        EXPECT_EQ(file.Writer()->Position(), 512 * 1024) << onThread;
    }
}

TEST(ConformedOutput, CanEndBeforeItsBlocksAreWritten) {
    const std::vector<std::int16_t> values = NoiseValues(FIRST_BLOCK_VALUES);
    for (int blocks = 0; blocks < 4; ++blocks) {
        OutputFile file;
        ConformedOutput output(file.Writer(), true);
        for (int i = 0; i < blocks; ++i) {
            Append(values.data(), values.size(), &output.Samples());
            EXPECT_TRUE(output.WriteFullBlocks());
        }
    }
}
