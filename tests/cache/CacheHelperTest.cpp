// SPDX-License-Identifier: MIT
// The rules that conformed files and peak files share.
#include <gmock/gmock.h>

#include <stdexcept>

#include "sonrel/cache/detail/MediaFingerprint.h"
#include "tests/cache/CacheHelperFixture.h"
#include "tests/support/IdentityFailure.h"

namespace {

using orlo::project::MediaDB;
using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::IdentityFailure;
using sonrel_tests::MakeMediaAsset;
using sonrel_tests::SetIdentityFailure;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;
using zrh::media::ZRAudioCodec;

template <class Kind>
class CacheHelper : public Kind {
protected:
    /// While this process writes its record, another process adds its own file and record.
    void LetAnotherProcessRecordFirst() {
        this->db.add = [this] {
            const std::string name = std::string("theirs") + Kind::EXTENSION;
            WriteFile(this->folder / "cache" / name, "theirs");
            this->AddRecord(MediaFingerprint(this->mediaPath), zrtl::FromUtf8(name));
        };
    }
    std::string TheirFile() const { return std::string("theirs") + Kind::EXTENSION; }

    std::wstring OnlyCacheFile() const {
        return this->folder.Wide("cache/" + this->CacheFiles().at(0));
    }

    void ExpectNoCalls() {
        EXPECT_THAT(this->db.Calls(), IsEmpty());
        EXPECT_THAT(this->media.Calls(), IsEmpty());
        EXPECT_THAT(this->Log(), IsEmpty());
    }
};

using Kinds =
    testing::Types<sonrel_tests::ConformedFileFixture, sonrel_tests::PeakFileHelperFixture>;

struct KindNames {
    template <class Kind>
    static std::string GetName(int index) {
        return index == 0 ? "ConformedFile" : "PeakFile";
    }
};

TYPED_TEST_SUITE(CacheHelper, Kinds, KindNames);

// ---- finding and making

TYPED_TEST(CacheHelper, ANewFileIsMadeAndThenRecordedUnderItsKey) {
    const std::wstring path = this->Create();

    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_EQ(path, this->OnlyCacheFile());
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].mediaPath, this->mediaPath);
    EXPECT_EQ(this->Records()[0].mediaFingerprint, MediaFingerprint(this->mediaPath));
    EXPECT_EQ(this->Records()[0].streamIndex, 0);
    EXPECT_EQ(this->Records()[0].cacheFilename, zrtl::FromUtf8(this->CacheFiles()[0]));
    EXPECT_THAT(this->db.Calls(), ElementsAre(TypeParam::FIND, TypeParam::ADD));
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelper, TheNameOfANewFileIsAnIdentityWithTheExtension) {
    this->Create();

    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_THAT(this->CacheFiles()[0],
                MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\\" +
                             std::string(TypeParam::EXTENSION)));
}

TYPED_TEST(CacheHelper, ASecondCallFindsTheFileAndTouchesItsRecordWithoutReadingTheMedia) {
    const std::wstring first = this->Create();
    this->db.ForgetCalls();
    const auto calls = this->media.Calls();

    EXPECT_EQ(this->Create(), first);

    EXPECT_THAT(this->db.Calls(), ElementsAre(TypeParam::FIND, TypeParam::TOUCH));
    EXPECT_EQ(this->media.Calls(), calls);
}

TYPED_TEST(CacheHelper, AChangedWriteTimeGivesANewFileAndTheOldRecordRemains) {
    const std::wstring first = this->Create();
    std::filesystem::last_write_time(
        this->folder / "a.mov",
        std::filesystem::last_write_time(this->folder / "a.mov") + std::chrono::seconds(1));

    const std::wstring second = this->Create();

    EXPECT_NE(second, first);
    ASSERT_THAT(this->Records(), SizeIs(2));
    EXPECT_NE(this->Records()[0].mediaFingerprint, this->Records()[1].mediaFingerprint);
    EXPECT_THAT(this->CacheFiles(), SizeIs(2));
    EXPECT_EQ(this->db.CallCount(TypeParam::REMOVE), 0);
}

TYPED_TEST(CacheHelper, AChangedSizeGivesANewFileAndTheOldRecordRemains) {
    const std::wstring first = this->Create();
    WriteFile(this->folder / "a.mov", "other media");

    const std::wstring second = this->Create();

    EXPECT_NE(second, first);
    EXPECT_NE(second, L"");
    EXPECT_THAT(this->CacheFiles(), SizeIs(2));
    EXPECT_THAT(this->Records(), SizeIs(2));
    EXPECT_EQ(this->db.CallCount(TypeParam::REMOVE), 0);
}

