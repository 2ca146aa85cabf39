// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedAudioFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using orlo::project::ConformedAudioFile;
using sonrel_tests::Chunk;
using sonrel_tests::ConformedFileBytes;
using sonrel_tests::CountingSamples;
using sonrel_tests::Little;
using sonrel_tests::PcmFormat;
using sonrel_tests::Riff;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

constexpr unsigned char GUARD = 0xA5;

class ConformedAudioFileTest : public testing::Test {
protected:
    /// Writes a file and tries to open it.
    bool Opens(const std::string& bytes) {
        WriteFile(folder_ / "a.xwmc", bytes);
        return file_.Open(folder_.Wide("a.xwmc"));
    }

    /// The bytes that a read delivers. Fails when bytes after them were written.
    std::string Read(long long start, int count, int* code = nullptr) {
        std::vector<unsigned char> buffer(static_cast<std::size_t>(count) * 4 + 64, GUARD);
        int samples = -1;
        const int result = file_.GetSamples(start, count, buffer.data(), count * 4, &samples);
        if (code) *code = result;
        EXPECT_TRUE(code || result == 0);
        for (std::size_t i = static_cast<std::size_t>(samples) * 4; i < buffer.size(); ++i) {
            EXPECT_EQ(buffer[i], GUARD) << "after the samples, at byte " << i;
        }
        return std::string(buffer.begin(), buffer.begin() + samples * 4);
    }

    TemporaryFolder folder_;
    ConformedAudioFile file_;
};

TEST_F(ConformedAudioFileTest, ADefaultObjectIsClosed) {
    unsigned char buffer[4] = {GUARD, GUARD, GUARD, GUARD};
    int samples = -1;

    EXPECT_EQ(file_.GetSamples(0, 1, buffer, 4, &samples), 1);

    EXPECT_EQ(samples, 0);
    EXPECT_EQ(buffer[0], GUARD);
    EXPECT_EQ(file_.SampleCount(), 0);
    EXPECT_EQ(file_.SampleRate(), 0);
    EXPECT_EQ(file_.FilePath(), L"");
}

TEST_F(ConformedAudioFileTest, AnOpenFileReportsItsPathLengthAndRate) {
    ASSERT_TRUE(Opens(ConformedFileBytes(1000, 44100)));

    EXPECT_EQ(file_.FilePath(), folder_.Wide("a.xwmc"));
    EXPECT_EQ(file_.SampleCount(), 1000);
    EXPECT_EQ(file_.SampleRate(), 44100);
}

TEST_F(ConformedAudioFileTest, AReadDeliversTheSamplesOfItsPosition) {
    ASSERT_TRUE(Opens(ConformedFileBytes(1000)));

    EXPECT_EQ(Read(0, 1), std::string(4, '\0'));
    EXPECT_EQ(Read(1, 2), std::string("\x01\x00\xFF\xFF\x02\x00\xFE\xFF", 8));
    EXPECT_EQ(Read(999, 1), std::string("\xE7\x03\x19\xFC", 4));
}

TEST_F(ConformedAudioFileTest, AReadDoesNotDependOnEarlierReads) {
    const std::string all = CountingSamples(5000);
    ASSERT_TRUE(Opens(ConformedFileBytes(5000)));
    std::mt19937 random(7);

    for (int i = 0; i < 200; ++i) {
        const int start = static_cast<int>(random() % 5000);
        const int count = static_cast<int>(random() % (5001 - start));
        ASSERT_EQ(Read(start, count), all.substr(start * 4, count * 4)) << start << " " << count;
    }
}

TEST_F(ConformedAudioFileTest, AReadAcrossTheEndDeliversTheRemainingSamples) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    EXPECT_EQ(Read(8, 5).size(), 8u);
    EXPECT_EQ(Read(0, 11).size(), 40u);
}

TEST_F(ConformedAudioFileTest, AReadAtOrAfterTheEndSucceedsWithoutSamples) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    EXPECT_EQ(Read(10, 5), "");
    EXPECT_EQ(Read(1LL << 62, 5), "");
    EXPECT_EQ(Read(3, 0), "");
}

