// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaAsset.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "sonrel/project/MediaManager.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using orlo::project::MediaAsset;
using orlo::project::MediaAudioStream;
using orlo::project::MediaManager;
using orlo::project::MediaVideoStream;
using orlo::project::ZRAudioCodec;
using sonrel_tests::ConformedFileBytes;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

std::unique_ptr<MediaAudioStream> Audio() {
    return std::make_unique<MediaAudioStream>(44100, 1000, ZRAudioCodec::Pcm);
}

TEST(MediaAsset, HasAudioAndVideoWhenItHasTheStreams) {
    MediaAsset asset(nullptr, L"/m/a.wav");
    EXPECT_EQ(asset.AssetType(), 0);
    EXPECT_FALSE(asset.HasAudio());
    EXPECT_FALSE(asset.HasVideo());
    EXPECT_EQ(asset.AudioStream(), nullptr);
    EXPECT_EQ(asset.VideoStream(), nullptr);

    asset.SetAudioStream(Audio());
    EXPECT_TRUE(asset.HasAudio());
    EXPECT_TRUE(asset.HasAudioV2());
    EXPECT_FALSE(asset.HasVideoV2());
    asset.SetVideoStream(std::make_unique<MediaVideoStream>(25.0, 10));
    EXPECT_TRUE(asset.HasVideo());
    asset.SetAudioStream(nullptr);
    EXPECT_FALSE(asset.HasAudio());
}

TEST(MediaAsset, KeepsFileStreamIndexAndMergedFile) {
    MediaAsset asset(nullptr, L"/m/a.wav");
    EXPECT_EQ(asset.Filename(), L"/m/a.wav");
    EXPECT_EQ(asset.AudioStreamIndex(), 0u);
    EXPECT_FALSE(asset.IsMerged());

    asset.SetAudioStreamIndex(3);
    asset.SetMerged(L"/m/b.wav");
    EXPECT_EQ(asset.AudioStreamIndex(), 3u);
    EXPECT_TRUE(asset.IsMerged());
    EXPECT_EQ(asset.MergedAudioFilename(), L"/m/b.wav");
    EXPECT_EQ(asset.Filename(), L"/m/a.wav");
    asset.ClearMerged();
    EXPECT_FALSE(asset.IsMerged());
    EXPECT_EQ(asset.MergedAudioFilename(), L"");
}

TEST(MediaAsset, TwoAssetsHaveTwoIdentities) {
    EXPECT_NE(MediaAsset(nullptr, L"a").ID(), MediaAsset(nullptr, L"a").ID());
    EXPECT_FALSE(MediaAsset(nullptr, L"a").ID().IsNull());
}

TEST(MediaAsset, HoldsItsManagerWeakly) {
    auto manager = std::make_shared<MediaManager>();
    const MediaAsset asset(manager, L"/m/a.wav");
    EXPECT_EQ(asset.MediaManager(), manager);

    manager.reset();

    EXPECT_EQ(asset.MediaManager(), nullptr);
}

TEST(MediaAsset, ACopyHasTheIdentityAndItsOwnStreams) {
    const auto manager = std::make_shared<MediaManager>();
    MediaAsset asset(manager, L"/m/a.wav");
    asset.SetAudioStream(Audio());
    asset.SetMerged(L"/m/b.wav");

    const MediaAsset copy(asset);
    asset.AudioStream()->SetConformedSampleCount(5);

    EXPECT_EQ(copy.ID(), asset.ID());
    EXPECT_EQ(copy.Filename(), L"/m/a.wav");
    EXPECT_TRUE(copy.IsMerged());
    EXPECT_EQ(copy.MediaManager(), manager);
    EXPECT_EQ(copy.VideoStream(), nullptr);
    EXPECT_EQ(copy.AudioStream()->NativeSampleRate(), 44100);
    EXPECT_EQ(copy.AudioStream()->ConformedSampleCount(), 0);
}

TEST(MediaAsset, ACopyHasTheManagerOfItsArgument) {
    const auto first = std::make_shared<MediaManager>();
    const auto second = std::make_shared<MediaManager>();
    const MediaAsset asset(first, L"/m/a.wav");

    EXPECT_EQ(MediaAsset(asset, second).MediaManager(), second);
}

TEST(MediaAudioStream, StartsWithItsNativeFormatAndWithoutCaches) {
    const MediaAudioStream stream(44100, 1000, ZRAudioCodec::Aac);

    EXPECT_EQ(stream.Codec(), ZRAudioCodec::Aac);
    EXPECT_EQ(stream.NativeSampleRate(), 44100);
    EXPECT_EQ(stream.NativeSampleCount(), 1000);
    EXPECT_FALSE(stream.SamplesAvailable());
    EXPECT_EQ(stream.ConformedFilePath(), L"");
    EXPECT_EQ(stream.ConformedSampleCount(), 0);
    EXPECT_EQ(stream.ConformedSampleRate(), 0);
    EXPECT_EQ(stream.WaveformPeakFilePath(), L"");
    EXPECT_FALSE(stream.WaveformPreviewAvailable());
    EXPECT_FALSE(stream.IsMerged());
}

TEST(MediaAudioStream, ARecordedConformedFileReportsItsLength) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.xwmc", ConformedFileBytes(777));
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);

    stream.SetConformedFile(folder.Wide("a.xwmc"), 48000);

    EXPECT_EQ(stream.ConformedFilePath(), folder.Wide("a.xwmc"));
    EXPECT_EQ(stream.ConformedSampleRate(), 48000);
    EXPECT_EQ(stream.ConformedSampleCount(), 777);
    EXPECT_FALSE(stream.SamplesAvailable());
}