TYPED_TEST(CacheHelper, ADeletedFileIsMadeAgainUnderANewNameAndItsRecordReplaced) {
    const std::wstring first = this->Create();
    std::filesystem::remove(zrtl::ToUtf8(first));
    this->db.ForgetCalls();

    const std::wstring second = this->Create();

    EXPECT_NE(second, first);
    EXPECT_THAT(this->db.Calls(), ElementsAre(TypeParam::FIND, TypeParam::REMOVE, TypeParam::ADD));
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(
        MediaDB::CreateMediaCacheFilePath(this->cacheFolder, this->Records()[0].cacheFilename),
        second);
}

TYPED_TEST(CacheHelper, ARecordWithAnEmptyNameCountsAsNoRecordAndIsReplaced) {
    this->AddRecord(MediaFingerprint(this->mediaPath), L"");

    const std::wstring path = this->Create();

    EXPECT_THAT(this->db.Calls(), ElementsAre(TypeParam::FIND, TypeParam::REMOVE, TypeParam::ADD));
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(
        MediaDB::CreateMediaCacheFilePath(this->cacheFolder, this->Records()[0].cacheFilename),
        path);
}

TYPED_TEST(CacheHelper, TheContentOfAFoundFileIsNotExamined) {
    const std::wstring first = this->Create();
    WriteFile(zrtl::ToUtf8(first), "");

    EXPECT_EQ(this->Create(), first);
}

TYPED_TEST(CacheHelper, ALinkInThePlaceOfTheFileIsNotUsed) {
    const std::filesystem::path first = zrtl::ToUtf8(this->Create());
    std::filesystem::rename(first, this->folder / "moved");
    std::filesystem::create_symlink(this->folder / "moved", first);

    const std::filesystem::path second = zrtl::ToUtf8(this->Create());

    EXPECT_NE(second, first);
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(second)));
}

TYPED_TEST(CacheHelper, WithoutADatabaseEachCallMakesANewFile) {
    this->database.reset();

    const std::wstring first = this->Create();
    const std::wstring second = this->Create();

    EXPECT_NE(first, second);
    EXPECT_THAT(this->CacheFiles(), SizeIs(2));
    EXPECT_THAT(this->db.Calls(), IsEmpty());
}

TYPED_TEST(CacheHelper, AnEmptyCacheFolderMakesNothingAndCallsNothing) {
    this->cacheFolder.clear();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectNoCalls();
}

TYPED_TEST(CacheHelper, Codec6IsSkippedUnlessAllCodecsAreIncluded) {
    this->asset = MakeMediaAsset(this->manager, this->mediaPath, static_cast<ZRAudioCodec>(6));
    this->includeAllCodecs = false;

    EXPECT_EQ(this->Create(), L"");

    this->ExpectNoCalls();
    this->includeAllCodecs = true;
    EXPECT_NE(this->Create(), L"");
}

TYPED_TEST(CacheHelper, EveryOtherCodecIsUsedEitherWay) {
    this->includeAllCodecs = false;
    for (int codec = 0; codec < 9; ++codec) {
        if (codec == 6) continue;
        this->database.reset();
        this->asset =
            MakeMediaAsset(this->manager, this->mediaPath, static_cast<ZRAudioCodec>(codec));

        EXPECT_NE(this->Create(), L"") << codec;
    }
}

TYPED_TEST(CacheHelper, AMergedAssetIsIdentifiedByItsSeparateSoundFile) {
    const std::wstring sound = this->folder.Wide("sound.wav");
    WriteFile(this->folder / "sound.wav", "sound");
    this->asset->SetMerged(sound);

    this->Create();

    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].mediaPath, sound);
    EXPECT_EQ(this->Records()[0].mediaFingerprint, MediaFingerprint(sound));
    EXPECT_EQ(this->media.Calls()[0], "Create " + (this->folder / "sound.wav").string());
}

TYPED_TEST(CacheHelper, TheStreamIndexIsPartOfTheKey) {
    this->media.streamTypes = {1, 0, 2, 0, 0};
    this->asset->SetAudioStreamIndex(1);

    this->Create();

    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].streamIndex, 1);
}

TYPED_TEST(CacheHelper, AnAssetWithoutSoundGetsNoFile) {
    this->asset = std::make_shared<orlo::project::MediaAsset>(this->manager, this->mediaPath);

    EXPECT_EQ(this->Create(), L"");

    this->ExpectNoCalls();
}

TYPED_TEST(CacheHelper, AnAssetThatOutlivedItsMediaManagerGetsNoFile) {
    this->manager.reset();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectNoCalls();
}

TYPED_TEST(CacheHelper, MediaThatCannotBeExaminedIsRecordedUnderAnEmptyFingerprint) {
    std::filesystem::remove(this->folder / "a.mov");

    const std::wstring path = this->Create();

    EXPECT_NE(path, L"");
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].mediaFingerprint, L"");
    EXPECT_EQ(this->Create(), path);
}

