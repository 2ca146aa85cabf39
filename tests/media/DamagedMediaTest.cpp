// SPDX-License-Identifier: MIT
#include "tests/media/CodecMedia.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/Noise.h"

using namespace sonrel_tests;

namespace {

/// Damaged copies of a good file.
class DamagedMedia : public testing::TestWithParam<const char*> {
protected:
    std::filesystem::path Damaged(const std::string& bytes) {
        // With the same extension, which helps to recognise the format.
        const auto path =
            folder_ / (std::string("a") + std::filesystem::path(GetParam()).extension().string());
        WriteFile(path, bytes);
        return path;
    }

    TemporaryFolder folder_;
    std::string good_ = ReadFile(CodecMedia(GetParam()));
};

/// Reads a file twice, from the start and from the middle, and compares.
void ExpectConsistent(const std::filesystem::path& path) {
    const OpenedMedia media(path);
    const auto stream = media.Audio();
    if (stream == nullptr) return;
    const std::string whole = ReadAll(*stream);
    EXPECT_EQ(static_cast<long long>(whole.size()), stream->SampleCount() * BytesPerFrame(*stream));
    const OpenedMedia other(path);
    const long long middle = stream->SampleCount() / 2;
    const std::size_t frame = BytesPerFrame(*stream);
    if (stream->SampleCount() > 0) {
        EXPECT_TRUE(ReadRange(*other.Audio(), middle, 3000) ==
                    whole.substr(middle * frame, 3000 * frame));
    }
}

}  // namespace

/// Formats whose packets can be found when one of them is damaged.
class DamagedPacket : public DamagedMedia {};

TEST_P(DamagedPacket, DoesNotShiftTheOtherPackets) {
    const OpenedMedia media(CodecMedia(GetParam()));
    const auto intact = media.Audio();
    std::string bytes = good_;
    const std::size_t at = bytes.size() / 2;
    bytes.replace(at, 40, std::string(40, '\x55'));
    const OpenedMedia damagedMedia(Damaged(bytes));
    const auto damaged = damagedMedia.Audio();

    ASSERT_NE(damaged, nullptr);
    EXPECT_EQ(damaged->SampleCount(), intact->SampleCount());
    const long long last = intact->SampleCount() - 4000;
    EXPECT_TRUE(ReadRange(*damaged, last, 4000) == ReadRange(*intact, last, 4000));
    EXPECT_TRUE(ReadRange(*damaged, 0, 4000) == ReadRange(*intact, 0, 4000));
}

TEST_P(DamagedMedia, CutFileIsReadConsistentlyOrRefused) {
    for (const double part : {0.001, 0.1, 0.5, 0.9, 0.999}) {
        SCOPED_TRACE(part);
        ExpectConsistent(Damaged(good_.substr(0, static_cast<std::size_t>(part * good_.size()))));
    }
}

TEST_P(DamagedMedia, ScatteredDamageIsReadConsistentlyOrRefused) {
    std::string bytes = good_;
    for (const std::uint32_t random : MakeNoise(60, 99, [](std::uint32_t bits) { return bits; })) {
        bytes[random % bytes.size()] = static_cast<char>(random >> 16);
    }
    ExpectConsistent(Damaged(bytes));
}

TEST_P(DamagedMedia, AFileThatIsEmptiedWhileItIsReadFails) {
    const auto path = Damaged(good_);
    const OpenedMedia media(path);
    const auto stream = media.Audio();
    ASSERT_NE(stream, nullptr);
    std::filesystem::resize_file(path, 0);
    char buffer[4096];
    int got = -1;

    EXPECT_EQ(stream->GetSamples(stream->SampleCount() / 2, 32, buffer, sizeof(buffer), &got),
              Code(MediaError::ReadFailed));
    EXPECT_EQ(got, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, DamagedPacket,
                         testing::Values("alac.m4a", "aacplain.m4a", "flac.flac", "flac.mka",
                                         "mp3.avi", "mp3.mp3", "opus.webm", "wavpack.wv"),
                         NameOfFile);

INSTANTIATE_TEST_SUITE_P(Formats, DamagedMedia,
                         testing::Values("flac.flac", "mp3.mp3", "aacplain.m4a", "vorbis.ogg",
                                         "opus.opus", "flac.mka", "dts.dts"),
                         NameOfFile);

TEST(ChangedMedia, AReplacedFileIsReadInTheOpenedState) {
    const TemporaryFolder folder;
    const std::string samples = NoiseBytes(4 * 50000);
    WriteFile(folder / "a.wav", WaveFile(1, 2, 48000, 16, samples));
    const OpenedMedia media(folder / "a.wav");
    WriteFile(folder / "b.wav", WaveFile(1, 2, 48000, 16, std::string(4 * 50000, '\0')));
    std::filesystem::rename(folder / "b.wav", folder / "a.wav");

    EXPECT_TRUE(ReadAll(*media.Audio()) == samples);
}

TEST(ChangedMedia, AChangedFileIsIndexedAgain) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 100)));
    const OpenedMedia first(folder / "a.wav");
    WriteFile(folder / "a.wav", WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 60)));
    const OpenedMedia second(folder / "a.wav");

    EXPECT_EQ(first.Audio()->SampleCount(), 100);
    EXPECT_EQ(second.Audio()->SampleCount(), 60);
}

namespace {

/// The checksum of a page of Ogg.
std::uint32_t ChecksumOf(const std::string& page) {
    std::uint32_t sum = 0;
    for (const char byte : page) {
        sum ^= static_cast<std::uint32_t>(static_cast<unsigned char>(byte)) << 24;
        for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ ((sum >> 31) != 0 ? 0x04C11DB7u : 0);
    }
    return sum;
}

/// A page of 65025 bytes in the middle of a packet of the stream with a given header.
std::string PageWithin(const std::string& file, std::size_t header) {
    const std::string stream = file.substr(file.rfind("OggS", header) + 14, 4);
    const std::string front = std::string("OggS\0\1", 6) + std::string(8, '\xFF') + stream;
    const std::string back = std::string(1, '\xFF') + std::string(255, '\xFF');
    const std::string sound = std::string(255 * 255, '\0');
    const std::string number(4, '\0');
    const std::string sum =
        Little(ChecksumOf(front + number + std::string(4, '\0') + back + sound), 4);
    return front + number + sum + back + sound;
}

}  // namespace

TEST(DamagedOgg, APicturePacketHasAtMost64MB) {
    const TemporaryFolder folder;
    const std::string good = ReadFile(CodecMedia("picture.ogv"));
    const std::string page = PageWithin(good, good.find("\x80theora"));
    const auto prepare = [&](int pages) {
        std::string bytes = good;
        for (int i = 0; i < pages; ++i) bytes += page;
        WriteFile(folder / "a.ogv", bytes);
        return OpenedMedia(folder / "a.ogv").PrepareCode();
    };

    EXPECT_EQ(prepare(900), 0);
    EXPECT_EQ(prepare(1100), Code(MediaError::ProbeLimit));
}
