// SPDX-License-Identifier: MIT
#include "sonrel/base/WavHeader.h"

#include <gtest/gtest.h>

namespace {

using zrtl::WavFormat;
using zrtl::WavHeader;

/// The bytes of a literal, zeros included.
template <std::size_t SIZE>
std::string Bytes(const char (&text)[SIZE]) {
    return std::string(text, SIZE - 1);
}

TEST(WavHeader, APlainHeaderHas44Bytes) {
    EXPECT_EQ(WavHeader(WavFormat::Wav, 48000, 3),
              Bytes("RIFF\x30\0\0\0WAVE"
                    "fmt \x10\0\0\0\x01\0\x02\0\x80\xBB\0\0\0\xEE\x02\0\x04\0\x10\0"
                    "data\x0C\0\0\0"));
}

TEST(WavHeader, AnRf64HeaderHas104BytesAnd64BitSizes) {
    // 2^30 frames: 0x100000000 bytes of samples, and 96 bytes of the header after the size.
    EXPECT_EQ(WavHeader(WavFormat::Rf64, 44100, 1LL << 30),
              Bytes("RF64\xFF\xFF\xFF\xFFWAVE"
                    "ds64\x1C\0\0\0\x60\0\0\0\x01\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\x40\0\0\0\0"
                    "\0\0\0\0"
                    "fmt \x28\0\0\0\xFE\xFF\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0"
                    "\x16\0\x10\0\x03\0\0\0"
                    "\x01\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71"
                    "data\xFF\xFF\xFF\xFF"));
}

TEST(WavHeader, AStreamOfUnknownLengthHasTheMaximumSizes) {
    const std::string header = WavHeader(WavFormat::Wav, 48000, std::nullopt);

    EXPECT_EQ(header.substr(4, 4), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(header.substr(40, 4), "\xFF\xFF\xFF\xFF");
}

TEST(WavHeader, FilesAreRf64FromTheFirstFrameThatMayNotFit) {
    // 4294967295 - 4096 bytes are 1073740799 frames of 4 bytes.
    EXPECT_EQ(zrtl::WavFormatFor(1073740799), WavFormat::Wav);
    EXPECT_EQ(zrtl::WavFormatFor(1073740800), WavFormat::Rf64);
}

}  // namespace
