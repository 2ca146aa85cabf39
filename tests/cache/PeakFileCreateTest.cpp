// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>

#include "tests/cache/PeakFileFixture.h"

namespace {

using namespace std::string_literals;
using sonrel_tests::Little;
using sonrel_tests::NamesIn;
using sonrel_tests::PeakHeader;
using sonrel_tests::WriteFile;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using zrh::media::ZRSampleDataType;

class PeakFileCreate : public sonrel_tests::PeakFileFixture {
protected:
    /// The readers that the mode Auto opens for a stream.
    int ReadersFor(int rate, long long frames) {
        media.Reset();
        media.format.rate = rate;
        media.format.frames = frames;
        EXPECT_EQ(Create(Mode::Auto), 0);
        return media.CallCount("Create");
    }
};

// ---- layout

TEST_F(PeakFileCreate, SixtyFourStereoFramesAreThirtyBytes) {
    media.format.frames = 64;
    media.read = Constant(16384);

    ASSERT_EQ(Create(), 0);

    const std::string block = "\x7F\x00\x3F\x00\x3F"s;
    EXPECT_EQ(Written(), PeakHeader(2, 2) + block + block);
}

TEST_F(PeakFileCreate, FullScalePositiveMonoIsAllRmsAndMaximum) {
    media.format.channels = 1;
    media.format.frames = 64;
    media.read = Constant(32767);

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(1, 2) + "\xFF\x00\x7F\xFF\x00\x7F"s);
}

TEST_F(PeakFileCreate, AStreamOfNoFramesIsAHeaderThatDoesNotOpen) {
    media.format.frames = 0;

    for (const Mode mode : {Mode::Auto, Mode::SingleThreaded, Mode::MultiThreaded}) {
        ASSERT_EQ(Create(mode), 0);
        EXPECT_EQ(Written(), PeakHeader(2, 0));
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
    }
}

TEST_F(PeakFileCreate, EveryThirtyTwoFramesStartABlock) {
    const auto blocksOf = [&](long long frames) {
        media.format.frames = frames;
        EXPECT_EQ(Create(), 0);
        PeakFile file;
        EXPECT_TRUE(file.Open(folder.Wide("p.xwpk")));
        EXPECT_EQ(Written().size(), 20u + 5u * static_cast<unsigned>(file.BlockCount()));
        return file.BlockCount();
    };
    EXPECT_EQ(blocksOf(1), 1);
    EXPECT_EQ(blocksOf(32), 1);
    EXPECT_EQ(blocksOf(33), 2);
    EXPECT_EQ(blocksOf(64), 2);
    EXPECT_EQ(blocksOf(65), 3);
}

TEST_F(PeakFileCreate, TheLastBlockSummarisesTheRemainingFrames) {
    media.format.channels = 1;
    media.format.frames = 33;
    media.read = [](long long start, int count, void* buffer, int, int* read) {
        auto* samples = static_cast<std::int16_t*>(buffer);
        std::fill_n(samples, count, start < 32 ? std::int16_t{0} : std::int16_t{16384});
        *read = count;
        return 0;
    };

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(1, 2) + "\x00\x00\x00\x7F\x00\x3F"s);
}

TEST_F(PeakFileCreate, SilenceIsZeroInAllItsBytes) {
    media.format.frames = 320;

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(2, 10) + std::string(50, '\0'));
}

TEST_F(PeakFileCreate, SixteenChannelsAreTheMaximum) {
    media.format.channels = 16;
    media.format.frames = 32;
    ASSERT_EQ(Create(), 0);
    EXPECT_EQ(Written().size(), 20u + 33u);

    for (const int channels : {0, -1, 17}) {
        media.format.channels = channels;
        for (const Mode mode : {Mode::SingleThreaded, Mode::MultiThreaded}) {
            EXPECT_EQ(Create(mode), -100) << channels;
            EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
        }
    }
}

TEST_F(PeakFileCreate, ASampleSizeThatIsNotAMultipleOfEightFails) {
    for (const int bits : {0, -8, 4, 12, 2147483640}) {
        media.format.bits = bits;
        EXPECT_EQ(Create(), -100) << bits;
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
    }
}

// ---- samples

