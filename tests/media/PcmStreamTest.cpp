// SPDX-License-Identifier: MIT
#include <bit>

#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;

namespace {

/// Opens a file of these bytes.
class PcmStream : public testing::Test {
protected:
    std::shared_ptr<ZRAbstractAudioStream> Open(std::string_view bytes,
                                                const char* name = "a.wav") {
        WriteFile(folder_ / name, bytes);
        media_ = std::make_unique<OpenedMedia>(folder_ / name);
        return media_->Audio();
    }

    TemporaryFolder folder_;
    std::unique_ptr<OpenedMedia> media_;
};

struct Width {
    int tag;
    int bits;
    ZRSampleDataType type;
};

class PcmWidth : public testing::TestWithParam<std::tuple<Width, int, int>> {};

std::string BigEndian(std::uint64_t value, int size) {
    std::string bytes = Little(value, size);
    return {bytes.rbegin(), bytes.rend()};
}

/// An AU file. Encoding 1 is mu-law, 3 is 16-bit, 4 is 24-bit, 6 is float.
std::string AuFile(int encoding, int rate, int channels, std::string_view samples) {
    return ".snd" + BigEndian(24, 4) + BigEndian(samples.size(), 4) + BigEndian(encoding, 4) +
           BigEndian(rate, 4) + BigEndian(channels, 4) + std::string(samples);
}

}  // namespace

TEST_P(PcmWidth, DeliversTheBytesOfTheFile) {
    const auto [width, channels, rate] = GetParam();
    const TemporaryFolder folder;
    std::string samples = NoiseBytes(static_cast<std::size_t>(1000) * channels * width.bits / 8);
    WriteFile(folder / "a.wav", WaveFile(width.tag, channels, rate, width.bits, samples));

    const OpenedMedia media(folder / "a.wav");
    const auto stream = media.Audio();

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleRate(), rate);
    EXPECT_EQ(stream->ChannelCount(), channels);
    EXPECT_EQ(stream->BitsPerSample(), width.bits);
    EXPECT_EQ(stream->SampleDataType(), width.type);
    EXPECT_EQ(stream->SampleCount(), 1000);
    EXPECT_EQ(ReadAll(*stream, 77), samples);
}

INSTANTIATE_TEST_SUITE_P(AllWidths, PcmWidth,
                         testing::Combine(testing::Values(Width{1, 8, ZRSampleDataType::Integer},
                                                          Width{1, 16, ZRSampleDataType::Integer},
                                                          Width{1, 24, ZRSampleDataType::Integer},
                                                          Width{1, 32, ZRSampleDataType::Integer},
                                                          Width{3, 32, ZRSampleDataType::Float},
                                                          Width{3, 64, ZRSampleDataType::Float}),
                                          testing::Values(1, 2, 6, 16),
                                          testing::Values(8000, 44100, 192000)));

TEST_F(PcmStream, BigEndianSamplesAreSwapped) {
    const auto stream =
        Open(AuFile(3, 44100, 1, std::string("\x12\x34\xFE\xDC\x80\x00", 6)), "a.au");

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->BitsPerSample(), 16);
    EXPECT_EQ(Values16(ReadAll(*stream)), (std::vector<int>{0x1234, -292, -32768}));
}

TEST_F(PcmStream, BigEndian24BitSamplesArePacked) {
    const auto stream = Open(AuFile(4, 44100, 1, "\x12\x34\x56\xFE\xDC\xBA"), "a.au");

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->BitsPerSample(), 24);
    EXPECT_EQ(ReadAll(*stream), "\x56\x34\x12\xBA\xDC\xFE");
}

TEST_F(PcmStream, MuLawIsDeliveredIn16Bits) {
    // 0xFF and 0x7F are the two zeros; 0x80 and 0x00 are the largest values of the code.
    const auto stream = Open(AuFile(1, 8000, 1, std::string("\xFF\x7F\x80\x00", 4)), "a.au");

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->BitsPerSample(), 16);
    EXPECT_EQ(stream->SampleDataType(), ZRSampleDataType::Integer);
    EXPECT_EQ(Values16(ReadAll(*stream)), (std::vector<int>{0, 0, 32124, -32124}));
}

