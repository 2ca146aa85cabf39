// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <random>

#include "tests/media/CodecMedia.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;

namespace {

enum class Likeness {
    Same,            ///< the bytes of a straight decode
    Upper16Bits,     ///< 24 bits; their upper 16 bits are the bytes of a straight decode
    Rounding,        ///< another decoder of the same codec; differs by at most 1
    FirstTenSeconds  ///< the decoder adds noise, which is reset every ten seconds
};

struct Codec {
    const char* file;
    Likeness likeness;
    int channels = 2;
    /// Frames of a straight decode beyond the length that the file declares.
    int surplus = 0;
};

void PrintTo(const Codec& codec, std::ostream* out) {
    *out << codec.file;
}

class CodecStream : public testing::TestWithParam<Codec> {
protected:
    CodecStream() : media_(CodecMedia(GetParam().file)), stream_(media_.Audio()) {}

    void SetUp() override { ASSERT_NE(stream_, nullptr); }

    /// The samples that the ffmpeg program decodes, up to the end that the file declares.
    static std::vector<int> StraightDecode() {
        std::vector<int> values =
            Values16(ReadFile(CodecMedia(std::string(GetParam().file) + ".s16")));
        values.resize(values.size() -
                      static_cast<std::size_t>(GetParam().surplus * GetParam().channels));
        return values;
    }

    OpenedMedia media_;
    std::shared_ptr<ZRAbstractAudioStream> stream_;
};

std::vector<int> Upper16Of24(const std::string& bytes) {
    std::string upper;
    for (std::size_t i = 0; i < bytes.size(); i += 3) upper += bytes.substr(i + 1, 2);
    return Values16(upper);
}

int LargestDifference(const std::vector<int>& a, const std::vector<int>& b) {
    int largest = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        largest = std::max(largest, std::abs(a[i] - b[i]));
    }
    return largest;
}

std::string NameOf(const testing::TestParamInfo<Codec>& info) {
    std::string name = info.param.file;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

}  // namespace

TEST_P(CodecStream, HasTheExactLength) {
    EXPECT_EQ(stream_->ChannelCount(), GetParam().channels);
    EXPECT_EQ(stream_->SampleCount(),
              static_cast<long long>(StraightDecode().size()) / GetParam().channels);
}

TEST_P(CodecStream, EqualsAStraightDecode) {
    const std::string bytes = ReadAll(*stream_);
    std::vector<int> expected = StraightDecode();
    std::vector<int> values = stream_->BitsPerSample() == 24 ? Upper16Of24(bytes) : Values16(bytes);
    ASSERT_EQ(values.size(), expected.size());

    if (GetParam().likeness == Likeness::FirstTenSeconds) {
        const std::size_t tenSeconds =
            static_cast<std::size_t>(10 * stream_->SampleRate() * stream_->ChannelCount());
        values.resize(tenSeconds);
        expected.resize(tenSeconds);
    }

    const int allowed = GetParam().likeness == Likeness::Rounding ? 1 : 0;
    EXPECT_LE(LargestDifference(values, expected), allowed);
}

TEST_P(CodecStream, HasTheSameBytesFromAnyPositionInAnyOrder) {
    const std::string whole = ReadAll(*stream_);
    const OpenedMedia other(CodecMedia(GetParam().file));
    const auto twin = other.Audio();
    const std::size_t frame = BytesPerFrame(*stream_);
    std::mt19937 random(7);

    for (int i = 0; i < 12; ++i) {
        const long long start = random() % stream_->SampleCount();
        const int count = 1 + random() % 5000;
        EXPECT_EQ(ReadRange(*twin, start, count), whole.substr(start * frame, count * frame))
            << start << " + " << count;
    }
}

TEST_P(CodecStream, ReadsAcrossTheBorderOfSegmentsInSmallSteps) {
    const long long border = 10LL * stream_->SampleRate();
    const std::string together = ReadRange(*stream_, border - 6400, 12800);

    std::string inSteps;
    for (int i = 0; i < 400; ++i) inSteps += ReadRange(*stream_, border - 6400 + 32 * i, 32);

    EXPECT_TRUE(inSteps == together);
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, CodecStream,
    testing::Values(Codec{"flac.flac", Likeness::Same}, Codec{"flac.oga", Likeness::Same},
                    Codec{"flac.mka", Likeness::Same}, Codec{"alac.m4a", Likeness::Same},
                    Codec{"wavpack.wv", Likeness::Same}, Codec{"tta.tta", Likeness::Same},
                    Codec{"truehd.thd", Likeness::Upper16Bits}, Codec{"pcm.mov", Likeness::Same},
                    Codec{"pcm.w64", Likeness::Same}, Codec{"adpcm.wav", Likeness::Same},
                    Codec{"qt.mov", Likeness::Same}, Codec{"mp3.mp3", Likeness::Same},
                    Codec{"mp3.avi", Likeness::Same}, Codec{"mp2.mpg", Likeness::Rounding},
                    // 12.3 seconds are 542430 frames; packets of 1024 end 290 frames later.
                    Codec{"aac.m4a", Likeness::FirstTenSeconds, 2, 290},
                    Codec{"aacplain.m4a", Likeness::Same, 2, 290},
                    Codec{"aac.aac", Likeness::FirstTenSeconds},
                    Codec{"aac.ts", Likeness::FirstTenSeconds}, Codec{"vorbis.ogg", Likeness::Same},
                    Codec{"opus.opus", Likeness::Same}, Codec{"opus.webm", Likeness::Same},
                    Codec{"ac3.ac3", Likeness::FirstTenSeconds},
                    Codec{"eac3.mp4", Likeness::FirstTenSeconds}, Codec{"dts.dts", Likeness::Same},
                    Codec{"wma.wma", Likeness::Same}, Codec{"gsm.wav", Likeness::Same, 1},
                    Codec{"speex.spx", Likeness::Same, 1}),
    NameOf);