TEST_F(PeakFileCreate, IntegersAndFloatsOfThirtyTwoBitsDifferByTheirTypeOnly) {
    media.format.channels = 1;
    media.format.bits = 32;
    media.format.frames = 32;
    media.read = [](long long, int count, void* buffer, int, int* read) {
        std::fill_n(static_cast<float*>(buffer), count, 2.0f);  // 0x40000000: a half as an integer
        *read = count;
        return 0;
    };

    ASSERT_EQ(Create(), 0);
    EXPECT_EQ(Written(), PeakHeader(1, 1) + "\x7F\x00\x3F"s);
    media.format.dataType = ZRSampleDataType::Float;
    ASSERT_EQ(Create(), 0);
    EXPECT_EQ(Written(), PeakHeader(1, 1) + "\xFE\x00\xFE"s);
}

TEST_F(PeakFileCreate, AMaximumOfTwoIsReadAsMinusTwo) {
    media.format.channels = 1;
    media.format.bits = 32;
    media.format.dataType = ZRSampleDataType::Float;
    media.format.frames = 32;
    media.read = [](long long, int count, void* buffer, int, int* read) {
        std::fill_n(static_cast<float*>(buffer), count, 2.0f);
        *read = count;
        return 0;
    };
    ASSERT_EQ(Create(), 0);
    const std::string bytes = Written();
    ASSERT_EQ(static_cast<signed char>(bytes.back()), -2);
}

TEST_F(PeakFileCreate, SixteenBitsOfFloatAreZero) {
    media.format.dataType = ZRSampleDataType::Float;
    media.format.frames = 64;
    media.read = Constant(32767);

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(2, 2) + std::string(10, '\0'));
}

// ---- reading

TEST_F(PeakFileCreate, TheStreamIsReadOnceInStepsOfThirtyTwoFrames) {
    media.format.frames = 100;
    std::vector<std::pair<long long, int>> reads;
    media.read = [&](long long start, int count, void*, int bytes, int* read) {
        reads.emplace_back(start, count);
        EXPECT_EQ(bytes, 128);
        *read = count;
        return 0;
    };

    ASSERT_EQ(Create(), 0);

    using Read = std::pair<long long, int>;
    EXPECT_THAT(reads, ElementsAre(Read{0, 32}, Read{32, 32}, Read{64, 32}, Read{96, 4}));
}

TEST_F(PeakFileCreate, AShortReadMakesAShorterBlockAndReadingContinuesAfterIt) {
    media.format.channels = 1;
    media.format.frames = 64;
    std::vector<long long> starts;
    media.read = [&](long long start, int count, void* buffer, int, int* read) {
        starts.push_back(start);
        *read = start == 0 ? 10 : count;
        std::fill_n(static_cast<std::int16_t*>(buffer), *read, std::int16_t{16384});
        return 0;
    };

    ASSERT_EQ(Create(), 0);

    EXPECT_THAT(starts, ElementsAre(0, 10, 42));
    EXPECT_EQ(Written(), PeakHeader(1, 3) + "\x7F\x00\x3F\x7F\x00\x3F\x7F\x00\x3F"s);
}

TEST_F(PeakFileCreate, AFailureInTheMiddleIsSilenceAndReadingContinues) {
    media.format.channels = 1;
    media.format.frames = 96;
    const auto good = Constant(16384);
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        if (start != 32) return good(start, count, buffer, bytes, read);
        std::fill_n(static_cast<unsigned char*>(buffer), bytes, static_cast<unsigned char>(0x55));
        *read = 0;
        return -9;
    };

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(1, 3) + "\x7F\x00\x3F\x00\x00\x00\x7F\x00\x3F"s);
}

TEST_F(PeakFileCreate, AFailureWithoutACountUsesTheCountOfTheReadBefore) {
    media.format.channels = 1;
    media.format.frames = 60;
    std::vector<std::pair<long long, int>> reads;
    const auto good = Constant(16384);
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        reads.emplace_back(start, count);
        if (start == 0) return good(start, 20, buffer, bytes, read);
        return 1;
    };

    ASSERT_EQ(Create(), 0);

    using Read = std::pair<long long, int>;
    EXPECT_THAT(reads, ElementsAre(Read{0, 32}, Read{20, 32}, Read{40, 20}));
    EXPECT_EQ(Written(), PeakHeader(1, 3) + "\x7F\x00\x3F"s + std::string(6, '\0'));
}

TEST_F(PeakFileCreate, AFailureWithACountBeyondTheRestEndsTheReading) {
    media.format.channels = 1;
    media.format.frames = 40;
    const auto good = Constant(16384);
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        if (start == 0) return good(start, count, buffer, bytes, read);
        return 1;
    };

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written(), PeakHeader(1, 2) + "\x7F\x00\x3F"s + std::string(3, '\0'));
}