TEST(MediaAudioStream, AConformedFileThatCannotBeOpenedHasNoLength) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.xwmc", ConformedFileBytes(777));
    WriteFile(folder / "bad.xwmc", ConformedFileBytes(777).substr(0, 100));
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);
    for (const std::wstring& path :
         {std::wstring(), folder.Wide("missing.xwmc"), folder.Wide("bad.xwmc")}) {
        stream.SetConformedFile(folder.Wide("a.xwmc"), 48000);
        stream.SetConformedFile(path, 44100);

        EXPECT_EQ(stream.ConformedFilePath(), path);
        EXPECT_EQ(stream.ConformedSampleRate(), 44100);
        EXPECT_EQ(stream.ConformedSampleCount(), 0);
    }
}

TEST(MediaAudioStream, ClearingRemovesOnlyPathRateAndLength) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.xwmc", ConformedFileBytes(777));
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);
    stream.SetConformedFile(folder.Wide("a.xwmc"), 48000);
    stream.SetSamplesAvailable(true);

    stream.ClearConformedFile();

    EXPECT_EQ(stream.ConformedFilePath(), L"");
    EXPECT_EQ(stream.ConformedSampleRate(), 0);
    EXPECT_EQ(stream.ConformedSampleCount(), 0);
    EXPECT_TRUE(stream.SamplesAvailable());
    EXPECT_EQ(stream.NativeSampleCount(), 1000);
}

TEST(MediaAudioStream, KeepsItsPeakFile) {
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);
    stream.SetWaveformPeakFilePath(L"/c/a.xwpk");
    stream.SetWaveformPreviewAvailable(true);

    EXPECT_EQ(stream.WaveformPeakFilePath(), L"/c/a.xwpk");
    EXPECT_TRUE(stream.WaveformPreviewAvailable());
}

TEST(MediaAudioStream, IsMergedWhenItsAssetIs) {
    MediaAsset asset(nullptr, L"/m/a.wav");
    asset.SetAudioStream(Audio());
    EXPECT_FALSE(asset.AudioStream()->IsMerged());

    asset.SetMerged(L"/m/b.wav");
    EXPECT_TRUE(asset.AudioStream()->IsMerged());
    EXPECT_TRUE(MediaAsset(asset).AudioStream()->IsMerged());
    asset.SetAudioStream(Audio());
    EXPECT_TRUE(asset.AudioStream()->IsMerged());
    asset.SetAudioStream(nullptr);
    asset.ClearMerged();
    asset.SetAudioStream(Audio());
    EXPECT_FALSE(asset.AudioStream()->IsMerged());
}

TEST(MediaAudioStream, AMergedRangeDoesNotMakeItMerged) {
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);

    stream.SetMergedSampleRange(10, 50);

    EXPECT_FALSE(stream.IsMerged());
    EXPECT_EQ(stream.MergedSampleRange(), std::make_pair(10LL, 50LL));
}

TEST(MediaAudioStream, WithoutAMergedRangeItIsTheRangeOfTheConformedSamples) {
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);
    stream.SetConformedSampleCount(777);
    EXPECT_EQ(stream.MergedSampleRange(), std::make_pair(0LL, 777LL));

    stream.SetMergedSampleRange(10, 50);
    stream.ClearMergedSampleRange();

    EXPECT_EQ(stream.MergedSampleRange(), std::make_pair(0LL, 777LL));
}

TEST(MediaAudioStream, ImpossibleNumbersAreRefused) {
    MediaAudioStream stream(44100, 1000, ZRAudioCodec::Pcm);
    EXPECT_THROW(MediaAudioStream(-1, 0, ZRAudioCodec::Pcm), std::invalid_argument);
    EXPECT_THROW(MediaAudioStream(1, -1, ZRAudioCodec::Pcm), std::invalid_argument);
    EXPECT_THROW(stream.SetFrameRate(0.0), std::invalid_argument);
    EXPECT_THROW(stream.SetFrameRate(std::nan("")), std::invalid_argument);
    EXPECT_THROW(stream.SetMergedSampleRange(-1, 5), std::invalid_argument);
    EXPECT_THROW(stream.SetMergedSampleRange(5, 4), std::invalid_argument);
    EXPECT_THROW(stream.SetConformedSampleCount(-1), std::invalid_argument);
    EXPECT_NO_THROW(stream.SetMergedSampleRange(5, 5));
    EXPECT_EQ(stream.FrameRate(), 25.0);
}

TEST(MediaManager, APathAlwaysHasTheSameLockAndEachKindASeparateLock) {
    MediaManager manager;
    auto& conformed = manager.ConformedAudioCacheFileCS(L"/m/a.wav");
    auto& peak = manager.WaveformPeakFileCS(L"/m/a.wav");
    for (int i = 0; i < 1000; ++i) manager.ConformedAudioCacheFileCS(std::to_wstring(i));

    EXPECT_EQ(&manager.ConformedAudioCacheFileCS(L"/m/a.wav"), &conformed);
    EXPECT_EQ(&manager.WaveformPeakFileCS(L"/m/a.wav"), &peak);
    EXPECT_NE(&conformed, &peak);
    EXPECT_NE(&manager.ConformedAudioCacheFileCS(L"/m/A.wav"), &conformed);
}

TEST(MediaManager, TwoManagersHaveTwoLocks) {
    MediaManager first;
    MediaManager second;

    EXPECT_NE(&first.ConformedAudioCacheFileCS(L"/a"), &second.ConformedAudioCacheFileCS(L"/a"));
}

TEST(MediaManager, ManyThreadsGetTheSameLock) {
    MediaManager manager;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const zrtl::thread::ZRScopedLock hold(
                    manager.ConformedAudioCacheFileCS(L"/m/a.wav"));
                manager.WaveformPeakFileCS(std::to_wstring(i));
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(counter, 2000);
}

}  // namespace
