// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <stdexcept>

#include "sonrel/base/detail/IdentityFailure.h"
#include "sonrel/cache/detail/MediaFingerprint.h"
#include "tests/cache/ConformedFileFixture.h"

namespace {

using orlo::project::IdentityFailure;
using orlo::project::SetIdentityFailure;
using sonrel_tests::WriteConverted;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

class ConformedFileFailure : public sonrel_tests::ConformedFileFixture {
protected:
    /// Whether another thread can take the media path's lock.
    bool LockIsFree() {
        auto taken = std::async(std::launch::async, [this] {
            auto& lock = manager->ConformedAudioCacheFileCS(mediaPath);
            lock.Lock();
            lock.Unlock();
        });
        return taken.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }

    /// A conversion that leaves part of a file behind and fails.
    static int FailHalfWay(const std::wstring& outputPath) {
        WriteConverted(outputPath);
        return 9;
    }

    /// While the file is converted, another process records its own.
    void AnotherProcessIsFirst() {
        media.convert = [this](const std::wstring& path) {
            WriteConverted(path);
            sonrel_tests::WriteFile(folder / "cache" / "theirs.xwmc", "done");
            db.conformed.push_back({mediaPath, orlo::sonrel::detail::MediaFingerprint(mediaPath), 0,
                                    48000, L"theirs.xwmc"});
            return 0;
        };
    }

    /// One line, text, media path, blank and a path in the cache folder.
    void ExpectOneLine(const std::string& text) {
        const auto lines = Log();
        ASSERT_THAT(lines, SizeIs(1));
        const std::string start =
            text + (folder / "a.mov").string() + " " + (folder / "cache").string() + "/";
        ASSERT_THAT(lines[0], StartsWith(start));
        EXPECT_THAT(lines[0].substr(start.size()), MatchesRegex("[0-9a-f-]{36}\\.xwmc"));
    }
};

TEST_F(ConformedFileFailure, AFileThatDoesNotOpenIsLoggedAndNotRecorded) {
    media.create = [](const std::wstring&) { return -7; };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_EQ(media.CallCount("Release"), 0);
}

TEST_F(ConformedFileFailure, AFileThatIsNotReadyIsReleasedUnread) {
    media.prepare = [] { return 2; };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(media.Calls(),
                ElementsAre(StartsWith("Create "), "SetReadOption 1", "Prepare", "Release"));
}

TEST_F(ConformedFileFailure, AFileWithoutAnAudioStreamOfThatIndexIsReleasedUnread) {
    media.streamTypes = {1, 0, 1, 0};
    asset->SetAudioStreamIndex(2);

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_EQ(media.CallCount("Convert"), 0);
    EXPECT_EQ(media.CallCount("Release"), 1);
    EXPECT_EQ(media.OpenFiles(), 0);
    EXPECT_THAT(db.conformed, IsEmpty());
}

TEST_F(ConformedFileFailure, AFailedConversionLeavesNeitherFileNorRecord) {
    media.convert = FailHalfWay;

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_EQ(db.CallCount("AddConformedFile"), 0);
    EXPECT_EQ(media.CallCount("Release"), 1);
}

TEST_F(ConformedFileFailure, EveryNonZeroResultOfAConversionIsAFailure) {
    for (const int result : {-1, 1, 2147483647, -2147483647 - 1}) {
        media.convert = [result](const std::wstring& path) {
            WriteConverted(path);
            return result;
        };
        EXPECT_EQ(Create(), L"") << result;
    }
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileFailure, AnExceptionOfTheMediaLibraryIsAFailedConversion) {
    media.convert = [](const std::wstring& path) -> int {
        WriteConverted(path);
        throw std::runtime_error("broken");
    };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(ConformedFileFailure, AnExceptionOfPrepareIsAFailedConversionToo) {
    media.prepare = []() -> int { throw std::bad_alloc(); };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_EQ(media.OpenFiles(), 0);
}

TEST_F(ConformedFileFailure, WhatIsNoStandardExceptionPassesThroughAndReleasesFileAndLock) {
    media.convert = [](const std::wstring&) -> int { throw 42; };

    EXPECT_THROW(Create(), int);

    EXPECT_EQ(media.CallCount("Release"), 1);
    EXPECT_EQ(media.OpenFiles(), 0);
    EXPECT_TRUE(LockIsFree());
}

TEST_F(ConformedFileFailure, AFileThatCannotBeRecordedIsDeleted) {
    db.Throw("AddConformedFile", "database is locked");

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_TRUE(LockIsFree());
}

TEST_F(ConformedFileFailure, AReplacementThatCannotBeRecordedIsDeletedAndTheOldFileStays) {
    const std::wstring old = Create();
    const auto files = CacheFiles();
    db.Throw("ReplaceConformedFile", "database is locked");

    EXPECT_EQ(orlo::sonrel::ConformedAudioFileHelper::RemakeConformedAudioFile(
                  asset, 48000, cacheFolder, log, database, true),
              L"");

    ExpectOneLine("Could not add to database: ");
    EXPECT_EQ(CacheFiles(), files);
    EXPECT_EQ(Create(), old);
    EXPECT_TRUE(LockIsFree());
}

TEST_F(ConformedFileFailure, AFileThatCannotBeRecordedIsNotSetOnTheStream) {
    db.Throw("AddConformedFile", "database is locked");

    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(asset, 48000, cacheFolder, log,
                                                                     database, true);

    EXPECT_EQ(asset->AudioStream()->ConformedFilePath(), L"");
    EXPECT_TRUE(asset->AudioStream()->SamplesAvailable());
}

TEST_F(ConformedFileFailure, AFileThatAnotherProcessRecordedMeanwhileIsFoundWhenAskedOnceMore) {
    AnotherProcessIsFirst();

    EXPECT_EQ(Create(), L"");
    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), ElementsAre("theirs.xwmc"));
    EXPECT_EQ(Create(), folder.Wide("cache/theirs.xwmc"));
}

