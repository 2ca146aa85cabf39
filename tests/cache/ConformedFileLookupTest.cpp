// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "sonrel/cache/detail/MediaFingerprint.h"
#include "tests/cache/ConformedFileFixture.h"

namespace {

using namespace orlo::sonrel::ConformedAudioFileHelper;
using orlo::project::MediaDB;
using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::ReadFile;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using zrh::media::ZRAudioCodec;

class ConformedFileLookup : public sonrel_tests::ConformedFileFixture {};

TEST_F(ConformedFileLookup, ANewFileIsConvertedAndThenRecordedUnderItsWholeKey) {
    const std::wstring path = Create(44100);

    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(path, folder.Wide("cache/" + CacheFiles()[0]));
    EXPECT_EQ(ReadFile(folder / "cache" / CacheFiles()[0]), "done");
    ASSERT_THAT(db.conformed, SizeIs(1));
    const MediaDB::ConformedFile& record = db.conformed[0];
    EXPECT_EQ(record.mediaPath, mediaPath);
    EXPECT_EQ(record.mediaFingerprint, MediaFingerprint(mediaPath));
    EXPECT_EQ(record.streamIndex, 0);
    EXPECT_EQ(record.sampleRate, 44100);
    EXPECT_EQ(record.cacheFilename, zrtl::FromUtf8(CacheFiles()[0]));
    EXPECT_THAT(db.Calls(), ElementsAre("GetConformedFilename", "AddConformedFile"));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileLookup, ANewFileIsRecordedWithItsChecksum) {
    Create();

    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.checksums.at(db.conformed[0].cacheFilename), sonrel_tests::FAKE_CHECKSUM);
}

TEST_F(ConformedFileLookup, ANewFilesNameIsAnIdentityWithTheExtension) {
    Create();

    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_THAT(
        CacheFiles()[0],
        MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\\.xwmc"));
}

TEST_F(ConformedFileLookup, TheMediaLibraryIsCalledInOrderAndTheStreamGoesBeforeTheFile) {
    Create(44100);

    EXPECT_THAT(media.Calls(),
                ElementsAre("Create " + (folder / "a.mov").string(), "SetReadOption 1", "Prepare",
                            "Streams", "Convert stream 0 at 44100", "Release"));
}

TEST_F(ConformedFileLookup, ASecondCallFindsTheFileAndStampsItWithoutReadingTheMedia) {
    const std::wstring first = Create();
    db.ForgetCalls();
    const int opened = media.CallCount("Create");

    const std::wstring second = Create();

    EXPECT_EQ(second, first);
    EXPECT_THAT(db.Calls(), ElementsAre("GetConformedFilename", "TouchConformedFile"));
    EXPECT_EQ(media.CallCount("Create"), opened);
}

TEST_F(ConformedFileLookup, AChangedWriteTimeGivesANewFileAndTheOldRecordStays) {
    const std::wstring first = Create();
    std::filesystem::last_write_time(
        folder / "a.mov",
        std::filesystem::last_write_time(folder / "a.mov") + std::chrono::seconds(1));

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    ASSERT_THAT(db.conformed, SizeIs(2));
    EXPECT_NE(db.conformed[0].mediaFingerprint, db.conformed[1].mediaFingerprint);
    EXPECT_THAT(CacheFiles(), SizeIs(2));
    EXPECT_EQ(db.CallCount("RemoveConformedFile"), 0);
}

TEST_F(ConformedFileLookup, TwoRatesGiveTwoFilesThatAreBothCurrent) {
    const std::wstring at44100 = Create(44100);
    const std::wstring at48000 = Create(48000);

    EXPECT_NE(at44100, at48000);
    EXPECT_EQ(Create(44100), at44100);
    EXPECT_EQ(Create(48000), at48000);
    EXPECT_EQ(media.CallCount("Convert"), 2);
}

TEST_F(ConformedFileLookup, ADeletedFileIsMadeAgainUnderANewNameAndItsRecordReplaced) {
    const std::wstring first = Create();
    std::filesystem::remove(zrtl::ToUtf8(first));
    db.ForgetCalls();

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    EXPECT_THAT(db.Calls(),
                ElementsAre("GetConformedFilename", "RemoveConformedFile", "AddConformedFile"));
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(cacheFolder, db.conformed[0].cacheFilename),
              second);
    EXPECT_EQ(media.CallCount("Convert"), 2);
}

TEST_F(ConformedFileLookup, ARecordWithAnEmptyNameCountsAsNoneAndIsReplaced) {
    db.conformed.push_back({mediaPath, MediaFingerprint(mediaPath), 0, 48000, L""});

    const std::wstring path = Create();

    EXPECT_THAT(db.Calls(),
                ElementsAre("GetConformedFilename", "RemoveConformedFile", "AddConformedFile"));
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(cacheFolder, db.conformed[0].cacheFilename), path);
}

TEST_F(ConformedFileLookup, WhatTheFoundFileHoldsIsNotLookedAt) {
    const std::wstring first = Create();
    WriteFile(zrtl::ToUtf8(first), "");

    EXPECT_EQ(Create(), first);
}

TEST_F(ConformedFileLookup, WithoutADatabaseEachCallMakesANewFile) {
    database.reset();

    const std::wstring first = Create();
    const std::wstring second = Create();

    EXPECT_NE(first, second);
    EXPECT_THAT(CacheFiles(), SizeIs(2));
    EXPECT_THAT(db.Calls(), IsEmpty());
}