TEST_F(PcmStream, FloatsBeyondFullScaleAreUnchanged) {
    std::string samples;
    for (const float value : {1.5f, -2.0f, 3e38f})
        samples += Little(std::bit_cast<std::uint32_t>(value), 4);
    samples += Little(0x7FC00000, 4);
    const auto stream = Open(WaveFile(3, 1, 48000, 32, samples));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(ReadAll(*stream), samples);
}

TEST_F(PcmStream, ReadingFromAnyPositionHasTheSameBytes) {
    const std::string samples = NoiseBytes(4 * 300000);
    const auto stream = Open(WaveFile(1, 2, 48000, 16, samples));

    ASSERT_NE(stream, nullptr);
    for (const long long start : {299990LL, 0LL, 150001LL, 32767LL, 32768LL, 5LL, 299999LL}) {
        const int count = static_cast<int>(std::min(40000LL, 300000 - start));
        EXPECT_EQ(ReadRange(*stream, start, count), samples.substr(4 * start, 4 * count)) << start;
    }
}

TEST_F(PcmStream, ReadAcrossTheEndIsShortened) {
    const std::string samples = NoiseBytes(4 * 100);
    const auto stream = Open(WaveFile(1, 2, 48000, 16, samples));
    std::string buffer(4 * 50, '\x5A');
    int got = -1;

    const int code = stream->GetSamples(90, 50, buffer.data(), 200, &got);

    EXPECT_EQ(code, 0);
    EXPECT_EQ(got, 10);
    EXPECT_EQ(buffer.substr(0, 40), samples.substr(360));
    EXPECT_EQ(buffer.substr(40), std::string(160, '\x5A'));
}

TEST_F(PcmStream, AReadAtTheEndFailsWithoutFrames) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    char buffer[64];
    int got = -1;

    EXPECT_EQ(stream->GetSamples(100, 16, buffer, 64, &got), Code(MediaError::EndOfStream));
    EXPECT_EQ(got, 0);
    EXPECT_EQ(stream->GetSamples(1LL << 60, 16, buffer, 64, &got), Code(MediaError::EndOfStream));
    EXPECT_EQ(got, 0);
}

TEST_F(PcmStream, ARequestThatDoesNotFitTheBufferIsRefusedAndChangesNothing) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    std::string buffer(68, '\x5A');
    int got = -1;

    EXPECT_EQ(stream->GetSamples(0, 16, buffer.data(), 63, &got),
              Code(MediaError::InvalidArgument));
    EXPECT_EQ(got, 0);
    EXPECT_EQ(buffer, std::string(68, '\x5A'));
    EXPECT_EQ(stream->GetSamples(0, 16, buffer.data(), 64, &got), 0);
    EXPECT_EQ(buffer.substr(64), std::string(4, '\x5A'));
}

TEST_F(PcmStream, AnInvalidRequestIsRefused) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    char buffer[64];
    int got = -1;

    for (const auto& [start, count] : {std::pair{-1LL, 1}, {0LL, 0}, {0LL, -1}, {0LL, 1 << 30}}) {
        EXPECT_EQ(stream->GetSamples(start, count, buffer, 64, &got),
                  Code(MediaError::InvalidArgument));
        EXPECT_EQ(got, 0);
    }
    EXPECT_EQ(stream->GetSamples(0, 1, nullptr, 64, &got), Code(MediaError::InvalidArgument));
}

TEST_F(PcmStream, SamplesReadMayBeNull) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    char buffer[64];

    EXPECT_EQ(stream->GetSamples(0, 16, buffer, 64, nullptr), 0);
}

TEST_F(PcmStream, AStreamDeliversNothingAfterTheRelease) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    char buffer[64];
    int got = -1;
    ASSERT_EQ(stream->GetSamples(0, 16, buffer, 64, &got), 0);

    media_->Release();

    EXPECT_EQ(stream->GetSamples(0, 16, buffer, 64, &got), Code(MediaError::NotPrepared));
    EXPECT_EQ(got, 0);
}

