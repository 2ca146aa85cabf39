// SPDX-License-Identifier: MIT
#include "sonrel/cache/WaveformPeakFileHelper.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "sonrel/base/detail/IdentityFailure.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/detail/CacheFile.h"
#include "sonrel/cache/detail/MediaFingerprint.h"
#include "tests/cache/ConformedFileFixture.h"

namespace {

using namespace orlo::sonrel::WaveformPeakFileHelper;
using orlo::project::IdentityFailure;
using orlo::project::MediaDB;
using orlo::project::SetIdentityFailure;
using orlo::sonrel::PeakFile;
using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::MakeMediaAsset;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using zrh::media::ZRAudioCodec;

class WaveformPeakFile : public sonrel_tests::ConformedFileFixture {
protected:
    std::wstring Create(bool includeAllCodecs = true) {
        return CreateWaveformPeakFile(asset, cacheFolder, log, database, includeAllCodecs);
    }

    /// One line: text, media path, blank and a path in the cache folder.
    void ExpectOneLine(const std::string& text) {
        const auto lines = Log();
        ASSERT_THAT(lines, SizeIs(1));
        const std::string start =
            text + (folder / "a.mov").string() + " " + (folder / "cache").string() + "/";
        ASSERT_THAT(lines[0], StartsWith(start));
        EXPECT_THAT(lines[0].substr(start.size()), MatchesRegex("[0-9a-f-]{36}\\.xwpk"));
    }