TEST_F(ConformedFileLookup, WithoutALogEverythingElseIsTheSame) {
    log.reset();
    media.prepare = [] { return 5; };

    EXPECT_EQ(Create(), L"");
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileLookup, AnEmptyCacheFolderMakesNothingAndAsksNothing) {
    EXPECT_EQ(CreateConformedAudioFile(asset, 48000, L"", log, database, true), L"");

    EXPECT_THAT(db.Calls(), IsEmpty());
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileLookup, Codec6IsPassedOverUnlessAllCodecsAreAskedFor) {
    asset = sonrel_tests::MakeMediaAsset(manager, mediaPath, static_cast<ZRAudioCodec>(6));

    EXPECT_EQ(CreateConformedAudioFile(asset, 48000, cacheFolder, log, database, false), L"");
    EXPECT_THAT(db.Calls(), IsEmpty());
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_NE(CreateConformedAudioFile(asset, 48000, cacheFolder, log, database, true), L"");
}

TEST_F(ConformedFileLookup, EveryOtherCodecIsConformedEitherWay) {
    for (int codec = 0; codec < 9; ++codec) {
        if (codec == 6) continue;
        database.reset();
        asset = sonrel_tests::MakeMediaAsset(manager, mediaPath, static_cast<ZRAudioCodec>(codec));

        EXPECT_NE(CreateConformedAudioFile(asset, 48000, cacheFolder, log, database, false), L"")
            << codec;
    }
}

TEST_F(ConformedFileLookup, AMergedAssetIsConformedFromItsSeparateSoundFile) {
    WriteFile(folder / "sound.wav", "sound");
    asset->SetMerged(folder.Wide("sound.wav"));

    Create();

    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].mediaPath, folder.Wide("sound.wav"));
    EXPECT_EQ(db.conformed[0].mediaFingerprint, MediaFingerprint(folder.Wide("sound.wav")));
    EXPECT_EQ(media.Calls()[0], "Create " + (folder / "sound.wav").string());
}

TEST_F(ConformedFileLookup, TheStreamIndexCountsAudioStreamsAlone) {
    media.streamTypes = {1, 0, 2, 0, 0};
    asset->SetAudioStreamIndex(1);

    Create();

    EXPECT_EQ(media.CallCount("Convert stream 3 "), 1);
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].streamIndex, 1);
}

TEST_F(ConformedFileLookup, AnAssetWithoutSoundGetsNothing) {
    asset = std::make_shared<orlo::project::MediaAsset>(manager, mediaPath);

    EXPECT_EQ(Create(), L"");
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(db.Calls(), IsEmpty());
}

TEST_F(ConformedFileLookup, AnAssetThatOutlivedItsMediaManagerGetsNothing) {
    manager.reset();

    EXPECT_EQ(Create(), L"");
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(db.Calls(), IsEmpty());
}

TEST_F(ConformedFileLookup, SettingAPathSetsRateAndFlag) {
    SetAudioSamplesAvailable(asset, 44100, L"/cache/a.xwmc");

    const auto& stream = *asset->AudioStream();
    EXPECT_EQ(stream.ConformedFilePath(), L"/cache/a.xwmc");
    EXPECT_EQ(stream.ConformedSampleRate(), 44100);
    EXPECT_TRUE(stream.SamplesAvailable());
}

TEST_F(ConformedFileLookup, MakingAndSettingPutsTheFileOnTheStream) {
    SetAudioSamplesAvailable(asset, 48000, cacheFolder, log, database, true);

    const auto& stream = *asset->AudioStream();
    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(stream.ConformedFilePath(), folder.Wide("cache/" + CacheFiles()[0]));
    EXPECT_EQ(stream.ConformedSampleRate(), 48000);
    EXPECT_TRUE(stream.SamplesAvailable());
}

TEST_F(ConformedFileLookup, AFailedConversionStillSetsTheStreamAvailableWithAnEmptyPath) {
    asset->AudioStream()->SetConformedFile(L"/cache/before.xwmc", 44100);
    media.convert = [](const std::wstring&) { return 3; };

    SetAudioSamplesAvailable(asset, 48000, cacheFolder, log, database, true);

    EXPECT_EQ(asset->AudioStream()->ConformedFilePath(), L"");
    EXPECT_TRUE(asset->AudioStream()->SamplesAvailable());
}

TEST_F(ConformedFileLookup, UnavailableClearsPathRateAndFlag) {
    SetAudioSamplesAvailable(asset, 44100, L"/cache/a.xwmc");

    SetAudioSamplesUnavailable(asset);

    const auto& stream = *asset->AudioStream();
    EXPECT_EQ(stream.ConformedFilePath(), L"");
    EXPECT_EQ(stream.ConformedSampleRate(), 0);
    EXPECT_FALSE(stream.SamplesAvailable());
}

TEST_F(ConformedFileLookup, TheSettersLeaveAnAssetWithoutSoundAlone) {
    asset = std::make_shared<orlo::project::MediaAsset>(manager, mediaPath);

    SetAudioSamplesAvailable(asset, 48000, L"/cache/a.xwmc");
    SetAudioSamplesAvailable(asset, 48000, cacheFolder, log, database, true);
    SetAudioSamplesUnavailable(asset);

    EXPECT_EQ(asset->AudioStream(), nullptr);
    EXPECT_THAT(media.Calls(), IsEmpty());
}

}  // namespace
