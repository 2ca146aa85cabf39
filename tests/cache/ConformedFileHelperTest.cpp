// SPDX-License-Identifier: MIT
// The rules of conformed files only; CacheHelperTest.cpp has the rules of all cache files.
#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/cache/CacheHelperFixture.h"

namespace {

using namespace orlo::sonrel::ConformedAudioFileHelper;
using sonrel_tests::ReadFile;
using sonrel_tests::WriteConverted;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ConformedFileHelper : public sonrel_tests::ConformedFileFixture {};

TEST_F(ConformedFileHelper, TheRateIsPartOfTheKey) {
    Create(44100);

    ASSERT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(ReadFile(folder / "cache" / CacheFiles()[0]), "done");
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].sampleRate, 44100);
}

TEST_F(ConformedFileHelper, TwoRatesGiveTwoFilesThatAreBothCurrent) {
    const std::wstring at44100 = Create(44100);
    const std::wstring at48000 = Create(48000);

    EXPECT_NE(at44100, at48000);
    EXPECT_EQ(Create(44100), at44100);
    EXPECT_EQ(Create(48000), at48000);
    EXPECT_EQ(media.CallCount("Convert"), 2);
}

TEST_F(ConformedFileHelper, ANewFileIsRecordedWithItsChecksum) {
    Create();

    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.checksums.at(db.conformed[0].cacheFilename), sonrel_tests::FAKE_CHECKSUM);
}

TEST_F(ConformedFileHelper, TheMediaLibraryIsCalledInOrderAndTheStreamIsReleasedBeforeTheFile) {
    Create(44100);

    EXPECT_THAT(media.Calls(),
                ElementsAre("Create " + (folder / "a.mov").string(), "SetReadOption 1", "Prepare",
                            "Streams", "Convert stream 0 at 44100", "Release"));
}

TEST_F(ConformedFileHelper, TheStreamIndexCountsAudioStreamsOnly) {
    media.streamTypes = {1, 0, 2, 0, 0};
    asset->SetAudioStreamIndex(1);

    Create();

    EXPECT_EQ(media.CallCount("Convert stream 3 "), 1);
}

TEST_F(ConformedFileHelper, SettingAPathSetsTheRate) {
    SetAudioSamplesAvailable(asset, 44100, L"/cache/a.xwmc");

    EXPECT_EQ(asset->AudioStream()->ConformedSampleRate(), 44100);
}

TEST_F(ConformedFileHelper, MakingAndSettingSetsTheRate) {
    SetAudioSamplesAvailable(asset, 44100, cacheFolder, log, database, true);

    EXPECT_EQ(asset->AudioStream()->ConformedSampleRate(), 44100);
}

TEST_F(ConformedFileHelper, UnavailableClearsPathRateAndFlag) {
    SetAudioSamplesAvailable(asset, 44100, L"/cache/a.xwmc");

    SetAudioSamplesUnavailable(asset);

    const auto& stream = *asset->AudioStream();
    EXPECT_EQ(stream.ConformedFilePath(), L"");
    EXPECT_EQ(stream.ConformedSampleRate(), 0);
    EXPECT_FALSE(stream.SamplesAvailable());
}

TEST_F(ConformedFileHelper, UnavailableIgnoresAnAssetWithoutSound) {
    asset = std::make_shared<orlo::project::MediaAsset>(manager, mediaPath);

    SetAudioSamplesUnavailable(asset);

    EXPECT_EQ(asset->AudioStream(), nullptr);
}

TEST_F(ConformedFileHelper, EveryNonZeroResultOfAConversionIsAFailure) {
    for (const int result : {-1, 1, 2147483647, -2147483647 - 1}) {
        media.convert = [result](const std::wstring& path) {
            WriteConverted(path);
            return result;
        };
        EXPECT_EQ(Create(), L"") << result;
    }
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileHelper, AStandardExceptionOfTheConversionIsAFailure) {
    media.convert = [](const std::wstring& path) -> int {
        WriteConverted(path);
        throw std::runtime_error("broken");
    };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(ConformedFileHelper, AStandardExceptionOfThePreparationIsAFailure) {
    media.prepare = []() -> int { throw std::bad_alloc(); };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(ConformedFileHelper, AFailedFileThatCannotBeDeletedRemainsWithoutARecord) {
    media.convert = [](const std::wstring& path) {
        std::filesystem::create_directory(zrtl::ToUtf8(path));  // unlink refuses a folder
        return 1;
    };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_THAT(db.conformed, IsEmpty());
}

TEST(MediaException, TextIsTheCodeAndALineFeed) {
    EXPECT_STREQ(zrh::media::ZRMediaException(-7).what(), "ZRMedia Error -7\n");
    EXPECT_STREQ(zrh::media::ZRMediaException(12).what(), "ZRMedia Error 12\n");
}

}  // namespace