TEST_F(ConformedFileFailure, TheFileThatAnotherProcessRecordedMeanwhileIsSetOnTheStream) {
    AnotherProcessIsFirst();

    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(asset, 48000, cacheFolder, log,
                                                                     database, true);

    EXPECT_EQ(asset->AudioStream()->ConformedFilePath(), folder.Wide("cache/theirs.xwmc"));
    EXPECT_TRUE(asset->AudioStream()->SamplesAvailable());
    EXPECT_EQ(db.CallCount("TouchConformedFile"), 1);
    EXPECT_EQ(media.CallCount("Convert"), 1);
    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), ElementsAre("theirs.xwmc"));
}

TEST_F(ConformedFileFailure, ADatabaseThatFailsAtTheSecondLookupTooLeavesTheStreamWithoutAFile) {
    AnotherProcessIsFirst();
    db.ThrowAt("GetConformedFilename", 2, "disk I/O error");

    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(asset, 48000, cacheFolder, log,
                                                                     database, true);

    EXPECT_EQ(asset->AudioStream()->ConformedFilePath(), L"");
    EXPECT_TRUE(asset->AudioStream()->SamplesAvailable());
    EXPECT_TRUE(LockIsFree());
}

TEST_F(ConformedFileFailure, AFileThatIsRemovedBeforeItsStampIsMadeAnew) {
    const std::wstring first = Create();
    db.touch = [&] {
        std::filesystem::remove(zrtl::ToUtf8(first));
        db.conformed.clear();
    };

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(second, folder.Wide("cache/" + CacheFiles()[0]));
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].cacheFilename, zrtl::FromUtf8(CacheFiles()[0]));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileFailure, ALinkInThePlaceOfTheFileIsNotUsed) {
    const std::filesystem::path first = zrtl::ToUtf8(Create());
    std::filesystem::rename(first, folder / "moved.xwmc");
    std::filesystem::create_symlink(folder / "moved.xwmc", first);

    const std::filesystem::path second = zrtl::ToUtf8(Create());

    EXPECT_NE(second, first);
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(second)));
}