TEST_F(ConformedAudioFileTest, NegativePositionsAndCountsReturn7) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));
    std::array<unsigned char, 64> buffer;
    int samples = -1;

    EXPECT_EQ(file_.GetSamples(-1, 1, buffer.data(), 64, &samples), 7);
    EXPECT_EQ(samples, 0);
    EXPECT_EQ(file_.GetSamples(0, -1, buffer.data(), 64, &samples), 7);
    EXPECT_EQ(samples, 0);
}

TEST_F(ConformedAudioFileTest, ABufferTooSmallForTheCountReturns12AndIsUnchanged) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));
    std::array<unsigned char, 64> buffer;
    buffer.fill(GUARD);
    int samples = -1;

    EXPECT_EQ(file_.GetSamples(0, 4, buffer.data(), 15, &samples), 12);
    EXPECT_EQ(samples, 0);
    EXPECT_EQ(buffer[0], GUARD);
    EXPECT_EQ(file_.GetSamples(0, 4, buffer.data(), 16, &samples), 0);
    EXPECT_EQ(samples, 4);
}

TEST_F(ConformedAudioFileTest, TheBufferMustFitTheWholeRequestEvenAtTheEndOfTheFile) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));
    std::array<unsigned char, 8> buffer;
    int samples = -1;

    // Two frames remain and fit the buffer, but three are requested.
    EXPECT_EQ(file_.GetSamples(8, 3, buffer.data(), 8, &samples), 12);
    EXPECT_EQ(file_.GetSamples(8, 2, buffer.data(), 8, &samples), 0);
}

TEST_F(ConformedAudioFileTest, ACountWhoseBytesExceed32BitsIsComparedWithoutOverflow) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));
    unsigned char buffer[4] = {GUARD, GUARD, GUARD, GUARD};
    int samples = -1;

    // 2^30 frames are 2^32 bytes: 0 in 32 bits.
    EXPECT_EQ(file_.GetSamples(0, 1 << 30, buffer, 4, &samples), 12);
    EXPECT_EQ(buffer[0], GUARD);
}

TEST_F(ConformedAudioFileTest, AFileOfNoSamplesOpens) {
    ASSERT_TRUE(Opens(ConformedFileBytes(0)));

    EXPECT_EQ(file_.SampleCount(), 0);
    EXPECT_EQ(Read(0, 4), "");
}

TEST_F(ConformedAudioFileTest, AMissingFileDoesNotOpen) {
    EXPECT_FALSE(file_.Open(folder_.Wide("missing.xwmc")));
    EXPECT_FALSE(file_.Open(L""));
}

TEST_F(ConformedAudioFileTest, AZeroByteInThePathDoesNotLeadToTheFileBeforeIt) {
    ASSERT_TRUE(Opens(ConformedFileBytes(1)));

    EXPECT_FALSE(file_.Open(folder_.Wide("a.xwmc") + std::wstring(1, L'\0') + L"b"));
}

TEST_F(ConformedAudioFileTest, AFailedOpenLeavesTheObjectClosed) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    EXPECT_FALSE(file_.Open(folder_.Wide("missing.xwmc")));

    EXPECT_EQ(file_.FilePath(), L"");
    EXPECT_EQ(file_.SampleCount(), 0);
    int code = 0;
    Read(0, 1, &code);
    EXPECT_EQ(code, 1);
}

TEST_F(ConformedAudioFileTest, OpeningItsOwnPathAgainWorks) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    EXPECT_TRUE(file_.Open(file_.FilePath()));

    EXPECT_EQ(file_.FilePath(), folder_.Wide("a.xwmc"));
}

TEST_F(ConformedAudioFileTest, ALinkIsNotFollowed) {
    WriteFile(folder_ / "real.xwmc", ConformedFileBytes(10));
    std::filesystem::create_symlink(folder_ / "real.xwmc", folder_ / "link.xwmc");

    EXPECT_FALSE(file_.Open(folder_.Wide("link.xwmc")));
    EXPECT_TRUE(file_.Open(folder_.Wide("real.xwmc")));
}

TEST_F(ConformedAudioFileTest, FoldersPipesAndDevicesDoNotOpenAndDoNotBlock) {
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);

    EXPECT_FALSE(file_.Open(folder_.Wide("pipe")));
    EXPECT_FALSE(file_.Open(folder_.Wide(".")));
    EXPECT_FALSE(file_.Open(L"/dev/zero"));
}

