// SPDX-License-Identifier: MIT
// The lock of a media path on all machines that share a database on a server.
#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/cache/CacheHelperSuite.h"

namespace {

using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

template <class Kind>
class SharedLock : public sonrel_tests::CacheHelperTest<Kind> {
protected:
    SharedLock() { this->db.isOnServer = true; }

    std::wstring Name() const { return zrtl::FromUtf8(Kind::EXTENSION) + this->mediaPath; }

    /// Another machine makes the file while this process waits for the lock.
    void LetAnotherMachineMakeTheFile() {
        this->db.lock = [this] {
            WriteFile(this->folder / "cache" / this->TheirFile(), "theirs");
            this->AddRecord(MediaFingerprint(this->mediaPath), zrtl::FromUtf8(this->TheirFile()));
        };
    }
};
TYPED_TEST_SUITE(SharedLock, sonrel_tests::CacheKinds, sonrel_tests::CacheKindNames);

TYPED_TEST(SharedLock, IsHeldWhileAFileIsMadeAndRecorded) {
    std::set<std::wstring> locked;
    this->db.add = [&] { locked = this->db.locked; };

    this->Create();

    EXPECT_THAT(locked, ElementsAre(this->Name()));
    EXPECT_THAT(this->db.locked, IsEmpty());
    EXPECT_THAT(this->db.Calls(),
                ElementsAre(TypeParam::FIND, "LockForAll", TypeParam::FIND, TypeParam::ADD));
}

TYPED_TEST(SharedLock, TheFileThatAnotherMachineMadeMeanwhileIsUsed) {
    this->LetAnotherMachineMakeTheFile();

    EXPECT_EQ(this->Create(), this->folder.Wide("cache/" + this->TheirFile()));

    EXPECT_THAT(this->CacheFiles(), ElementsAre(this->TheirFile()));
    EXPECT_THAT(this->media.Calls(), IsEmpty());
    EXPECT_THAT(this->db.locked, IsEmpty());
}

TYPED_TEST(SharedLock, IsNotNeededForAFileThatIsFound) {
    this->Create();
    this->db.ForgetCalls();

    this->Create();

    EXPECT_THAT(this->db.Calls(), ElementsAre(TypeParam::FIND, TypeParam::TOUCH));
}

TYPED_TEST(SharedLock, IsReleasedWhenTheFileCannotBeMadeOrRecorded) {
    this->FailToMake();
    EXPECT_EQ(this->Create(), L"");
    EXPECT_THAT(this->db.locked, IsEmpty());

    this->media.Reset();
    this->db.Throw(TypeParam::ADD, "the server is gone");
    EXPECT_EQ(this->Create(), L"");
    EXPECT_THAT(this->db.locked, IsEmpty());
    EXPECT_THAT(this->CacheFiles(), IsEmpty());
}

TYPED_TEST(SharedLock, IsHeldWhileAFileIsMadeAgain) {
    this->Create();
    this->db.ForgetCalls();

    this->Remake();

    EXPECT_THAT(this->db.Calls(), ElementsAre("LockForAll", TypeParam::REPLACE, TypeParam::REMOVE));
    EXPECT_THAT(this->db.locked, IsEmpty());
}

TYPED_TEST(SharedLock, AServerThatRefusesTheLockMakesNoFile) {
    this->db.Throw("LockForAll", "the server is gone");

    EXPECT_THROW(this->Create(), std::runtime_error);

    EXPECT_THAT(this->CacheFiles(), IsEmpty());
    EXPECT_TRUE(this->LockIsFree());
}

}  // namespace
