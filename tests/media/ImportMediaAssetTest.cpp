// SPDX-License-Identifier: MIT
#include "sonrel/media/ImportMediaAsset.h"

#include "sonrel/media/MediaInfo.h"
#include "tests/media/CodecMedia.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;
using orlo::project::ImportMediaAsset;
using orlo::project::MediaManager;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamKind;
using zrh::media::ZRAudioCodec;

namespace {

std::wstring WidePath(const char* file) {
    return zrtl::FromUtf8(CodecMedia(file).string());
}

int ImportCode(const std::wstring& path, int index = 0) {
    try {
        ImportMediaAsset(std::make_shared<MediaManager>(), path, index);
    } catch (const zrh::media::ZRMediaException& exception) {
        return exception.Code();
    }
    return 0;
}

}  // namespace

TEST(ImportMediaAsset, ASoundFileHasItsRateLengthAndCodec) {
    const auto manager = std::make_shared<MediaManager>();

    const auto asset = ImportMediaAsset(manager, WidePath("flac.flac"));

    EXPECT_EQ(asset->Filename(), WidePath("flac.flac"));
    EXPECT_EQ(asset->MediaManager(), manager);
    EXPECT_EQ(asset->AudioStreamIndex(), 0u);
    ASSERT_TRUE(asset->HasAudio());
    EXPECT_FALSE(asset->HasVideo());
    EXPECT_EQ(asset->AudioStream()->NativeSampleRate(), 44100);
    EXPECT_EQ(asset->AudioStream()->NativeSampleCount(), 542430);
    EXPECT_EQ(asset->AudioStream()->Codec(), ZRAudioCodec::Lossless);
    EXPECT_FALSE(asset->AudioStream()->SamplesAvailable());
}

TEST(ImportMediaAsset, CodecsAreReported) {
    const auto codecOf = [](const char* file) {
        return ImportMediaAsset(std::make_shared<MediaManager>(), WidePath(file))
            ->AudioStream()
            ->Codec();
    };

    EXPECT_EQ(codecOf("source.wav"), ZRAudioCodec::Pcm);
    EXPECT_EQ(codecOf("mp3.mp3"), ZRAudioCodec::Mpeg);
    EXPECT_EQ(codecOf("aac.m4a"), ZRAudioCodec::Aac);
    EXPECT_EQ(codecOf("vorbis.ogg"), ZRAudioCodec::Ogg);
    EXPECT_EQ(codecOf("wavpack.wv"), ZRAudioCodec::Lossless);
    EXPECT_EQ(codecOf("ac3.ac3"), ZRAudioCodec::Other);
}

TEST(ImportMediaAsset, AFilmHasItsFrameRateAndFrameCount) {
    for (const char* file : {"late.mkv", "late.mp4"}) {
        const auto asset = ImportMediaAsset(std::make_shared<MediaManager>(), WidePath(file));

        ASSERT_TRUE(asset->HasVideo()) << file;
        EXPECT_EQ(asset->VideoStream()->FrameRate(), 25.0) << file;
        EXPECT_EQ(asset->VideoStream()->FrameCount(), 100) << file;
        EXPECT_EQ(asset->AudioStream()->FrameRate(), 25.0) << file;
    }
}

TEST(ImportMediaAsset, TheIndexCountsAudioStreamsOnly) {
    const auto asset = ImportMediaAsset(std::make_shared<MediaManager>(), WidePath("two.mkv"), 1);

    EXPECT_EQ(asset->AudioStreamIndex(), 1u);
    EXPECT_EQ(asset->AudioStream()->NativeSampleRate(), 8000);
}

TEST(ImportMediaAsset, AFilmWithoutSoundHasNoAudioStream) {
    const auto asset = ImportMediaAsset(std::make_shared<MediaManager>(), WidePath("silent.mp4"));

    EXPECT_FALSE(asset->HasAudio());
    EXPECT_TRUE(asset->HasVideo());
}

TEST(ImportMediaAsset, ACoverIsNotAVideoStream) {
    const auto asset = ImportMediaAsset(std::make_shared<MediaManager>(), WidePath("cover.flac"));

    EXPECT_TRUE(asset->HasAudio());
    EXPECT_FALSE(asset->HasVideo());
}

TEST(ImportMediaAsset, AFailureThrowsTheCodeOfTheLibrary) {
    EXPECT_EQ(ImportCode(WidePath("nothing.flac")), Code(MediaError::NotFound));
    EXPECT_EQ(ImportCode(WidePath("cover.png")), Code(MediaError::RefusedFormat));
    EXPECT_EQ(ImportCode(WidePath("two.mkv"), 2), Code(MediaError::NotAudio));
    EXPECT_EQ(ImportCode(WidePath("silent.mp4"), 1), Code(MediaError::NotAudio));
}

TEST(ImportMediaAsset, NegativeIndexIsInvalid) {
    EXPECT_THROW(ImportMediaAsset(std::make_shared<MediaManager>(), WidePath("two.mkv"), -1),
                 std::invalid_argument);
}

TEST(DescribeMedia, ReportsEveryStreamInFileOrder) {
    MediaInfo info;

    ASSERT_EQ(zrh::media::DescribeMedia(WidePath("two.mkv"), &info), 0);

    EXPECT_EQ(info.format, "matroska,webm");
    ASSERT_EQ(info.streams.size(), 3u);
    EXPECT_EQ(info.streams[0].kind, MediaStreamKind::Video);
    EXPECT_EQ(info.streams[0].codec, "mpeg4");
    EXPECT_EQ(info.streams[0].width, 64);
    EXPECT_EQ(info.streams[0].height, 48);
    EXPECT_EQ(info.streams[0].frameRate, 25.0);
    EXPECT_EQ(info.streams[0].frameCount, 100);
    EXPECT_EQ(info.streams[1].kind, MediaStreamKind::Audio);
    EXPECT_EQ(info.streams[1].codec, "flac");
    EXPECT_EQ(info.streams[1].sampleRate, 44100);
    EXPECT_EQ(info.streams[1].channels, 2);
    EXPECT_EQ(info.streams[1].bitsPerSample, 16);
    EXPECT_EQ(info.streams[1].sampleCount, 176400);
    EXPECT_EQ(info.streams[1].error, 0);
    EXPECT_EQ(info.streams[2].sampleCount, 32000);
}

TEST(DescribeMedia, ACoverIsReported) {
    MediaInfo info;

    ASSERT_EQ(zrh::media::DescribeMedia(WidePath("cover.flac"), &info), 0);

    ASSERT_EQ(info.streams.size(), 2u);
    EXPECT_EQ(info.streams[1].kind, MediaStreamKind::Cover);
}

TEST(DescribeMedia, AFailureLeavesTheInfoUnchanged) {
    MediaInfo info;
    info.format = "untouched";

    EXPECT_EQ(zrh::media::DescribeMedia(WidePath("nothing.flac"), &info),
              Code(MediaError::NotFound));
    EXPECT_EQ(info.format, "untouched");
}