// ---- the stream

TYPED_TEST(CacheHelper, SettingAPathMarksTheStreamAsAvailable) {
    this->SetAvailable(L"/cache/a");

    EXPECT_EQ(this->PathOnStream(), L"/cache/a");
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelper, MakingAndSettingPutsTheNewPathOnTheStream) {
    this->SetAvailable();

    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_EQ(this->PathOnStream(), this->OnlyCacheFile());
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelper, AFailedFileSetsAnEmptyPathThatIsAvailable) {
    this->SetAvailable(L"/cache/before");
    this->FailToMake();

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelper, ASkippedCodecSetsAnEmptyPathThatIsAvailable) {
    this->asset = MakeMediaAsset(this->manager, this->mediaPath, ZRAudioCodec::Skipped);
    this->SetAvailable(L"/cache/before");
    this->includeAllCodecs = false;

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelper, TheSettersIgnoreAnAssetWithoutSound) {
    this->asset = std::make_shared<orlo::project::MediaAsset>(this->manager, this->mediaPath);

    this->SetAvailable(L"/cache/a");
    this->SetAvailable();

    EXPECT_EQ(this->asset->AudioStream(), nullptr);
    this->ExpectNoCalls();
}

// ---- making fails

TYPED_TEST(CacheHelper, AFailedFileIsDeletedAndLoggedAndNotRecorded) {
    this->FailToMake();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_EQ(this->db.CallCount(TypeParam::ADD), 0);
    EXPECT_EQ(this->media.OpenFiles(), 0);
}

TYPED_TEST(CacheHelper, MediaThatDoesNotOpenIsAFailedFile) {
    this->media.create = [](const std::wstring&) { return -7; };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_EQ(this->media.CallCount("Release"), 0);
}

TYPED_TEST(CacheHelper, MediaThatCannotBePreparedIsReleasedUnread) {
    this->media.prepare = [] { return 2; };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->media.Calls(),
                ElementsAre(StartsWith("Create "), "SetReadOption 1", "Prepare", "Release"));
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
}

TYPED_TEST(CacheHelper, MediaWithoutAnAudioStreamOfThatIndexIsReleasedUnread) {
    this->media.streamTypes = {1, 0, 1, 0};
    this->asset->SetAudioStreamIndex(2);

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_EQ(this->media.CallCount("Convert"), 0);
    EXPECT_EQ(this->media.CallCount("Release"), 1);
    EXPECT_EQ(this->media.OpenFiles(), 0);
    EXPECT_THAT(this->Records(), IsEmpty());
}

TYPED_TEST(CacheHelper, WithoutALogAFailedFileIsTheSameFailure) {
    this->log.reset();
    this->media.prepare = [] { return 5; };

    EXPECT_EQ(this->Create(), L"");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelper, ACallAfterAFailureMakesTheFile) {
    this->FailToMake();
    ASSERT_EQ(this->Create(), L"");
    this->media.Reset();

    EXPECT_NE(this->Create(), L"");
    EXPECT_THAT(this->CacheFiles(), SizeIs(1));
}

TYPED_TEST(CacheHelper, ANonStandardExceptionOfTheMakingPassesThroughAndReleasesFileAndLock) {
    this->ThrowIntWhileMaking();

    EXPECT_THROW(this->Create(), int);

    EXPECT_EQ(this->media.OpenFiles(), 0);
    EXPECT_TRUE(this->LockIsFree());
}

// ---- the database fails

TYPED_TEST(CacheHelper, AFileThatCannotBeRecordedIsDeletedAndLogged) {
    this->db.Throw(TypeParam::ADD, "database is locked");

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_TRUE(this->LockIsFree());
}

TYPED_TEST(CacheHelper, AFileThatCannotBeRecordedIsNotSetOnTheStream) {
    this->db.Throw(TypeParam::ADD, "database is locked");

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelper, EveryStandardExceptionOfARecordingDeletesTheFileAndIsLogged) {
    this->db.add = [] { throw std::bad_alloc(); };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelper, ANonStandardExceptionOfARecordingPassesThroughAndReleasesTheLock) {
    this->db.add = [] { throw 42; };

    EXPECT_THROW(this->Create(), int);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelper, AFailedTouchIsLoggedAndTheFileIsUsed) {
    const std::wstring first = this->Create();
    this->db.Throw(TypeParam::TOUCH, "disk I/O error");

    EXPECT_EQ(this->Create(), first);

    EXPECT_THAT(this->Log(),
                ElementsAre("Could not update timestamp: " + (this->folder / "a.mov").string() +
                            " " + zrtl::ToUtf8(first)));
    EXPECT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_THAT(this->Records(), SizeIs(1));
}

