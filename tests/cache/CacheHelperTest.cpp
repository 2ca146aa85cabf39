// SPDX-License-Identifier: MIT
// The rules of finding and making that conformed files and peak files share.
#include <gmock/gmock.h>

#include "tests/cache/CacheHelperSuite.h"

namespace {

using orlo::project::MediaDB;
using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::MakeMediaAsset;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using zrh::media::ZRAudioCodec;

template <class Kind>
class CacheHelper : public sonrel_tests::CacheHelperTest<Kind> {};
TYPED_TEST_SUITE(CacheHelper, sonrel_tests::CacheKinds, sonrel_tests::CacheKindNames);

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

}  // namespace
