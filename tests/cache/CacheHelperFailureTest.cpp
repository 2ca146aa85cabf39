// SPDX-License-Identifier: MIT
// The rules of failures and of other processes that conformed files and peak files share.
#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/cache/CacheHelperSuite.h"
#include "tests/support/IdentityFailure.h"

namespace {

using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::IdentityFailure;
using sonrel_tests::SetIdentityFailure;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

template <class Kind>
class CacheHelperFailure : public sonrel_tests::CacheHelperTest<Kind> {};
TYPED_TEST_SUITE(CacheHelperFailure, sonrel_tests::CacheKinds, sonrel_tests::CacheKindNames);

// ---- making fails

TYPED_TEST(CacheHelperFailure, AFailedFileIsDeletedAndLoggedAndNotRecorded) {
    this->FailToMake();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_EQ(this->db.CallCount(TypeParam::ADD), 0);
    EXPECT_EQ(this->media.OpenFiles(), 0);
}

TYPED_TEST(CacheHelperFailure, MediaThatDoesNotOpenIsAFailedFile) {
    this->media.create = [](const std::wstring&) { return -7; };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_EQ(this->media.CallCount("Release"), 0);
}

TYPED_TEST(CacheHelperFailure, MediaThatCannotBePreparedIsReleasedUnread) {
    this->media.prepare = [] { return 2; };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_THAT(this->media.Calls(),
                ElementsAre(StartsWith("Create "), "SetReadOption 1", "Prepare", "Release"));
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, MediaWithoutAnAudioStreamOfThatIndexIsReleasedUnread) {
    this->media.streamTypes = {1, 0, 1, 0};
    this->asset->SetAudioStreamIndex(2);

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not save: ");
    EXPECT_EQ(this->media.CallCount("Convert"), 0);
    EXPECT_EQ(this->media.CallCount("Release"), 1);
    EXPECT_EQ(this->media.OpenFiles(), 0);
    EXPECT_THAT(this->Records(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, WithoutALogAFailedFileIsTheSameFailure) {
    this->log.reset();
    this->media.prepare = [] { return 5; };

    EXPECT_EQ(this->Create(), L"");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, ACallAfterAFailureMakesTheFile) {
    this->FailToMake();
    ASSERT_EQ(this->Create(), L"");
    this->media.Reset();

    EXPECT_NE(this->Create(), L"");
    EXPECT_THAT(this->CacheFiles(), SizeIs(1));
}

TYPED_TEST(CacheHelperFailure,
           ANonStandardExceptionOfTheMakingPassesThroughAndReleasesFileAndLock) {
    this->ThrowIntWhileMaking();

    EXPECT_THROW(this->Create(), int);

    EXPECT_EQ(this->media.OpenFiles(), 0);
    EXPECT_TRUE(this->LockIsFree());
}

// ---- the database fails

TYPED_TEST(CacheHelperFailure, AFileThatCannotBeRecordedIsDeletedAndLogged) {
    this->db.Throw(TypeParam::ADD, "database is locked");

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_THAT(this->Records(), IsEmpty());
    EXPECT_TRUE(this->LockIsFree());
}

TYPED_TEST(CacheHelperFailure, AFileThatCannotBeRecordedIsNotSetOnTheStream) {
    this->db.Throw(TypeParam::ADD, "database is locked");

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
}

TYPED_TEST(CacheHelperFailure, EveryStandardExceptionOfARecordingDeletesTheFileAndIsLogged) {
    this->db.add = [] { throw std::bad_alloc(); };

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, ANonStandardExceptionOfARecordingPassesThroughAndReleasesTheLock) {
    this->db.add = [] { throw 42; };

    EXPECT_THROW(this->Create(), int);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, AFailedTouchIsLoggedAndTheFileIsUsed) {
    const std::wstring first = this->Create();
    this->db.Throw(TypeParam::TOUCH, "disk I/O error");

    EXPECT_EQ(this->Create(), first);

    EXPECT_THAT(this->Log(),
                ElementsAre("Could not update timestamp: " + (this->folder / "a.mov").string() +
                            " " + zrtl::ToUtf8(first)));
    EXPECT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_THAT(this->Records(), SizeIs(1));
}

TYPED_TEST(CacheHelperFailure, EveryStandardExceptionOfATouchIsLogged) {
    const std::wstring first = this->Create();
    this->db.touch = [] { throw std::bad_alloc(); };

    EXPECT_EQ(this->Create(), first);

    EXPECT_THAT(this->Log(), ElementsAre(StartsWith("Could not update timestamp: ")));
}

TYPED_TEST(CacheHelperFailure, ANonStandardExceptionOfATouchPassesThroughAndReleasesTheLock) {
    this->Create();
    this->db.touch = [] { throw 42; };

    EXPECT_THROW(this->Create(), int);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->Log(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, AnExceptionOfTheLookupPassesThroughAndReleasesTheLock) {
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

TYPED_TEST(CacheHelperFailure,
           AnExceptionOfTheRemovalOfAStaleRecordPassesThroughAndReleasesTheLock) {
    std::filesystem::remove(zrtl::ToUtf8(this->Create()));
    this->db.Throw(TypeParam::REMOVE, "attempt to write a readonly database");

    EXPECT_THROW(this->Create(), std::runtime_error);

    EXPECT_TRUE(this->LockIsFree());
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(CacheHelperFailure, AFailedNewNamePassesThroughAndReleasesTheLock) {
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

TYPED_TEST(CacheHelperFailure, ARemadeFileReplacesTheOldFileAndItsRecord) {
    const std::wstring first = this->Create();

    const std::wstring second = this->Remake();

    EXPECT_NE(second, first);
    ASSERT_THAT(this->CacheFiles(), SizeIs(1));
    EXPECT_EQ(second, this->OnlyCacheFile());
    ASSERT_THAT(this->Records(), SizeIs(1));
    EXPECT_EQ(this->Records()[0].cacheFilename, zrtl::FromUtf8(this->CacheFiles()[0]));
    EXPECT_EQ(this->Records()[0].mediaFingerprint, MediaFingerprint(this->mediaPath));
}

TYPED_TEST(CacheHelperFailure, AFailedRemakeKeepsTheOldFileAndItsRecord) {
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

TYPED_TEST(CacheHelperFailure, AFileThatAnotherProcessRecordedFirstIsFoundByTheNextCall) {
    this->LetAnotherProcessRecordFirst();

    EXPECT_EQ(this->Create(), L"");

    this->ExpectOneLine("Could not add to database: ");
    EXPECT_THAT(this->CacheFiles(), ElementsAre(this->TheirFile()));
    EXPECT_EQ(this->Create(), this->OnlyCacheFile());
}

TYPED_TEST(CacheHelperFailure, AFileThatAnotherProcessRecordedFirstIsSetOnTheStream) {
    this->LetAnotherProcessRecordFirst();

    this->SetAvailable();

    EXPECT_THAT(this->CacheFiles(), ElementsAre(this->TheirFile()));
    EXPECT_EQ(this->PathOnStream(), this->OnlyCacheFile());
    EXPECT_TRUE(this->IsAvailable());
    EXPECT_EQ(this->db.CallCount(TypeParam::TOUCH), 1);
    EXPECT_EQ(this->media.CallCount("Create"), 1);
    this->ExpectOneLine("Could not add to database: ");
}

TYPED_TEST(CacheHelperFailure, ADatabaseThatFailsAgainLeavesTheStreamWithoutAFile) {
    this->LetAnotherProcessRecordFirst();
    this->db.ThrowAt(TypeParam::FIND, 2, "disk I/O error");

    this->SetAvailable();

    EXPECT_EQ(this->PathOnStream(), L"");
    EXPECT_TRUE(this->IsAvailable());
    EXPECT_TRUE(this->LockIsFree());
}

TYPED_TEST(CacheHelperFailure, AFileThatIsRemovedBeforeItsTouchIsMadeAgain) {
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