TEST_F(ConformedFileFailure, EveryStandardExceptionOfAStampIsLogged) {
    const std::wstring first = Create();
    db.touch = [] { throw std::bad_alloc(); };

    EXPECT_EQ(Create(), first);

    EXPECT_THAT(Log(), ElementsAre(StartsWith("Could not update timestamp: ")));
}

TEST_F(ConformedFileFailure, EveryStandardExceptionOfARecordingDeletesTheFileAndIsLogged) {
    db.add = [] { throw std::bad_alloc(); };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileFailure, WhatIsNoStandardExceptionPassesThroughAStampAndFreesTheLock) {
    Create();
    db.touch = [] { throw 42; };

    EXPECT_THROW(Create(), int);

    EXPECT_TRUE(LockIsFree());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileFailure, WhatIsNoStandardExceptionPassesThroughARecordingAndFreesTheLock) {
    db.add = [] { throw 42; };

    EXPECT_THROW(Create(), int);

    EXPECT_TRUE(LockIsFree());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileFailure, AFailedStampIsLoggedAndTheFileIsUsed) {
    const std::wstring first = Create();
    db.Throw("TouchConformedFile", "disk I/O error");

    EXPECT_EQ(Create(), first);

    EXPECT_THAT(Log(), ElementsAre("Could not update timestamp: " + (folder / "a.mov").string() +
                                   " " + zrtl::ToUtf8(first)));
    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_THAT(db.conformed, SizeIs(1));
}

TEST_F(ConformedFileFailure, AnExceptionOfTheLookupLeavesAndFreesTheLock) {
    db.Throw("GetConformedFilename", "database disk image is malformed");

    try {
        Create();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "database disk image is malformed");
    }

    EXPECT_TRUE(LockIsFree());
    EXPECT_THAT(CacheFiles(), IsEmpty());
    EXPECT_THAT(media.Calls(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ConformedFileFailure, AnExceptionOfTheRemovalOfAStaleRecordLeavesAndFreesTheLock) {
    std::filesystem::remove(zrtl::ToUtf8(Create()));
    db.Throw("RemoveConformedFile", "attempt to write a readonly database");

    EXPECT_THROW(Create(), std::runtime_error);

    EXPECT_TRUE(LockIsFree());
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileFailure, WithoutANewNameTheExceptionLeavesAndFreesTheLock) {
    for (const IdentityFailure failure : {IdentityFailure::Create, IdentityFailure::Text}) {
        SetIdentityFailure(failure);
        try {
            Create();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Cannot create UUID");
        }
        SetIdentityFailure(IdentityFailure::None);

        EXPECT_TRUE(LockIsFree());
        EXPECT_THAT(CacheFiles(), IsEmpty());
        EXPECT_THAT(media.Calls(), IsEmpty());
    }
}

TEST_F(ConformedFileFailure, AFileThatCannotBeDeletedStaysWithoutARecord) {
    media.convert = [](const std::wstring& path) {
        std::filesystem::create_directory(zrtl::ToUtf8(path));  // unlink refuses a folder
        return 1;
    };

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_THAT(db.conformed, IsEmpty());
}

TEST_F(ConformedFileFailure, MediaThatCannotBeExaminedIsRecordedUnderAnEmptyFingerprint) {
    std::filesystem::remove(folder / "a.mov");

    const std::wstring path = Create();

    EXPECT_NE(path, L"");
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].mediaFingerprint, L"");
    EXPECT_EQ(Create(), path);
}

TEST_F(ConformedFileFailure, AnUndisturbedCallAfterAFailureMakesTheFile) {
    media.convert = FailHalfWay;
    ASSERT_EQ(Create(), L"");
    media.convert = [](const std::wstring& path) {
        WriteConverted(path);
        return 0;
    };

    EXPECT_NE(Create(), L"");
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST(MediaException, SaysItsCodeAndALineFeed) {
    EXPECT_STREQ(zrh::media::ZRMediaException(-7).what(), "ZRMedia Error -7\n");
    EXPECT_STREQ(zrh::media::ZRMediaException(12).what(), "ZRMedia Error 12\n");
}

}  // namespace
