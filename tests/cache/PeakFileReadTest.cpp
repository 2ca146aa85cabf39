// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "sonrel/cache/PeakFile.h"
#include "tests/cache/PeakFileFixture.h"
#include "tests/reference/ReferencePeaks.h"
#include "tests/support/Noise.h"

namespace {

using namespace std::string_literals;
using orlo::sonrel::PeakFile;
using orlo::sonrel::reference::PeakReader;
using sonrel_tests::Little;
using sonrel_tests::NamesIn;
using sonrel_tests::PeakHeader;
using sonrel_tests::WriteFile;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Result = PeakFile::Result;

using Peaks = std::vector<signed char>;
using Amplitudes = std::vector<unsigned char>;

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr int MAX = std::numeric_limits<int>::max();

/// Mono blocks of these RMS bytes, with the block number as minimum and maximum.
std::string MonoBlocks(const std::vector<int>& rms) {
    std::string bytes;
    for (std::size_t i = 0; i < rms.size(); ++i) {
        bytes += Little(static_cast<unsigned>(rms[i]), 1);
        bytes += Little(static_cast<unsigned char>(-static_cast<int>(i % 100)), 1);
        bytes += Little(i % 100, 1);
    }
    return bytes;
}

std::string RandomBlocks(int channels, int blocks, unsigned int seed) {
    return sonrel_tests::NoiseBytes(static_cast<std::size_t>(blocks * (1 + 2 * channels)), seed);
}

class PeakFileRead : public testing::Test {
protected:
    bool OpenOf(const std::string& bytes) {
        WriteFile(folder / "p.xwpk", bytes);
        return file.Open(folder.Wide("p.xwpk"));
    }
    /// Opens a mono file of these RMS bytes.
    void OpenMono(const std::vector<int>& rms) {
        ASSERT_TRUE(OpenOf(PeakHeader(1, static_cast<unsigned>(rms.size())) + MonoBlocks(rms)));
    }

    sonrel_tests::TemporaryFolder folder;
    PeakFile file;
    Peaks peaks{1, 2, 3};
    Amplitudes amplitudes{1, 2, 3};
};

// ---- Open

TEST_F(PeakFileRead, AValidFileReportsItsNumbers) {
    ASSERT_TRUE(OpenOf(PeakHeader(3, 2) + std::string(14, '\0')));

    EXPECT_EQ(file.ChannelCount(), 3);
    EXPECT_EQ(file.BlockCount(), 2);
    EXPECT_EQ(file.SamplesPerBlock(), 32);
}

TEST_F(PeakFileRead, OtherHeadersDoNotOpenAndTheNumbersRemainZero) {
    const std::vector<std::string> bad = {
        "",
        "ORLOXWP",
        "ORLOXWPX" + Little(1, 4) + Little(1, 4) + Little(1, 4),
        "orloxwpk" + Little(1, 4) + Little(1, 4) + Little(1, 4),
        PeakHeader(1, 1, 0),
        PeakHeader(1, 1, 2),
        PeakHeader(1, 1, 0x01000000),
        PeakHeader(0, 1),
        PeakHeader(17, 1),
        PeakHeader(0x80000001, 1),
        PeakHeader(0xFFFFFFFF, 1),
        PeakHeader(1, 0),
        PeakHeader(1, 1).substr(0, 19),
    };
    for (const std::string& header : bad) {
        PeakFile other;
        WriteFile(folder / "bad.xwpk", header + (header.size() < 20 ? "" : "\0\0\0"s));
        EXPECT_FALSE(other.Open(folder.Wide("bad.xwpk"))) << header;
        EXPECT_EQ(other.ChannelCount(), 0);
        EXPECT_EQ(other.BlockCount(), 0);
        EXPECT_EQ(other.SamplesPerBlock(), 0);
    }
}

TEST_F(PeakFileRead, AMissingFileAndAFolderDoNotOpen) {
    EXPECT_FALSE(file.Open(folder.Wide("none.xwpk")));
    EXPECT_FALSE(file.Open(folder.Wide("")));
    EXPECT_FALSE(file.Open(L""));
}

TEST_F(PeakFileRead, OneAndSixteenChannelsOpen) {
    EXPECT_TRUE(OpenOf(PeakHeader(1, 1) + std::string(3, '\0')));
    EXPECT_TRUE(OpenOf(PeakHeader(16, 1) + std::string(33, '\0')));
}

TEST_F(PeakFileRead, ReadsBeforeOpenChangeNothing) {
    EXPECT_EQ(file.GetChannelPeaks(0, 0, 1.0, peaks), Result::NotOpen);
    EXPECT_EQ(file.GetRMSAmplitude(-1, 5, 0.0, amplitudes), Result::NotOpen);
    EXPECT_THAT(peaks, ElementsAre(1, 2, 3));
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3));
}