TYPED_TEST(CacheHelper, EveryStandardExceptionOfATouchIsLogged) {
    const std::wstring first = this->Create();
    this->db.touch = [] { throw std::bad_alloc(); };

    EXPECT_EQ(this->Create(), first);

    EXPECT_THAT(this->Log(), ElementsAre(StartsWith("Could not update timestamp: ")));
}

TYPED_TEST(CacheHelper, ANonStandardExceptionOfATouchPassesThroughAndReleasesTheLock) {
    this->Create();
    this->db.touch = [] { throw 42; };

    EXPECT_THROW(this->Create(), int);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelper, AnExceptionOfTheLookupPassesThroughAndReleasesTheLock) {
    this->db.Throw(TypeParam::FIND, "database disk image is malformed");

    try {
        this->Create();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "database disk image is malformed");
    }

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->media.Calls(), IsEmpty());
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelper, AnExceptionOfTheRemovalOfAStaleRecordPassesThroughAndReleasesTheLock) {
    std::filesystem::remove(zrtl::ToUtf8(this->Create()));
    this->db.Throw(TypeParam::REMOVE, "attempt to write a readonly database");

    EXPECT_THROW(this->Create(), std::runtime_error);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelper, AFailedNewNamePassesThroughAndReleasesTheLock) {
    for (const IdentityFailure failure : {IdentityFailure::Create, IdentityFailure::Text}) {
        SetIdentityFailure(failure);
        try {
            this->Create();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Cannot create UUID");
        }
        SetIdentityFailure(IdentityFailure::None);

        EXPECT_TRUE(this->LockIsFree());
        EXPECT_THAT(this->CacheFiles(), IsEmpty());
        EXPECT_THAT(this->media.Calls(), IsEmpty());
    }
}

// ---- a new file instead of the old one

TYPED_TEST(CacheHelper, ARemadeFileReplacesTheOldFileAndItsRecord) {
    const std::wstring first = this->Create();

    const std::wstring second = this->Remake();

    EXPECT_NE(second, first);
    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_EQ(second, this->OnlyCacheFile());
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].cacheFilename, zrtl::FromUtf8(this->CacheFiles()[0]));
    EXPECT_EQ(this->Records()[0].mediaFingerprint, MediaFingerprint(this->mediaPath));
}

TYPED_TEST(CacheHelper, AFailedRemakeKeepsTheOldFileAndItsRecord) {
    const std::wstring old = this->Create();
    const auto files = this->CacheFiles();
    this->db.Throw(TypeParam::REPLACE, "database is locked");

    EXPECT_EQ(this->Remake(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_EQ(this->CacheFiles(), files);
    EXPECT_EQ(this->Create(), old);
    EXPECT_TRUE(this->LockIsFree());
}

// ---- another process

TYPED_TEST(CacheHelper, AFileThatAnotherProcessRecordedFirstIsFoundByTheNextCall) {
    this->LetAnotherProcessRecordFirst();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), ElementsAre(this->TheirFile()));
    EXPECT_EQ(this->Create(), this->OnlyCacheFile());
}

TYPED_TEST(CacheHelper, AFileThatAnotherProcessRecordedFirstIsSetOnTheStream) {
    this->LetAnotherProcessRecordFirst();

    this->SetAvailable();

    EXPECT_THAT(this->CacheFiles(), ElementsAre(this->TheirFile()));
    EXPECT_EQ(this->PathOnStream(), this->OnlyCacheFile());
    EXPECT_TRUE(this->IsAvailable());
    EXPECT_EQ(this->db.CallCount(TypeParam::TOUCH), 1);
    EXPECT_EQ(this->media.CallCount("Create"), 1);
    this->ExpectOneLine("Could not add to database: ");
}

TYPED_TEST(CacheHelper, ADatabaseThatFailsAgainLeavesTheStreamWithoutAFile) {
    this->LetAnotherProcessRecordFirst();
    this->db.ThrowAt(TypeParam::FIND, 2, "disk I/O error");

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
    EXPECT_TRUE(this->LockIsFree());
}

TYPED_TEST(CacheHelper, AFileThatIsRemovedBeforeItsTouchIsMadeAgain) {
    const std::wstring first = this->Create();
    this->db.touch = [&] {
        std::filesystem::remove(zrtl::ToUtf8(first));
        this->Records().clear();
    };

    const std::wstring second = this->Create();

    EXPECT_NE(second, first);
    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_EQ(second, this->OnlyCacheFile());
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].cacheFilename, zrtl::FromUtf8(this->CacheFiles()[0]));
    EXPECT_THAT(this->Log(), IsEmpty());
}

}  // namespace