TEST_F(PeakFileCreate, AFailureAtTheFirstFrameFailsInEveryMode) {
    media.format.frames = 48000;
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        return start == 0 ? 5 : good(start, count, buffer, bytes, read);
    };

    for (const Mode mode : {Mode::Auto, Mode::SingleThreaded, Mode::MultiThreaded}) {
        EXPECT_EQ(Create(mode), -100);
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileCreate, AStreamThatDeliversNoFramesWithoutAnErrorFails) {
    media.read = [](long long, int, void*, int, int* read) {
        *read = 0;
        return 0;
    };

    EXPECT_EQ(Create(), -100);
}

// ---- modes

TEST_F(PeakFileCreate, BothModesWriteTheSameBytes) {
    media.read = Signal();
    for (const int channels : {1, 2, 3, 8, 16}) {
        for (const long long frames : {0, 1, 31, 100, 127, 128, 129, 4096, 48001}) {
            media.format.channels = channels;
            media.format.frames = frames;
            ASSERT_EQ(Create(Mode::SingleThreaded), 0);
            const std::string single = Written();
            ASSERT_EQ(Create(Mode::MultiThreaded), 0);
            EXPECT_TRUE(Written() == single) << channels << " channels, " << frames << " frames";
        }
    }
}

TEST_F(PeakFileCreate, TheLastTaskReadsAllOfAHundredFrames) {
    media.format.frames = 100;
    std::atomic<int> reads = 0;
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        ++reads;
        return good(start, count, buffer, bytes, read);
    };

    ASSERT_EQ(Create(Mode::MultiThreaded), 0);

    EXPECT_EQ(reads, 4);  // 32, 32, 32 and 4
    EXPECT_EQ(media.CallCount("Create"), 4);
    EXPECT_EQ(Written().substr(0, 20), PeakHeader(2, 4));
}

TEST_F(PeakFileCreate, ThirtySecondsAreReadByFourReadersAndOneFrameLessByOneReader) {
    EXPECT_EQ(ReadersFor(8000, 240000), 4);
    EXPECT_EQ(ReadersFor(8000, 239999), 1);
}

// 30 * 143165577 is 2^32 + 14.
TEST_F(PeakFileCreate, ThirtySecondsOfARateBeyond32BitsWrap) {
    EXPECT_EQ(ReadersFor(143165577, 14), 4);
    EXPECT_EQ(ReadersFor(143165577, 13), 1);
}

// 30 * 71582789 is 2^31 + 22, which is negative in 32 bits.
TEST_F(PeakFileCreate, ThirtySecondsThatWrapBelowZeroAlwaysUseFourReaders) {
    EXPECT_EQ(ReadersFor(71582789, 0), 4);
}

TEST_F(PeakFileCreate, TheFirstTaskReadsWhileTheOtherReadersAreOpened) {
    std::promise<void> firstRead;
    std::atomic<bool> hasRead = false;
    auto isReading = firstRead.get_future().share();
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        if (!hasRead.exchange(true)) firstRead.set_value();
        return good(start, count, buffer, bytes, read);
    };
    std::atomic<int> opened = 0;
    media.create = [&](const std::wstring&) {
        if (opened++ == 0) return 0;
        return isReading.wait_for(std::chrono::seconds(30)) == std::future_status::ready ? 0 : 1;
    };

    EXPECT_EQ(Create(Mode::MultiThreaded), 0);
}

TEST_F(PeakFileCreate, TheOtherTasksStartAfterAllReadersArePrepared) {
    std::promise<void> ready;
    auto allAreReady = ready.get_future().share();
    int prepared = 0;
    std::vector<std::size_t> threads;  // of the process, at the preparation of each other reader
    media.prepare = [&] {
        ++prepared;
        if (prepared > 1) threads.push_back(sonrel_tests::NamesIn("/proc/self/task").size());
        if (prepared == 4) ready.set_value();
        return 0;
    };
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        // Blocks every task that has started.
        if (allAreReady.wait_for(std::chrono::seconds(30)) != std::future_status::ready) return 1;
        return good(start, count, buffer, bytes, read);
    };

    ASSERT_EQ(Create(Mode::MultiThreaded), 0);

    EXPECT_EQ(threads, std::vector<std::size_t>(3, threads.at(0)));
}