TEST_F(PeakFileRead, ReadsAfterCloseChangeNothingAndTheNumbersRemain) {
    OpenMono({1, 2});
    file.Close();
    file.Close();

    EXPECT_EQ(file.GetRMSAmplitude(0, 2, 1.0, amplitudes), Result::NotOpen);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3));
    EXPECT_EQ(file.ChannelCount(), 1);
    EXPECT_EQ(file.BlockCount(), 2);
    EXPECT_EQ(file.SamplesPerBlock(), 32);
    ASSERT_TRUE(file.Open(folder.Wide("p.xwpk")));
    EXPECT_EQ(file.GetRMSAmplitude(0, 2, 1.0, amplitudes), Result::Ok);
}

TEST_F(PeakFileRead, AFileWithABadHeaderCountsAsOpenWithoutBlocks) {
    ASSERT_FALSE(OpenOf("no peak file"));

    EXPECT_EQ(file.GetRMSAmplitude(0, 1, 1.0, amplitudes), Result::InvalidArgument);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3));
}

TEST_F(PeakFileRead, AFailedOpenOfAMissingFileLeavesTheObjectClosed) {
    OpenMono({1});
    ASSERT_FALSE(file.Open(folder.Wide("none.xwpk")));

    EXPECT_EQ(file.GetRMSAmplitude(0, 1, 1.0, amplitudes), Result::NotOpen);
    EXPECT_EQ(file.BlockCount(), 1);
}

TEST_F(PeakFileRead, ASecondOpenReadsTheSecondFileAndCloseClosesBoth) {
    const auto descriptors = [] { return NamesIn("/proc/self/fd").size(); };
    const std::size_t before = descriptors();
    OpenMono({1, 2});
    WriteFile(folder / "q.xwpk", PeakHeader(1, 1) + MonoBlocks({9}));
    ASSERT_TRUE(file.Open(folder.Wide("q.xwpk")));

    EXPECT_EQ(file.BlockCount(), 1);
    ASSERT_EQ(file.GetRMSAmplitude(0, 1, 1.0, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, ElementsAre(9));
    EXPECT_EQ(descriptors(), before + 2);
    file.Close();
    EXPECT_EQ(descriptors(), before);
}

// ---- arguments

TEST_F(PeakFileRead, TheEndMayBeAtMostTheBlockCount) {
    OpenMono({1, 2, 3, 4});

    EXPECT_EQ(file.GetRMSAmplitude(0, 5, 1.0, amplitudes), Result::InvalidArgument);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3));
    EXPECT_EQ(file.GetRMSAmplitude(0, 4, 1.0, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3, 4));
}

TEST_F(PeakFileRead, ANegativeFirstBlockIsRefused) {
    OpenMono({1, 2, 3, 4});

    EXPECT_EQ(file.GetChannelPeaks(-1, 2, 1.0, peaks), Result::InvalidArgument);
    EXPECT_THAT(peaks, ElementsAre(1, 2, 3));
}

TEST_F(PeakFileRead, AStepBelowOneOrANaNIsRefused) {
    OpenMono({1, 2, 3, 4});

    for (const double step : {0.5, 0.99999999999, 0.0, -1.0, -INFINITE, std::nan("")}) {
        EXPECT_EQ(file.GetChannelPeaks(0, 4, step, peaks), Result::InvalidArgument) << step;
        EXPECT_EQ(file.GetRMSAmplitude(0, 4, step, amplitudes), Result::InvalidArgument) << step;
    }
    EXPECT_THAT(peaks, ElementsAre(1, 2, 3));
}