    void ExpectFailedSave() {
        EXPECT_EQ(Create(), L"");
        ExpectOneLine("Could not save: ");
        EXPECT_THAT(CacheFiles(), IsEmpty());
        EXPECT_THAT(db.peaks, IsEmpty());
        EXPECT_EQ(media.OpenFiles(), 0);
    }
};

// ---- finding and making

TEST_F(WaveformPeakFile, ANewFileIsRecordedWithItsChecksumFromAnyNumberOfTasks) {
    for (const long long frames : {1000LL, 48000LL * 31}) {
        media.format.frames = frames;
        db.peaks.clear();

        const std::wstring path = Create();

        ASSERT_THAT(db.peaks, SizeIs(1));
        EXPECT_EQ(db.checksums.at(db.peaks[0].cacheFilename),
                  orlo::sonrel::CacheFileCheck::PeakFileChecksum(path, {}))
            << frames;
    }
}

TEST_F(WaveformPeakFile, ANewFileIsMadeAndRecordedUnderItsThreePartKey) {
    asset->SetAudioStreamIndex(1);
    media.streamTypes = {0, 0};

    const std::wstring path = Create();

    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(path, folder.Wide("cache/" + CacheFiles()[0]));
    EXPECT_THAT(
        CacheFiles()[0],
        MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\\.xwpk"));
    ASSERT_THAT(db.peaks, SizeIs(1));
    const MediaDB::PeakFile& record = db.peaks[0];
    EXPECT_EQ(record.mediaPath, mediaPath);
    EXPECT_EQ(record.mediaFingerprint, MediaFingerprint(mediaPath));
    EXPECT_EQ(record.streamIndex, 1);
    EXPECT_EQ(record.cacheFilename, zrtl::FromUtf8(CacheFiles()[0]));
    EXPECT_THAT(db.Calls(), ElementsAre("GetPeakFilename", "AddPeakFile"));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(WaveformPeakFile, TheFileSummarisesTheStreamAtItsOwnRate) {
    media.format.rate = 8000;
    media.format.channels = 3;
    media.format.frames = 330;

    PeakFile file;
    ASSERT_TRUE(file.Open(Create()));

    EXPECT_EQ(file.ChannelCount(), 3);
    EXPECT_EQ(file.BlockCount(), 11);
}

TEST_F(WaveformPeakFile, ShortMediaAreReadInOnePassAndLongOnesByFourReaders) {
    media.format.frames = 30 * 48000 - 1;
    Create();
    EXPECT_EQ(media.CallCount("Create"), 1);

    WriteFile(folder / "a.mov", "changed");
    media.format.frames = 30 * 48000;
    Create();
    EXPECT_EQ(media.CallCount("Create"), 1 + 4);
}

TEST_F(WaveformPeakFile, ASecondCallFindsTheFileAndStampsItWithoutReadingTheMedia) {
    const std::wstring first = Create();
    db.ForgetCalls();
    const auto calls = media.Calls();

    EXPECT_EQ(Create(), first);

    EXPECT_THAT(db.Calls(), ElementsAre("GetPeakFilename", "TouchPeakFile"));
    EXPECT_EQ(media.Calls(), calls);
}

TEST_F(WaveformPeakFile, AChangedMediaFileGetsANewFileAndTheOldRecordStays) {
    const std::wstring first = Create();
    WriteFile(folder / "a.mov", "other media");

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    EXPECT_NE(second, L"");
    EXPECT_THAT(CacheFiles(), SizeIs(2));
    EXPECT_THAT(db.peaks, SizeIs(2));
    EXPECT_EQ(db.CallCount("RemovePeakFile"), 0);
}

TEST_F(WaveformPeakFile, ARecordWhoseFileIsGoneIsRemovedAndTheFileMadeAnew) {
    const std::wstring first = Create();
    std::filesystem::remove(zrtl::ToUtf8(first));
    db.ForgetCalls();

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    EXPECT_THAT(db.Calls(), ElementsAre("GetPeakFilename", "RemovePeakFile", "AddPeakFile"));
    EXPECT_THAT(db.peaks, SizeIs(1));
}

TEST_F(WaveformPeakFile, ARecordWithoutANameIsRemoved) {
    db.peaks.push_back({mediaPath, MediaFingerprint(mediaPath), 0, L""});

    EXPECT_NE(Create(), L"");

    EXPECT_THAT(db.Calls(), ElementsAre("GetPeakFilename", "RemovePeakFile", "AddPeakFile"));
}

TEST_F(WaveformPeakFile, AMergedAssetIsKnownByItsSoundFile) {
    WriteFile(folder / "sound.wav", "sound");
    asset->SetMerged(folder.Wide("sound.wav"));

    ASSERT_NE(Create(), L"");

    EXPECT_EQ(db.peaks.at(0).mediaPath, folder.Wide("sound.wav"));
    EXPECT_EQ(db.peaks.at(0).mediaFingerprint, MediaFingerprint(folder.Wide("sound.wav")));
}

TEST_F(WaveformPeakFile, AnEmptyCacheFolderMakesNothing) {
    EXPECT_EQ(CreateWaveformPeakFile(asset, L"", log, database, true), L"");

    EXPECT_THAT(db.Calls(), IsEmpty());
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(WaveformPeakFile, WithoutADatabaseEachCallMakesANewFile) {
    const auto create = [&] {
        return CreateWaveformPeakFile(asset, cacheFolder, nullptr, nullptr, true);
    };

    EXPECT_NE(create(), create());

    EXPECT_THAT(CacheFiles(), SizeIs(2));
}

TEST_F(WaveformPeakFile, TheSkippedCodecIsPassedOverUnlessAllAreIncluded) {
    asset = MakeMediaAsset(manager, mediaPath, ZRAudioCodec::Skipped);
    EXPECT_EQ(Create(false), L"");
    EXPECT_THAT(db.Calls(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());

    EXPECT_NE(Create(true), L"");
}

TEST_F(WaveformPeakFile, AnAssetWithoutSoundOrManagerGetsNothing) {
    const auto silent = std::make_shared<orlo::project::MediaAsset>(manager, mediaPath);
    EXPECT_EQ(CreateWaveformPeakFile(silent, cacheFolder, log, database, true), L"");
    asset = MakeMediaAsset(nullptr, mediaPath);
    EXPECT_EQ(Create(), L"");
    EXPECT_THAT(media.Calls(), IsEmpty());
}

TEST_F(WaveformPeakFile, AStreamOfNoFramesIsRecordedThoughItsFileDoesNotOpen) {
    media.format.frames = 0;

    const std::wstring path = Create();

    ASSERT_NE(path, L"");
    EXPECT_THAT(db.peaks, SizeIs(1));
    EXPECT_FALSE(PeakFile().Open(path));
    EXPECT_EQ(Create(), path);
}

TEST_F(WaveformPeakFile, OnlyWhatIsThereCanBeBroughtToTheDisk) {
    WriteFile(folder / "there", "bytes");

    EXPECT_TRUE(orlo::sonrel::detail::SyncToDisk(folder.Wide("there")));
    EXPECT_FALSE(orlo::sonrel::detail::SyncToDisk(folder.Wide("gone")));
}

// ---- the stream

TEST_F(WaveformPeakFile, SettingAPathMarksTheWaveformAsAvailable) {
    SetWaveformPreviewAvailable(asset, L"/cache/x.xwpk");

    EXPECT_EQ(asset->AudioStream()->WaveformPeakFilePath(), L"/cache/x.xwpk");
    EXPECT_TRUE(asset->AudioStream()->WaveformPreviewAvailable());
}

TEST_F(WaveformPeakFile, MakingAndSettingPutsTheNewPathOnTheStream) {
    SetWaveformPreviewAvailable(asset, cacheFolder, log, database, true);

    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(asset->AudioStream()->WaveformPeakFilePath(),
              folder.Wide("cache/" + CacheFiles()[0]));
    EXPECT_TRUE(asset->AudioStream()->WaveformPreviewAvailable());
}

TEST_F(WaveformPeakFile, APassedOverCodecSetsAnEmptyPathThatIsAvailable) {
    asset = MakeMediaAsset(manager, mediaPath, ZRAudioCodec::Skipped);
    asset->AudioStream()->SetWaveformPeakFilePath(L"/old.xwpk");

    SetWaveformPreviewAvailable(asset, cacheFolder, log, database, false);

    EXPECT_EQ(asset->AudioStream()->WaveformPeakFilePath(), L"");
    EXPECT_TRUE(asset->AudioStream()->WaveformPreviewAvailable());
}

TEST_F(WaveformPeakFile, AnAssetWithoutSoundIsLeftAlone) {
    const auto silent = std::make_shared<orlo::project::MediaAsset>(manager, mediaPath);
    SetWaveformPreviewAvailable(silent, L"/cache/x.xwpk");
    SetWaveformPreviewAvailable(silent, cacheFolder, log, database, true);
    EXPECT_EQ(silent->AudioStream(), nullptr);
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

// ---- failures

TEST_F(WaveformPeakFile, MediaThatDoNotOpenLeaveALine) {
    media.create = [](const std::wstring&) { return 4; };
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, MediaThatAreNotReadyLeaveALine) {
    media.prepare = [] { return 4; };
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, AnIndexWithoutAStreamLeavesALine) {
    media.streamTypes = {1, 0};
    asset->SetAudioStreamIndex(1);
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, SeventeenChannelsLeaveALineAndNoFile) {
    media.format.channels = 17;
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, AnOddSampleSizeLeavesALineAndNoFile) {
    media.format.bits = 12;
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, MediaThatCannotBeReadAtAllLeaveALineAndNoFile) {
    media.read = [](long long, int, void*, int, int*) { return 5; };
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, AReaderThatIsMissingInTheMiddleLeavesALineAndNoFile) {
    media.format.frames = 30 * 48000;
    int opened = 0;
    media.create = [&](const std::wstring&) { return opened++ == 2 ? 1 : 0; };
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, ACacheFolderThatIsGoneLeavesALine) {
    std::filesystem::remove(folder / "cache");

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_FALSE(std::filesystem::exists(folder / "cache"));
    EXPECT_THAT(db.peaks, IsEmpty());
}

TEST_F(WaveformPeakFile, AFileThatCannotBeRecordedIsDeleted) {
    db.Throw("AddPeakFile", "database is locked");

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(WaveformPeakFile, ARemadeFileTakesThePlaceOfTheOldFile) {
    const std::wstring first = Create();

    const std::wstring second = RemakeWaveformPeakFile(asset, cacheFolder, log, database, true);

    EXPECT_NE(second, first);
    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(second, folder.Wide("cache/" + CacheFiles()[0]));
    ASSERT_THAT(db.peaks, SizeIs(1));
    EXPECT_EQ(db.peaks[0].cacheFilename, zrtl::FromUtf8(CacheFiles()[0]));
    EXPECT_EQ(db.peaks[0].mediaFingerprint, MediaFingerprint(mediaPath));
}

TEST_F(WaveformPeakFile, AFailedRemakeKeepsTheOldFileAndItsRecord) {
    const std::wstring first = Create();
    const auto files = CacheFiles();
    db.Throw("ReplacePeakFile", "database is locked");

    EXPECT_EQ(RemakeWaveformPeakFile(asset, cacheFolder, log, database, true), L"");

    ExpectOneLine("Could not add to database: ");
    EXPECT_EQ(CacheFiles(), files);
    EXPECT_EQ(Create(), first);
}

TEST_F(WaveformPeakFile, TheFileThatAnotherProcessRecordedMeanwhileIsSetOnTheStream) {
    db.add = [this] {
        WriteFile(folder / "cache" / "theirs.xwpk", "peaks");
        db.peaks.push_back({mediaPath, MediaFingerprint(mediaPath), 0, L"theirs.xwpk"});
    };

    SetWaveformPreviewAvailable(asset, cacheFolder, log, database, true);

    EXPECT_EQ(asset->AudioStream()->WaveformPeakFilePath(), folder.Wide("cache/theirs.xwpk"));
    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), ElementsAre("theirs.xwpk"));
}

TEST_F(WaveformPeakFile, AFileThatIsRemovedBeforeItsStampIsMadeAnew) {
    const std::wstring first = Create();
    db.touch = [&] {
        std::filesystem::remove(zrtl::ToUtf8(first));
        db.peaks.clear();
    };

    EXPECT_NE(Create(), first);

    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_THAT(db.peaks, SizeIs(1));
}

TEST_F(WaveformPeakFile, EveryStandardExceptionOfStampAndRecordingIsLogged) {
    db.add = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Create(), L"");
    db.add = nullptr;
    const std::wstring path = Create();
    db.touch = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Create(), path);

    EXPECT_THAT(Log(), ElementsAre(StartsWith("Could not add to database: "),
                                   StartsWith("Could not update timestamp: ")));
}

TEST_F(WaveformPeakFile, WhatIsNoStandardExceptionPassesThroughStampAndRecording) {
    db.add = [] { throw 42; };
    EXPECT_THROW(Create(), int);
    db.add = nullptr;
    Create();
    db.touch = [] { throw 42; };
    EXPECT_THROW(Create(), int);

    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(WaveformPeakFile, AFailedStampIsLoggedAndTheFileIsUsed) {
    const std::wstring first = Create();
    db.Throw("TouchPeakFile", "disk I/O error");

    EXPECT_EQ(Create(), first);

    EXPECT_THAT(Log(), ElementsAre("Could not update timestamp: " + (folder / "a.mov").string() +
                                   " " + zrtl::ToUtf8(first)));
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST_F(WaveformPeakFile, ExceptionsOfTheLookupLeaveTheCall) {
    db.Throw("GetPeakFilename", "database disk image is malformed");
    EXPECT_THROW(Create(), std::runtime_error);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(media.Calls(), IsEmpty());
}

TEST_F(WaveformPeakFile, ExceptionsOfTheRemovalLeaveTheCall) {
    std::filesystem::remove(zrtl::ToUtf8(Create()));
    db.Throw("RemovePeakFile", "attempt to write a readonly database");
    EXPECT_THROW(Create(), std::runtime_error);
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(WaveformPeakFile, WithoutANewNameTheExceptionLeavesTheCall) {
    SetIdentityFailure(IdentityFailure::Create);
    EXPECT_THROW(Create(), std::runtime_error);
    SetIdentityFailure(IdentityFailure::None);
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_NE(Create(), L"");
}

TEST_F(WaveformPeakFile, WithoutALogFailuresAreSilent) {
    media.prepare = [] { return 4; };
    EXPECT_EQ(CreateWaveformPeakFile(asset, cacheFolder, nullptr, database, true), L"");
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

}  // namespace
