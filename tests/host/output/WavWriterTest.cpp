// SPDX-License-Identifier: MIT
#include "host/output/WavWriter.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace orlo::host {
namespace {

using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;

const short TWO_FRAMES[] = {1, 2, 3, 4};
const std::string SAMPLES{"\x01\x00\x02\x00\x03\x00\x04\x00", 8};

/// RIFF, format 1, two channels, 48000 Hz, 192000 bytes a second, 4 bytes a frame, 16 bits.
std::string PlainWav(const std::string& whole, const std::string& data) {
    return "RIFF" + whole + "WAVEfmt " +
           std::string("\x10\0\0\0\x01\0\x02\0\x80\xBB\0\0\0\xEE\x02\0\x04\0\x10\0", 20) + "data" +
           data;
}

TEST(WavWriter, SizesBeyond32BitsUseRf64) {
    // 4294967295 bytes minus 4096 for the header are 1073740799 frames of 4 bytes.
    EXPECT_EQ(WavFormatFor(1073740799), WavFormat::Wav);
    EXPECT_EQ(WavFormatFor(1073740800), WavFormat::Rf64);
}

TEST(WavWriter, TheHeaderContainsTheSizes) {
    const TemporaryFolder folder;
    OutputGuard guard(false);
    WavWriter writer(folder / "out.wav", guard, 48000, 2);

    writer.Write(TWO_FRAMES, 2);
    writer.Finish();

    EXPECT_EQ(ReadFile(folder / "out.wav"),
              PlainWav(std::string("\x2C\0\0\0", 4), std::string("\x08\0\0\0", 4)) + SAMPLES);
}

TEST(WavWriter, AHeaderWithTooManyFramesIsCorrectedAtTheEnd) {
    const TemporaryFolder folder;
    OutputGuard guard(false);
    WavWriter writer(folder / "out.wav", guard, 48000, 100, WavWriter::Length::AtMost);

    writer.Write(TWO_FRAMES, 2);
    writer.Finish();

    EXPECT_EQ(ReadFile(folder / "out.wav"),
              PlainWav(std::string("\x2C\0\0\0", 4), std::string("\x08\0\0\0", 4)) + SAMPLES);
}

TEST(WavWriter, TheHeaderOfAStreamOfUnknownLengthHasNoSizes) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    OutputGuard guard(false);
    std::string received;
    std::jthread reader([&] { received = ReadFile(folder / "pipe"); });
    {
        WavWriter writer(folder / "pipe", guard, 48000, 100, WavWriter::Length::AtMost);
        writer.Write(TWO_FRAMES, 2);
        writer.Finish();
    }
    reader.join();

    EXPECT_EQ(received, PlainWav("\xFF\xFF\xFF\xFF", "\xFF\xFF\xFF\xFF") + SAMPLES);
}

TEST(WavWriter, AnRf64HeaderContainsSizesOf64Bits) {
    // 2^30 frames are 2^32 bytes; the size of the file without its first 8 bytes is 96 more.
    const std::string header = WavHeader(WavFormat::Rf64, 48000, 1LL << 30);

    EXPECT_EQ(header,
              std::string("RF64\xFF\xFF\xFF\xFFWAVE", 12) +
                  std::string("ds64\x1C\0\0\0\x60\0\0\0\x01\0\0\0\0\0\0\0\x01\0\0\0"
                              "\0\0\0\x40\0\0\0\0\0\0\0\0",
                              36) +
                  std::string("fmt \x28\0\0\0\xFE\xFF\x02\0\x80\xBB\0\0\0\xEE\x02\0\x04\0\x10\0"
                              "\x16\0\x10\0\x03\0\0\0",
                              32) +
                  std::string("\x01\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 16) +
                  std::string("data\xFF\xFF\xFF\xFF", 8));
}

}  // namespace
}  // namespace orlo::host