TEST_F(PeakFileRead, AnEmptyRangeIsOkWithoutPoints) {
    OpenMono({1, 2, 3, 4});

    EXPECT_EQ(file.GetChannelPeaks(2, 2, 1.0, peaks), Result::Ok);
    EXPECT_EQ(file.GetRMSAmplitude(4, 4, 3.0, amplitudes), Result::Ok);
    EXPECT_THAT(peaks, IsEmpty());
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, AFirstBlockAfterTheLastIsOkWithoutPointsForAnEmptyRange) {
    OpenMono({1, 2, 3, 4});

    EXPECT_EQ(file.GetRMSAmplitude(1000, 4, 1e9, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, AnEndBeforeTheFirstByHalfAStepThrows) {
    OpenMono({1, 2, 3, 4});

    EXPECT_THROW(file.GetRMSAmplitude(3, 2, 2.0, amplitudes), std::length_error);
    EXPECT_THROW(file.GetRMSAmplitude(3, 1, 1.0, amplitudes), std::length_error);
    EXPECT_EQ(file.GetRMSAmplitude(3, 2, 2.1, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, TheChannelsCountInTheMemoryForPeaksOfAnInvertedRange) {
    ASSERT_TRUE(OpenOf(PeakHeader(2, 4) + std::string(20, '\0')));

    EXPECT_THROW(file.GetChannelPeaks(3, 2, 4.0, peaks), std::length_error);
    EXPECT_EQ(file.GetChannelPeaks(3, 2, 4.1, peaks), Result::Ok);
}

// ---- points

TEST_F(PeakFileRead, AStepOfOneReturnsEveryRmsByteUnchanged) {
    std::vector<int> all(256);
    for (int i = 0; i < 256; ++i) all[static_cast<std::size_t>(i)] = i;
    OpenMono(all);

    ASSERT_EQ(file.GetRMSAmplitude(0, 256, 1.0, amplitudes), Result::Ok);

    ASSERT_THAT(amplitudes, SizeIs(256));
    for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(amplitudes[i], i);
}

TEST_F(PeakFileRead, ThreeBlocksOfNineteenResultInEighteen) {
    OpenMono({19, 19, 19});

    ASSERT_EQ(file.GetRMSAmplitude(0, 3, 3.0, amplitudes), Result::Ok);

    EXPECT_THAT(amplitudes, ElementsAre(18));
}

TEST_F(PeakFileRead, RmsIsTheRootOfTheMeanOfSquaresAndNotTheMean) {
    OpenMono({0, 255, 0, 255});

    ASSERT_EQ(file.GetRMSAmplitude(0, 4, 4.0, amplitudes), Result::Ok);

    EXPECT_THAT(amplitudes, ElementsAre(180));  // 255 * sqrt(0.5) = 180.3
}

TEST_F(PeakFileRead, PeaksAreTheMinimumAndMaximumOfEachChannel) {
    ASSERT_TRUE(OpenOf(PeakHeader(2, 3) + "\x09\xFF\x01\x00\x02"s + "\x09\x80\x7F\xFD\x00"s +
                       "\x09\x00\x05\xFE\x06"s));

    ASSERT_EQ(file.GetChannelPeaks(0, 3, 2.0, peaks), Result::Ok);

    EXPECT_THAT(peaks, ElementsAre(-128, 127, -3, 2, 0, 5, -2, 6));
}

TEST_F(PeakFileRead, APointStartsAtZeroForAnyBlocks) {
    ASSERT_TRUE(OpenOf(PeakHeader(1, 2) + "\x20\x05\x20\x20\xF0\xF8"s));

    ASSERT_EQ(file.GetChannelPeaks(0, 2, 1.0, peaks), Result::Ok);

    EXPECT_THAT(peaks, ElementsAre(0, 32, -16, 0));
}

/// The blocks at which the points of a file of numbered blocks end.
std::vector<int> Limits(PeakFile& file, int first, int end, double step) {
    Peaks peaks;
    EXPECT_EQ(file.GetChannelPeaks(first, end, step, peaks), Result::Ok);
    std::vector<int> limits;
    for (std::size_t i = 1; i < peaks.size(); i += 2) limits.push_back(peaks[i] + 1);
    return limits;
}

TEST_F(PeakFileRead, AStepOfTwoAndAHalfRoundsItsLimitsAwayFromZero) {
    OpenMono(std::vector<int>(30, 1));

    EXPECT_THAT(Limits(file, 0, 15, 2.5), ElementsAre(3, 5, 8, 10, 13, 15));
}

TEST_F(PeakFileRead, LimitsAddTheStepAndDoNotMultiplyIt) {
    OpenMono(std::vector<int>(30, 1));

    EXPECT_EQ(Limits(file, 0, 17, 1.1)[14], 16);  // 15 * 1.1 would round to 17
    EXPECT_EQ(Limits(file, 0, 26, 1.7)[14], 25);  // and 15 * 1.7 to 26
}

TEST_F(PeakFileRead, TheLastPointIncludesBlocksAfterTheEnd) {
    OpenMono(std::vector<int>(20, 1));

    EXPECT_THAT(Limits(file, 0, 10, 3.0), ElementsAre(3, 6, 9, 12));
}

TEST_F(PeakFileRead, TheLastPointEndsWithTheFile) {
    OpenMono(std::vector<int>(11, 1));

    EXPECT_THAT(Limits(file, 0, 10, 3.0), ElementsAre(3, 6, 9, 11));
    EXPECT_THAT(Limits(file, 5, 6, INFINITE), ElementsAre(11));
    EXPECT_THAT(Limits(file, 0, 1, 1e300), ElementsAre(11));
}

TEST_F(PeakFileRead, ARangeBeginsAtItsFirstBlock) {
    OpenMono(std::vector<int>(20, 1));

    EXPECT_THAT(Limits(file, 7, 12, 2.0), ElementsAre(9, 11, 13));
}

TEST_F(PeakFileRead, AReadDoesNotAffectTheNextRead) {
    OpenMono({1, 2, 3, 4});
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(file.GetRMSAmplitude(1, 3, 1.0, amplitudes), Result::Ok);
        EXPECT_THAT(amplitudes, ElementsAre(2, 3));
    }
}

// ---- short files

TEST_F(PeakFileRead, PeaksOfACutBlockFailAndThePointsBeforeRemain) {
    const std::string whole = PeakHeader(1, 6) + MonoBlocks({1, 2, 3, 4, 5, 6});
    for (const std::size_t cut : {20u + 9u, 20u + 10u, 20u + 11u}) {  // before, in, in block 3
        ASSERT_TRUE(OpenOf(whole.substr(0, cut)));
        EXPECT_EQ(file.GetChannelPeaks(0, 6, 2.0, peaks), Result::ReadFailed) << cut;
        EXPECT_THAT(peaks, ElementsAre(-1, 1)) << cut;
    }
    ASSERT_TRUE(OpenOf(whole.substr(0, 20 + 12)));
    EXPECT_EQ(file.GetChannelPeaks(0, 6, 2.0, peaks), Result::ReadFailed);
    EXPECT_THAT(peaks, ElementsAre(-1, 1, -3, 3));
}

TEST_F(PeakFileRead, TheRmsOfABlockCutAfterItsRmsByteCounts) {
    const std::string whole = PeakHeader(1, 4) + MonoBlocks({1, 2, 3, 4});
    ASSERT_TRUE(OpenOf(whole.substr(0, 20 + 9)));
    EXPECT_EQ(file.GetRMSAmplitude(0, 4, 1.0, amplitudes), Result::ReadFailed);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3));

    ASSERT_TRUE(OpenOf(whole.substr(0, 20 + 10)));
    EXPECT_EQ(file.GetRMSAmplitude(0, 4, 1.0, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, ElementsAre(1, 2, 3, 4));
}

TEST_F(PeakFileRead, AShortFileReturnsItsPoints) {
    ASSERT_TRUE(OpenOf(PeakHeader(1, 100) + MonoBlocks({1, 2, 3})));

    EXPECT_EQ(file.GetRMSAmplitude(0, 3, 1.0, amplitudes), Result::Ok);
    EXPECT_EQ(file.GetRMSAmplitude(50, 60, 1.0, amplitudes), Result::ReadFailed);
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, ABlockCountBeyondTheLengthNeedsNoMemory) {
    ASSERT_TRUE(OpenOf(PeakHeader(16, 0x7FFFFFFF) + std::string(33, '\1')));

    EXPECT_EQ(file.BlockCount(), MAX);
    EXPECT_EQ(file.GetChannelPeaks(0, MAX, 1.0, peaks), Result::ReadFailed);
    EXPECT_THAT(peaks, SizeIs(32));
    EXPECT_LT(peaks.capacity(), 2000000u);
    EXPECT_EQ(file.GetRMSAmplitude(MAX - 1, MAX, 1.0, amplitudes), Result::ReadFailed);
    EXPECT_EQ(file.GetRMSAmplitude(0, MAX, INFINITE, amplitudes), Result::ReadFailed);
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, ABlockCountBeyondIntIsNegativeAndEveryRangeIsRefused) {
    ASSERT_TRUE(OpenOf(PeakHeader(1, 0x80000000) + std::string(30, '\1')));
    EXPECT_EQ(file.BlockCount(), std::numeric_limits<int>::min());
    EXPECT_EQ(file.GetRMSAmplitude(0, 0, 1.0, amplitudes), Result::InvalidArgument);
    ASSERT_TRUE(OpenOf(PeakHeader(1, 0xFFFFFFFF) + std::string(30, '\1')));
    EXPECT_EQ(file.GetRMSAmplitude(0, 0, 1.0, amplitudes), Result::InvalidArgument);
    EXPECT_EQ(file.GetRMSAmplitude(0, -1, 4.0, amplitudes), Result::Ok);
    EXPECT_THAT(amplitudes, IsEmpty());
}

TEST_F(PeakFileRead, AFileCutWhileItIsOpenFails) {
    ASSERT_TRUE(OpenOf(PeakHeader(2, 20000) + RandomBlocks(2, 20000, 1)));
    ASSERT_EQ(file.GetChannelPeaks(0, 20000, 100.0, peaks), Result::Ok);

    std::filesystem::resize_file(folder / "p.xwpk", 20 + 5 * 100);

    EXPECT_EQ(file.GetChannelPeaks(10000, 20000, 100.0, peaks), Result::ReadFailed);
    EXPECT_THAT(peaks, IsEmpty());
}

// ---- compared with a reader of single bytes

class PeakFileReadIdentity : public PeakFileRead, public testing::WithParamInterface<int> {
protected:
    /// Compares both readers on the open file for one range.
    void ExpectReference(PeakReader& reference, int first, int end, double step) {
        Peaks referencePeaks;
        Amplitudes referenceAmplitudes;
        EXPECT_EQ(file.GetChannelPeaks(first, end, step, peaks),
                  reference.GetChannelPeaks(first, end, step, referencePeaks));
        EXPECT_EQ(file.GetRMSAmplitude(first, end, step, amplitudes),
                  reference.GetRMSAmplitude(first, end, step, referenceAmplitudes));
        ASSERT_EQ(peaks, referencePeaks) << first << " to " << end << " by " << step;
        ASSERT_EQ(amplitudes, referenceAmplitudes) << first << " to " << end << " by " << step;
    }
};

TEST_P(PeakFileReadIdentity, EveryRangeAndStepHasTheSamePoints) {
    const int channels = GetParam();
    const int blocks = 30011;  // several pieces of the reader
    ASSERT_TRUE(OpenOf(PeakHeader(static_cast<unsigned>(channels), blocks) +
                       RandomBlocks(channels, blocks, 3)));
    PeakReader reference((folder / "p.xwpk").string(), channels, blocks);

    ExpectReference(reference, 0, blocks, 16.6727777);
    ExpectReference(reference, 0, blocks, blocks);
    ExpectReference(reference, 12345, 12999, 1.0);
    ExpectReference(reference, blocks - 50, blocks, 1.1);
    ExpectReference(reference, 77, 2077, 1.7);
    ExpectReference(reference, 0, 10, 3.0);
}

TEST_P(PeakFileReadIdentity, AFileCutAtAnyByteHasTheSameResults) {
    const int channels = GetParam();
    const std::string whole =
        PeakHeader(static_cast<unsigned>(channels), 9) + RandomBlocks(channels, 9, 5);
    for (std::size_t size = 20; size <= whole.size(); ++size) {
        ASSERT_TRUE(OpenOf(whole.substr(0, size)));
        PeakReader reference((folder / "p.xwpk").string(), channels, 9);
        for (const double step : {1.0, 2.0, 3.5, 100.0}) ExpectReference(reference, 0, 9, step);
        ExpectReference(reference, 4, 6, 1.5);
        file.Close();
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, PeakFileReadIdentity, testing::Values(1, 2, 3, 8, 16));

}  // namespace