TEST_F(PcmStream, ADeclaredLengthBeyondTheFileIsIgnored) {
    const std::string good = WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100));
    for (const std::uint32_t declared : {401u, 100000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        std::string bytes = good;
        bytes.replace(40, 4, Little(declared, 4));

        const auto stream = Open(bytes);

        ASSERT_NE(stream, nullptr) << declared;
        EXPECT_EQ(stream->SampleCount(), 100) << declared;
    }
}

TEST_F(PcmStream, DeclaredLengthWithinTheFileEndsTheStream) {
    std::string bytes = WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100));
    bytes.replace(40, 4, Little(4 * 40, 4));

    const auto stream = Open(bytes);

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), 40);
}

TEST_F(PcmStream, HalfAFrameAtTheEndDoesNotCount) {
    const std::string good = WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100));

    const auto stream = Open(good.substr(0, good.size() - 1));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), 99);
}

TEST_F(PcmStream, LongFileEndsWhereItsLastSampleEnds) {
    // Long enough that the end is searched backward; text follows the samples.
    const std::string samples = NoiseBytes(6 << 20);
    const std::string bytes = Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                                   Chunk("data", samples) + Chunk("LIST", "INFOabcdefgh"));

    const auto stream = Open(bytes);

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), (6 << 20) / 4);
    EXPECT_EQ(ReadRange(*stream, (6 << 20) / 4 - 3, 3), samples.substr(samples.size() - 12));
}

TEST_F(PcmStream, LongFileThatWasCutEndsWithItsLastWholeFrame) {
    const std::string bytes = WaveFile(1, 2, 48000, 16, NoiseBytes(8 << 20));

    const auto stream = Open(std::string_view(bytes).substr(0, 44 + (6 << 20) + 3));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), (6 << 20) / 4);
}

TEST_F(PcmStream, FileWithoutSamplesHasNoLength) {
    const auto stream = Open(WaveFile(1, 2, 48000, 16, ""));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), 0);
    EXPECT_EQ(ReadRange(*stream, 0, 1), "");
}

TEST_F(PcmStream, RatesFrom64To768000AreAccepted) {
    for (const int rate : {64, 768000}) {
        ASSERT_NE(Open(WaveFile(1, 1, rate, 16, NoiseBytes(2000))), nullptr) << rate;
        EXPECT_EQ(media_->Audio()->SampleRate(), rate);
    }
}

TEST_F(PcmStream, OtherRatesAreRefusedAtThePreparation) {
    for (const std::uint32_t rate : {1u, 63u, 768001u, 71582789u, 0x7FFFFFFFu}) {
        std::string bytes = WaveFile(1, 1, 48000, 16, NoiseBytes(2000));
        bytes.replace(24, 4, Little(rate, 4));

        Open(bytes);

        EXPECT_EQ(media_->CreateCode(), 0) << rate;
        EXPECT_EQ(media_->PrepareCode(), Code(MediaError::RateOutOfRange)) << rate;
    }
}

TEST_F(PcmStream, MoreThan16ChannelsCanBeRead) {
    const std::string samples = NoiseBytes(2 * 17 * 500);
    const auto stream = Open(WaveFile(1, 17, 48000, 16, samples));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->ChannelCount(), 17);
    EXPECT_EQ(ReadAll(*stream), samples);
}

TEST_F(PcmStream, AFileThatIsCutWhileItIsReadDeliversTheRestAndThenFails) {
    const std::string samples = NoiseBytes(4 * 200000);
    const auto stream = Open(WaveFile(1, 2, 48000, 16, samples));
    std::filesystem::resize_file(folder_ / "a.wav", 44 + 4 * 100000);
    std::string buffer(4 * 64, '\0');
    int got = -1;

    EXPECT_EQ(ReadRange(*stream, 99990, 64).size(), 40u);
    EXPECT_EQ(stream->GetSamples(100000, 64, buffer.data(), 256, &got),
              Code(MediaError::ReadFailed));
    EXPECT_EQ(got, 0);
}