TEST_F(PeakFileCreate, CreateWaitsForTheFirstTaskWhenAnotherReaderIsNotPrepared) {
    std::promise<void> failed;
    auto hasFailed = failed.get_future().share();
    std::atomic<int> prepared = 0;
    media.prepare = [&] {
        if (prepared++ == 0) return 0;
        failed.set_value();
        return 1;
    };
    std::atomic<int> reads = 0;
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        if (hasFailed.wait_for(std::chrono::seconds(30)) != std::future_status::ready) return 1;
        ++reads;
        return good(start, count, buffer, bytes, read);
    };

    EXPECT_EQ(Create(Mode::MultiThreaded), -21);

    // A quarter of 48000 frames is 375 blocks of 5 bytes, after 20 bytes for the header.
    EXPECT_EQ(reads, 375);
    EXPECT_EQ(Written().size(), 1895u);
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileCreate, TheModeDecidesForAnyLength) {
    media.format.rate = 8000;
    media.format.frames = 480000;
    ASSERT_EQ(Create(Mode::SingleThreaded), 0);
    EXPECT_EQ(media.CallCount("Create"), 1);

    media.format.frames = 320;
    ASSERT_EQ(Create(Mode::MultiThreaded), 0);
    ASSERT_EQ(Create(static_cast<Mode>(-1)), 0);
    ASSERT_EQ(Create(static_cast<Mode>(77)), 0);
    EXPECT_EQ(media.CallCount("Create"), 1 + 3 * 4);
}

TEST_F(PeakFileCreate, TheTasksReadQuartersThatStartAtMultiplesOfThirtyTwo) {
    media.format.frames = 1000;
    std::mutex mutex;
    std::vector<long long> starts;
    const auto good = Signal();
    media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
        const std::lock_guard lock(mutex);
        starts.push_back(start);
        return good(start, count, buffer, bytes, read);
    };

    ASSERT_EQ(Create(Mode::MultiThreaded), 0);

    // 1000 / 4 is 250, cut to 224: quarters of 7, 7, 7 and 11 steps.
    std::sort(starts.begin(), starts.end());
    ASSERT_EQ(starts.size(), 32u);
    for (std::size_t i = 0; i < starts.size(); ++i) EXPECT_EQ(starts[i], 32 * (long long)i);
}

TEST_F(PeakFileCreate, EachReaderIsSetUpInOrderAndItsStreamIsReleasedBeforeIt) {
    ASSERT_EQ(Create(Mode::SingleThreaded), 0);

    EXPECT_THAT(media.Calls(), ElementsAre("Create /media/a.mov", "SetReadOption 1", "Prepare",
                                           "Streams", "Release"));
}

TEST_F(PeakFileCreate, TheOtherReadersAreOpenedThenSearchedThenPrepared) {
    ASSERT_EQ(Create(Mode::MultiThreaded), 0);

    auto calls = media.Calls();
    calls.erase(calls.begin(), calls.begin() + 4);
    EXPECT_THAT(calls,
                ElementsAre("Create /media/a.mov", "Create /media/a.mov", "Create /media/a.mov",
                            "SetReadOption 1", "SetReadOption 1", "SetReadOption 1", "Streams",
                            "Streams", "Streams", "Prepare", "Prepare", "Prepare", "Release",
                            "Release", "Release", "Release"));
}

TEST_F(PeakFileCreate, AMergedAssetIsReadFromItsSoundFile) {
    asset->SetMerged(L"/media/sound.wav");

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(media.Calls().front(), "Create /media/sound.wav");
}

TEST_F(PeakFileCreate, TheStreamIndexCountsAudioStreamsOnly) {
    media.streamTypes = {1, 0, 2, 0};
    asset->SetAudioStreamIndex(1);
    EXPECT_EQ(Create(), 0);
    asset->SetAudioStreamIndex(2);
    EXPECT_EQ(Create(), -2);
    asset->SetAudioStreamIndex(1ull << 32);
    EXPECT_EQ(Create(), -2);
}

TEST_F(PeakFileCreate, TheOldContentOfTheFileIsLost) {
    media.format.frames = 32;
    WriteFile(folder / "p.xwpk", std::string(1000, 'x'));

    ASSERT_EQ(Create(), 0);

    EXPECT_EQ(Written().size(), 25u);
}

// ---- failures of the media

TEST_F(PeakFileCreate, MediaThatDoesNotOpenThrowsTheLibrarysCodeAndWritesNothing) {
    media.create = [](const std::wstring&) { return 77; };

    try {
        Create();
        FAIL() << "nothing was thrown";
    } catch (const zrh::media::ZRMediaException& failure) {
        EXPECT_EQ(failure.Code(), 77);
    }

    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
}

