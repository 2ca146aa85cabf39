// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/ConformedOutput.h"

#include <sys/resource.h>

#include <csignal>

#include "tests/media/MediaSupport.h"

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

/// Limits the size of files.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_ = {};
};

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

TEST(ConformedOutput, ABlockThatCannotBeWrittenIsReportedAndIsTheLast) {
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