TEST(CodecStreams, LosslessSoundIsTheSource) {
    const std::string source = ReadFile(CodecMedia("source.wav"));
    const std::string samples = source.substr(source.find("data") + 8);

    for (const char* file : {"flac.flac", "flac.oga", "flac.mka", "alac.m4a", "wavpack.wv",
                             "tta.tta", "pcm.mov", "pcm.w64"}) {
        const OpenedMedia media(CodecMedia(file));
        EXPECT_TRUE(ReadAll(*media.Audio()) == samples) << file;
    }
}

TEST(CodecStreams, FlacOf24BitsIsPacked) {
    const std::string source = ReadFile(CodecMedia("fine.wav"));
    const OpenedMedia media(CodecMedia("flac24.flac"));
    const auto stream = media.Audio();

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->BitsPerSample(), 24);
    EXPECT_EQ(stream->SampleRate(), 96000);
    EXPECT_EQ(stream->SampleCount(), 288000);
    EXPECT_TRUE(ReadAll(*stream) == source.substr(source.find("data") + 8));
}

TEST(CodecStreams, SoundThatStartsAfterThePictureStartsWithSilence) {
    const OpenedMedia plain(CodecMedia("source.wav"));
    const OpenedMedia late(CodecMedia("late.mkv"));
    const auto stream = late.Audio();

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(ReadRange(*stream, 0, 22050), std::string(22050 * 4, '\0'));
    EXPECT_EQ(ReadRange(*stream, 22050, 5000), ReadRange(*plain.Audio(), 0, 5000));
    const std::string across = ReadRange(*stream, 22040, 20);
    EXPECT_EQ(across, std::string(40, '\0') + ReadRange(*plain.Audio(), 0, 10));
}

TEST(CodecStreams, LateSoundInMp4StartsWithSilence) {
    // The muxer writes an empty edit of 20992 frames and then 152 packets of 1024, the first of
    // which is the encoder's start.
    const OpenedMedia late(CodecMedia("late.mp4"));
    const auto stream = late.Audio();

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->SampleCount(), 20992 + 152 * 1024);
    EXPECT_TRUE(ReadRange(*stream, 0, 20992) == std::string(20992 * 4, '\0'));
    EXPECT_FALSE(ReadRange(*stream, 22050, 64) == std::string(64 * 4, '\0'));
}

TEST(CodecStreams, SoundThatStartsBeforeOrWithoutAPictureIsNotShifted) {
    const OpenedMedia plain(CodecMedia("source.wav"));

    for (const char* file : {"early.mkv", "latealone.mka"}) {
        const OpenedMedia media(CodecMedia(file));
        ASSERT_NE(media.Audio(), nullptr) << file;
        EXPECT_EQ(ReadRange(*media.Audio(), 0, 5000), ReadRange(*plain.Audio(), 0, 5000)) << file;
    }
}

TEST(CodecStreams, OnlyAudioStreamsHaveTypeZero) {
    const OpenedMedia media(CodecMedia("two.mkv"));
    ASSERT_EQ(media.PrepareCode(), 0);
    const auto& streams = media.File()->Streams();

    ASSERT_EQ(streams.size(), 3u);
    EXPECT_NE(streams[0]->StreamType(), 0);
    EXPECT_EQ(streams[1]->StreamType(), 0);
    EXPECT_EQ(streams[2]->StreamType(), 0);
    EXPECT_EQ(media.Audio(1)->SampleRate(), 8000);
    EXPECT_EQ(media.Audio(1)->ChannelCount(), 1);
    EXPECT_EQ(media.Audio(2), nullptr);
}

TEST(CodecStreams, TwoStreamsOfOneFileCanBeReadAlternately) {
    const OpenedMedia media(CodecMedia("two.mkv"));
    const std::string first = ReadAll(*media.Audio(0));
    const std::string second = ReadAll(*media.Audio(1));

    EXPECT_EQ(ReadRange(*media.Audio(0), 1000, 500), first.substr(4000, 2000));
    EXPECT_EQ(ReadRange(*media.Audio(1), 1000, 500), second.substr(2000, 1000));
    EXPECT_EQ(ReadRange(*media.Audio(0), 1500, 500), first.substr(6000, 2000));
}

TEST(CodecStreams, PictureStreamDeliversNoSamples) {
    const OpenedMedia media(CodecMedia("two.mkv"));
    char buffer[64];
    int got = -1;

    EXPECT_EQ(media.File()->Streams()[0]->GetSamples(0, 4, buffer, 64, &got),
              Code(MediaError::NotAudio));
    EXPECT_EQ(got, 0);
}

TEST(CodecStreams, AFilmWithoutSoundIsPreparedAndHasNoAudioStream) {
    const OpenedMedia media(CodecMedia("silent.mp4"));

    EXPECT_EQ(media.PrepareCode(), 0);
    EXPECT_EQ(media.Audio(), nullptr);
}