TEST_F(PeakFileCreate, MediaThatCannotBePreparedIsReleasedAndTheOutputIsUnchanged) {
    WriteFile(folder / "p.xwpk", "before");
    media.prepare = [] { return 3; };

    EXPECT_EQ(Create(), -1);

    EXPECT_EQ(Written(), "before");
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileCreate, MediaWithoutTheStreamIsReleasedAndTheOutputIsUnchanged) {
    WriteFile(folder / "p.xwpk", "before");
    media.streamTypes = {1, 2};

    EXPECT_EQ(Create(), -2);

    EXPECT_EQ(Written(), "before");
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileCreate, EachOtherReaderThatCannotBePreparedHasItsCode) {
    for (const int failing : {1, 2, 3}) {
        std::atomic<int> prepared = 0;
        media.prepare = [&] { return prepared++ == failing ? 1 : 0; };

        EXPECT_EQ(Create(Mode::MultiThreaded), -20 - failing);

        EXPECT_EQ(media.OpenFiles(), 0);
        EXPECT_FALSE(PeakFile().Open(folder.Wide("p.xwpk")));
    }
}

TEST_F(PeakFileCreate, EachOtherReaderWithoutTheStreamHasItsCode) {
    for (const int failing : {1, 2, 3}) {
        std::atomic<int> opened = 0;
        media.create = [&](const std::wstring&) {
            media.streamTypes = opened++ == failing ? std::vector<int>{1} : std::vector<int>{0};
            return 0;
        };

        EXPECT_EQ(Create(Mode::MultiThreaded), -20 - failing);

        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileCreate, AnotherReaderThatDoesNotOpenIsAFailedWrite) {
    for (const int failing : {1, 2, 3}) {
        std::atomic<int> opened = 0;
        media.create = [&](const std::wstring&) { return opened++ == failing ? 7 : 0; };

        EXPECT_EQ(Create(Mode::MultiThreaded), -100);

        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileCreate, AnExceptionInAnyQuarterIsAFailedWriteAndAllTasksHaveEnded) {
    media.format.frames = 48000;
    for (const long long quarter : {0, 1, 2, 3}) {
        const auto good = Signal();
        std::atomic<int> running = 0;
        media.read = [&](long long start, int count, void* buffer, int bytes, int* read) {
            ++running;
            const int code = good(start, count, buffer, bytes, read);
            --running;
            if (start == quarter * 12000) throw std::runtime_error("broken");
            return code;
        };

        EXPECT_EQ(Create(Mode::MultiThreaded), -100) << quarter;

        EXPECT_EQ(running, 0);
        EXPECT_EQ(media.OpenFiles(), 0);
    }
}

TEST_F(PeakFileCreate, ANonStandardExceptionPassesThroughAndReleasesTheReaders) {
    media.read = [](long long, int, void*, int, int*) -> int { throw 42; };

    EXPECT_THROW(Create(Mode::SingleThreaded), int);
    EXPECT_THROW(Create(Mode::MultiThreaded), int);

    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(PeakFileCreate, TheCodesDoNotChange) {
    EXPECT_EQ(PeakFile::MEDIA_NOT_PREPARED, -1);
    EXPECT_EQ(PeakFile::NO_AUDIO_STREAM, -2);
    EXPECT_EQ(PeakFile::OUTPUT_NOT_OPENED, -11);
    EXPECT_EQ(PeakFile::OUTPUT_NOT_POSITIONED, -12);
    EXPECT_EQ(PeakFile::SECOND_READER_NOT_PREPARED, -21);
    EXPECT_EQ(PeakFile::THIRD_READER_NOT_PREPARED, -22);
    EXPECT_EQ(PeakFile::FOURTH_READER_NOT_PREPARED, -23);
    EXPECT_EQ(PeakFile::SECOND_QUARTER_NOT_WRITTEN, -31);
    EXPECT_EQ(PeakFile::THIRD_QUARTER_NOT_WRITTEN, -32);
    EXPECT_EQ(PeakFile::FOURTH_QUARTER_NOT_WRITTEN, -33);
    EXPECT_EQ(PeakFile::BLOCKS_NOT_MADE, -100);
    EXPECT_EQ(PeakFile::HEADER_NOT_POSITIONED, -201);
    EXPECT_EQ(PeakFile::MAGIC_NOT_WRITTEN, -202);
    EXPECT_EQ(PeakFile::VERSION_NOT_WRITTEN, -203);
    EXPECT_EQ(PeakFile::CHANNEL_COUNT_NOT_WRITTEN, -204);
    EXPECT_EQ(PeakFile::BLOCK_COUNT_NOT_WRITTEN, -205);
}

}  // namespace