TEST_F(ConformedAudioFileTest, EveryShorterFileIsRefused) {
    const std::string whole = ConformedFileBytes(20);

    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(Opens(whole.substr(0, length))) << length << " bytes";
    }
    EXPECT_TRUE(Opens(whole));
}

TEST_F(ConformedAudioFileTest, AFileLongerThanItsHeaderIsRefused) {
    // A file whose writer was stopped before it wrote the length.
    std::string stopped = ConformedFileBytes(0);
    stopped += CountingSamples(20);

    EXPECT_FALSE(Opens(stopped));
    EXPECT_FALSE(Opens(ConformedFileBytes(20) + '\0'));
}

TEST_F(ConformedAudioFileTest, OnlyStereo16BitPcmOpens) {
    const std::string data = Chunk("data", CountingSamples(2));
    const auto opens = [&](int tag, int channels, int bits) {
        return Opens(Riff(Chunk("fmt ", PcmFormat(tag, channels, 48000, bits)) + data));
    };

    EXPECT_TRUE(opens(1, 2, 16));
    EXPECT_FALSE(opens(1, 1, 16));
    EXPECT_FALSE(opens(1, 1, 32));
    EXPECT_FALSE(opens(1, 4, 8));
    EXPECT_FALSE(opens(1, 2, 24));
    EXPECT_FALSE(opens(3, 2, 16));
    EXPECT_FALSE(opens(0, 2, 16));
}

TEST_F(ConformedAudioFileTest, ARateOf0OrBeyond31BitsIsRefused) {
    const std::string data = Chunk("data", CountingSamples(2));
    std::string format = PcmFormat(1, 2, 48000, 16);

    format.replace(4, 4, Little(0, 4));
    EXPECT_FALSE(Opens(Riff(Chunk("fmt ", format) + data)));
    format.replace(4, 4, Little(0x80000000u, 4));
    EXPECT_FALSE(Opens(Riff(Chunk("fmt ", format) + data)));
    format.replace(4, 4, Little(0x7FFFFFFFu, 4));
    EXPECT_TRUE(Opens(Riff(Chunk("fmt ", format) + data)));
}

