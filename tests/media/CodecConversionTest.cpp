// SPDX-License-Identifier: MIT
#include "tests/media/CodecMedia.h"
#include "tests/media/ConversionSupport.h"

using namespace sonrel_tests;

namespace {

class CodecConversion : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(CodecConversion, AtAnotherRateItHasTheBytesOfTheFfmpegProgram) {
    std::string expected = ReadFile(CodecMedia(std::string(GetParam()) + ".48000.s16"));

    const Conversion conversion(CodecMedia(GetParam()), 48000);

    ASSERT_EQ(conversion.Code(), 0);
    EXPECT_EQ(conversion.Rate(), 48000);
    EXPECT_TRUE(conversion.Samples() == expected);
}

INSTANTIATE_TEST_SUITE_P(Codecs, CodecConversion,
                         testing::Values("flac.flac", "flac24.flac", "pcm.mov", "mp3.mp3",
                                         "vorbis.ogg", "opus.opus", "ac3.ac3", "surround.flac"),
                         NameOfFile);

TEST(CodecConversions, SoundThatEndsInsideAPacketEndsThere) {
    // The ffmpeg program also converts the padding after the end.
    const std::string longer = ReadFile(CodecMedia("aacplain.m4a.48000.s16"));

    const Conversion conversion(CodecMedia("aacplain.m4a"), 48000);

    ASSERT_EQ(conversion.Code(), 0);
    EXPECT_EQ(conversion.Samples().size(), 590400u * 4);  // 12.3 seconds
    // The filter looks ahead: the last frames depend on the frames after the end.
    const std::size_t sure = 589000u * 4;
    EXPECT_TRUE(conversion.Samples().substr(0, sure) == longer.substr(0, sure));
}

TEST(CodecConversions, SurroundSoundIsMixedDownAsTheFfmpegProgramDoes) {
    const std::string expected = ReadFile(CodecMedia("surround.flac.stereo.s16"));

    const Conversion conversion(CodecMedia("surround.flac"), 44100);

    ASSERT_EQ(conversion.Code(), 0);
    EXPECT_TRUE(conversion.Samples() == expected);
}

TEST(CodecConversions, LosslessSoundAtItsOwnRateKeepsItsBits) {
    const std::string source = ReadFile(CodecMedia("source.wav"));

    for (const char* file : {"flac.flac", "alac.m4a", "wavpack.wv", "pcm.mov"}) {
        const Conversion conversion(CodecMedia(file), 44100);

        ASSERT_EQ(conversion.Code(), 0) << file;
        EXPECT_TRUE(conversion.Samples() == source.substr(source.find("data") + 8)) << file;
    }
}

TEST(CodecConversions, SilenceBeforeLateSoundIsConverted) {
    const std::string source = ReadFile(CodecMedia("source.wav"));

    const Conversion conversion(CodecMedia("late.mkv"), 44100);

    ASSERT_EQ(conversion.Code(), 0);
    EXPECT_TRUE(conversion.Samples().substr(0, 88200) == std::string(88200, '\0'));
    EXPECT_TRUE(conversion.Samples().substr(88200, 40000) ==
                source.substr(source.find("data") + 8, 40000));
}

TEST(CodecConversions, TwoConversionsOfOneFileHaveTheSameBytes) {
    const Conversion first(CodecMedia("flac.flac"), 48000);
    const Conversion second(CodecMedia("flac.flac"), 48000);

    EXPECT_TRUE(first.Bytes() == second.Bytes());
}