TEST_F(ConformedAudioFileTest, TheExtensibleFormOfPcmOpens) {
    const std::string pcmTail("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14);
    const std::string head =
        PcmFormat(0xFFFE, 2, 48000, 16) + Little(22, 2) + Little(16, 2) + Little(3, 4);
    const std::string data = Chunk("data", CountingSamples(2));

    EXPECT_TRUE(Opens(Riff(Chunk("fmt ", head + Little(1, 2) + pcmTail) + data)));
    EXPECT_FALSE(Opens(Riff(Chunk("fmt ", head + Little(3, 2) + pcmTail) + data)));
    EXPECT_FALSE(Opens(Riff(Chunk("fmt ", PcmFormat(0xFFFE, 2, 48000, 16)) + data)));
}

TEST_F(ConformedAudioFileTest, OtherChunksAreSkippedWithTheirPadByte) {
    const std::string format = Chunk("fmt ", PcmFormat(1, 2, 48000, 16));

    ASSERT_TRUE(Opens(Riff(Chunk("JUNK", "odd") + format + Chunk("LIST", "four") +
                           Chunk("data", CountingSamples(3)) + Chunk("note", "after"))));

    EXPECT_EQ(file_.SampleCount(), 3);
    EXPECT_EQ(Read(0, 3), CountingSamples(3));
}

TEST_F(ConformedAudioFileTest, TheFormatMustComeBeforeTheSamples) {
    const std::string format = Chunk("fmt ", PcmFormat(1, 2, 48000, 16));
    const std::string data = Chunk("data", CountingSamples(2));

    EXPECT_FALSE(Opens(Riff(data + format)));
    EXPECT_FALSE(Opens(Riff(data)));
    EXPECT_FALSE(Opens(Riff(format)));
}

TEST_F(ConformedAudioFileTest, SamplesThatAreNotWholeFramesAreRefused) {
    const std::string format = Chunk("fmt ", PcmFormat(1, 2, 48000, 16));

    EXPECT_FALSE(Opens(Riff(format + Chunk("data", "sixsix"))));
    EXPECT_TRUE(Opens(Riff(format + Chunk("data", "eightby!"))));
}

TEST_F(ConformedAudioFileTest, AChunkThatReachesBeyondTheFileIsRefused) {
    std::string bytes = ConformedFileBytes(4);
    bytes.replace(16, 4, Little(0xFFFFFFFF, 4));
    EXPECT_FALSE(Opens(bytes));

    bytes = ConformedFileBytes(4);
    bytes.replace(40, 4, Little(0xFFFFFFFF, 4));
    EXPECT_FALSE(Opens(bytes));
}

TEST_F(ConformedAudioFileTest, ThousandsOfEmptyChunksAreNotRead) {
    std::string chunks;
    for (int i = 0; i < 1000; ++i) chunks += Chunk("JUNK", "");

    EXPECT_FALSE(Opens(Riff(chunks + Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                            Chunk("data", CountingSamples(1)))));
}

TEST_F(ConformedAudioFileTest, TheLongFormOpens) {
    const std::string format = Chunk("fmt ", PcmFormat(1, 2, 48000, 16));
    const std::string samples = CountingSamples(3);
    const auto longForm = [&](std::uint64_t fileLength, std::uint64_t dataLength) {
        return "RF64" + Little(0xFFFFFFFF, 4) + "WAVE" +
               Chunk("ds64",
                     Little(fileLength, 8) + Little(dataLength, 8) + Little(3, 8) + Little(0, 4)) +
               format + "data" + Little(0xFFFFFFFF, 4) + samples;
    };
    const std::uint64_t length = longForm(0, 0).size() - 8;

    EXPECT_FALSE(Opens(longForm(length, 16)));
    EXPECT_FALSE(Opens(longForm(length, 0xFFFFFFFFFFFFFFFFu)));
    EXPECT_FALSE(Opens(longForm(length + 1, 12)));
    EXPECT_FALSE(Opens(longForm(0xFFFFFFFFFFFFFFFFu, 12)));
    ASSERT_TRUE(Opens(longForm(length, 12)));
    EXPECT_EQ(Read(0, 3), samples);
}

TEST_F(ConformedAudioFileTest, TheLongFormBeginsWithItsLengths) {
    const std::string samples = CountingSamples(3);
    const std::string format = Chunk("fmt ", PcmFormat(1, 2, 48000, 16));
    const auto longForm = [&](const std::string& name, std::size_t bytes) {
        const std::string rest = format + "data" + Little(0xFFFFFFFF, 4) + samples;
        const std::uint64_t length = 4 + 8 + bytes + rest.size();
        const std::string lengths = Little(length, 8) + Little(12, 8) + std::string(12, '\0');
        return "RF64" + Little(0xFFFFFFFF, 4) + "WAVE" + Chunk(name, lengths.substr(0, bytes)) +
               rest;
    };

    EXPECT_TRUE(Opens(longForm("ds64", 28)));
    EXPECT_TRUE(Opens(longForm("ds64", 16)));
    EXPECT_FALSE(Opens(longForm("ds65", 28)));
    EXPECT_FALSE(Opens(longForm("ds64", 14)));
}

TEST_F(ConformedAudioFileTest, SamplesBeyond4GiBAreFound) {
    // A sparse file of 5 GiB.
    constexpr long long COUNT = 5LL << 28;
    const std::string head =
        "RF64" + Little(0xFFFFFFFF, 4) + "WAVE" +
        Chunk("ds64",
              Little(72 + COUNT * 4, 8) + Little(COUNT * 4, 8) + Little(COUNT, 8) + Little(0, 4)) +
        Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + "data" + Little(0xFFFFFFFF, 4);
    ASSERT_EQ(head.size(), 80u);
    WriteFile(folder_ / "long.xwmc", head);
    std::filesystem::resize_file(folder_ / "long.xwmc", 80 + COUNT * 4 - 4);
    {
        std::ofstream file(folder_ / "long.xwmc", std::ios::binary | std::ios::app);
        file << "last";
    }

    ASSERT_TRUE(file_.Open(folder_.Wide("long.xwmc")));

    EXPECT_EQ(file_.SampleCount(), COUNT);
    EXPECT_EQ(Read(COUNT - 2, 4), std::string(4, '\0') + "last");
}

TEST_F(ConformedAudioFileTest, AFileOfLibsndfileOpens) {
    const std::string path = (folder_ / "s.xwmc").string();
    const std::vector<short> samples = {1, -1, 2, -2, 32767, -32768};
    for (const int format : {SF_FORMAT_WAV, SF_FORMAT_RF64, SF_FORMAT_WAVEX}) {
        SF_INFO info = {};
        info.samplerate = 32000;
        info.channels = 2;
        info.format = format | SF_FORMAT_PCM_16;
        SNDFILE* const out = sf_open(path.c_str(), SFM_WRITE, &info);
        ASSERT_TRUE(out);
        ASSERT_EQ(sf_writef_short(out, samples.data(), 3), 3);
        ASSERT_EQ(sf_close(out), 0);

        ASSERT_TRUE(file_.Open(folder_.Wide("s.xwmc"))) << std::hex << format;
        EXPECT_EQ(file_.SampleCount(), 3);
        EXPECT_EQ(file_.SampleRate(), 32000);
        EXPECT_EQ(Read(0, 3), std::string("\x01\x00\xFF\xFF\x02\x00\xFE\xFF\xFF\x7F\x00\x80", 12));
    }
}

TEST_F(ConformedAudioFileTest, AFileTruncatedWhileOpenReturns2) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10000)));
    std::filesystem::resize_file(folder_ / "a.xwmc", 44 + 4000 * 4 + 2);
    std::vector<unsigned char> buffer(8 * 4);
    int samples = -1;

    EXPECT_EQ(file_.GetSamples(3999, 1, buffer.data(), 32, &samples), 0);
    EXPECT_EQ(samples, 1);
    EXPECT_EQ(file_.GetSamples(3996, 8, buffer.data(), 32, &samples), 2);
    EXPECT_EQ(samples, 0);
    EXPECT_EQ(file_.GetSamples(9000, 8, buffer.data(), 32, &samples), 2);
    EXPECT_EQ(samples, 0);
}

TEST_F(ConformedAudioFileTest, AFileDeletedWhileOpenIsReadToItsEnd) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    std::filesystem::remove(folder_ / "a.xwmc");

    EXPECT_EQ(Read(0, 10), CountingSamples(10));
}

TEST_F(ConformedAudioFileTest, AMoveTransfersTheOpenFile) {
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));

    ConformedAudioFile moved(std::move(file_));

    EXPECT_EQ(moved.SampleCount(), 10);
    EXPECT_EQ(moved.FilePath(), folder_.Wide("a.xwmc"));
    int code = 0;
    Read(0, 1, &code);
    EXPECT_EQ(code, 1);
    file_ = std::move(moved);
    EXPECT_EQ(Read(0, 10), CountingSamples(10));
}

TEST_F(ConformedAudioFileTest, OpeningAndMovingLeaveNoOpenDescriptor) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    ASSERT_TRUE(Opens(ConformedFileBytes(10)));
    WriteFile(folder_ / "bad.xwmc", "RIFF");
    const auto before = descriptors();

    for (int i = 0; i < 100; ++i) {
        ConformedAudioFile other;
        other.Open(folder_.Wide("a.xwmc"));
        other.Open(folder_.Wide("bad.xwmc"));
        other.Open(folder_.Wide("a.xwmc"));
        file_ = std::move(other);
    }

    EXPECT_EQ(descriptors(), before);
}

TEST_F(ConformedAudioFileTest, EightThreadsReadOneFileAtOnce) {
    const std::string all = CountingSamples(20000);
    ASSERT_TRUE(Opens(ConformedFileBytes(20000)));
    std::array<int, 8> wrong = {};
    std::vector<std::thread> threads;

    for (unsigned t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            std::vector<unsigned char> buffer(1000 * 4);
            for (int i = 0; i < 300; ++i) {
                const int start = static_cast<int>(random() % 19001);
                int samples = 0;
                const int code =
                    std::as_const(file_).GetSamples(start, 1000, buffer.data(), 4000, &samples);
                const bool right =
                    code == 0 && samples == 1000 &&
                    std::equal(buffer.begin(), buffer.end(),
                               reinterpret_cast<const unsigned char*>(all.data()) + start * 4);
                if (!right) ++wrong[t];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    for (const int count : wrong) EXPECT_EQ(count, 0);
}

}  // namespace
