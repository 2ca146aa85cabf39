// SPDX-License-Identifier: MIT
#include "sonrel/cache/CacheFileUse.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <string>
#include <utility>

#include "tests/support/AnotherProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::sonrel::CacheFileRemoval;
using orlo::sonrel::CacheFolderUse;
using sonrel_tests::AsAnyone;
using sonrel_tests::InAnotherProcess;
using sonrel_tests::NamesIn;
using sonrel_tests::WaitingProcess;
using sonrel_tests::WriteFile;

/// A cache folder of this process and others.
class CacheFileUse : public testing::Test {
protected:
    bool IsUsed(const std::wstring& name) const {
        return !CacheFileRemoval(folder_.Wide(""), name).IsAllowed();
    }
    bool IsUsedElsewhere(const std::wstring& name) const {
        return InAnotherProcess([&] { return IsUsed(name) ? 1 : 0; }) == 1;
    }
    void Mark(const std::wstring& name) const { CacheFolderUse::Mark(folder_.Wide(""), name); }

    sonrel_tests::TemporaryFolder folder_;
};

TEST_F(CacheFileUse, AMarkOfAnotherProcessCountsAndOtherFilesAreFree) {
    const WaitingProcess other([&] { Mark(L"a.xwmc"); });
    ASSERT_TRUE(other.IsReady());

    EXPECT_TRUE(IsUsed(L"a.xwmc"));
    EXPECT_FALSE(IsUsed(L"b.xwmc"));
}

TEST_F(CacheFileUse, TheMarksOfAKilledProcessAreGone) {
    WaitingProcess other([&] { Mark(L"a.xwmc"); });
    ASSERT_TRUE(other.IsReady());
    ASSERT_TRUE(IsUsed(L"a.xwmc"));

    other.Kill();

    EXPECT_FALSE(IsUsed(L"a.xwmc"));
}

TEST_F(CacheFileUse, AMarkOfTheOwnProcessAllowsARemovalAndRemains) {
    Mark(L"a.xwmc");

    EXPECT_FALSE(IsUsed(L"a.xwmc"));

    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
}

TEST_F(CacheFileUse, AProcessKnowsItsOwnMarksAndNoOthers) {
    const WaitingProcess other([&] { Mark(L"b.xwmc"); });
    ASSERT_TRUE(other.IsReady());
    const CacheFolderUse use(folder_.Wide(""));
    Mark(L"a.xwmc");

    EXPECT_TRUE(CacheFolderUse::IsMarked(folder_.Wide(""), L"a.xwmc"));
    EXPECT_FALSE(CacheFolderUse::IsMarked(folder_.Wide(""), L"b.xwmc"));
    EXPECT_FALSE(CacheFolderUse::IsMarked(folder_.Wide("missing"), L"a.xwmc"));
    EXPECT_EQ(InAnotherProcess(
                  [&] { return CacheFolderUse::IsMarked(folder_.Wide(""), L"a.xwmc") ? 1 : 0; }),
              0);
}

TEST_F(CacheFileUse, AProcessKnowsItsOwnMarksWithoutALockFile) {
    std::filesystem::create_directory(folder_ / CacheFolderUse::LOCK_FILE);
    const CacheFolderUse use(folder_.Wide(""));

    Mark(L"a.xwmc");

    EXPECT_TRUE(CacheFolderUse::IsMarked(folder_.Wide(""), L"a.xwmc"));
}

TEST_F(CacheFileUse, SeveralProcessesMarkOneFile) {
    const WaitingProcess first([&] { Mark(L"a.xwmc"); });
    WaitingProcess second([&] { Mark(L"a.xwmc"); });
    ASSERT_TRUE(first.IsReady() && second.IsReady());

    second.Kill();

    EXPECT_TRUE(IsUsed(L"a.xwmc"));
}

TEST_F(CacheFileUse, ARemovalOfAnotherProcessPreventsASecondRemoval) {
    const WaitingProcess other([&] { new CacheFileRemoval(folder_.Wide(""), L"a.xwmc"); });
    ASSERT_TRUE(other.IsReady());

    EXPECT_TRUE(IsUsed(L"a.xwmc"));
}

/// Whether a process waits for a lock of this kind. The system lists these locks without a process.
bool SomebodyWaits() {
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        if (line.find("->") == std::string::npos) continue;
        if (line.find("OFDLCK") != std::string::npos) return true;
    }
    return false;
}

TEST_F(CacheFileUse, AMarkWaitsUntilTheRemovalHasEnded) {
    std::optional<CacheFileRemoval> removal(std::in_place, folder_.Wide(""), L"a.xwmc");
    WriteFile(folder_ / "a.xwmc", "samples");
    const pid_t child = fork();
    if (child == 0) {
        Mark(L"a.xwmc");
        _exit(std::filesystem::exists(folder_ / "a.xwmc") ? 1 : 0);
    }
    int status = -1;
    while (!SomebodyWaits() && waitpid(child, &status, WNOHANG) == 0) {
    }

    std::filesystem::remove(folder_ / "a.xwmc");
    removal.reset();

    if (status == -1) waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the file existed after the mark";
}

TEST_F(CacheFileUse, AMovedRemovalKeepsItsRightUntilTheNewObjectIsDestroyed) {
    std::optional<CacheFileRemoval> first(std::in_place, folder_.Wide(""), L"a.xwmc");
    std::optional<CacheFileRemoval> second(std::move(*first));

    first.reset();
    EXPECT_TRUE(second->IsAllowed());
    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
    second.reset();
    EXPECT_FALSE(IsUsedElsewhere(L"a.xwmc"));
}

TEST_F(CacheFileUse, AnAssignmentReleasesTheOldRightAndTakesTheNewRight) {
    CacheFileRemoval removal(folder_.Wide(""), L"a.xwmc");

    removal = CacheFileRemoval(folder_.Wide(""), L"b.xwmc");
    EXPECT_FALSE(IsUsedElsewhere(L"a.xwmc"));
    EXPECT_TRUE(IsUsedElsewhere(L"b.xwmc"));

    CacheFileRemoval& itself = removal;
    removal = std::move(itself);
    EXPECT_TRUE(removal.IsAllowed());
    EXPECT_TRUE(IsUsedElsewhere(L"b.xwmc"));
}

TEST_F(CacheFileUse, ANewLockFileGetsTheMarksOfARemovedLockFile) {
    Mark(L"a.xwmc");
    std::filesystem::remove(folder_ / CacheFolderUse::LOCK_FILE);

    Mark(L"b.xwmc");

    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
    EXPECT_TRUE(IsUsedElsewhere(L"b.xwmc"));
    EXPECT_FALSE(IsUsedElsewhere(L"c.xwmc"));
}

TEST_F(CacheFileUse, AThreadThatWaitsForARemovalDoesNotBlockOtherThreads) {
    WaitingProcess other([&] { new CacheFileRemoval(folder_.Wide(""), L"a.xwmc"); });
    ASSERT_TRUE(other.IsReady());
    std::optional<CacheFileRemoval> own(std::in_place, folder_.Wide(""), L"b.xwmc");
    const std::future<void> waiting = std::async(std::launch::async, [&] { Mark(L"a.xwmc"); });
    while (!SomebodyWaits()) continue;

    const std::future<void> others = std::async(std::launch::async, [&] {
        own.reset();
        Mark(L"c.xwmc");
    });
    EXPECT_EQ(others.wait_for(std::chrono::seconds(60)), std::future_status::ready);

    other.Kill();
    waiting.wait();
    others.wait();
    EXPECT_FALSE(IsUsedElsewhere(L"b.xwmc"));
    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
    EXPECT_TRUE(IsUsedElsewhere(L"c.xwmc"));
}

TEST_F(CacheFileUse, TheLastUserOfAFolderReleasesTheMarks) {
    auto first = std::make_unique<CacheFolderUse>(folder_.Wide(""));
    auto second = std::make_unique<CacheFolderUse>(folder_.Wide("."));
    Mark(L"a.xwmc");

    first.reset();
    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
    second.reset();
    EXPECT_FALSE(IsUsedElsewhere(L"a.xwmc"));
}

TEST_F(CacheFileUse, AForkedProcessNeitherHasNorReleasesTheMarksOfItsParent) {
    Mark(L"a.xwmc");

    EXPECT_EQ(InAnotherProcess([&] {
                  const CacheFolderUse use(folder_.Wide(""));
                  Mark(L"b.xwmc");
                  return IsUsed(L"a.xwmc") ? 1 : 0;
              }),
              1);

    EXPECT_TRUE(IsUsedElsewhere(L"a.xwmc"));
    EXPECT_FALSE(IsUsedElsewhere(L"b.xwmc"));
}

TEST_F(CacheFileUse, TheLockFileIsNeverRemoved) {
    Mark(L"a.xwmc");

    EXPECT_TRUE(IsUsed(L".sonrel-in-use"));
}

TEST_F(CacheFileUse, AnotherUserSeesTheMarksInALockFileThatOnlyItsOwnerWrites) {
    Mark(L"a.xwmc");
    namespace fs = std::filesystem;
    fs::permissions(folder_ / CacheFolderUse::LOCK_FILE, static_cast<fs::perms>(0644));
    fs::permissions(folder_.Path(), static_cast<fs::perms>(0755));

    EXPECT_EQ(AsAnyone([&] { return (IsUsed(L"a.xwmc") ? 1 : 0) + (IsUsed(L"b.xwmc") ? 2 : 0); }),
              1);
}

TEST_F(CacheFileUse, ALockFileThatCannotBeOpenedPreventsEveryRemoval) {
    Mark(L"a.xwmc");
    namespace fs = std::filesystem;
    fs::permissions(folder_ / CacheFolderUse::LOCK_FILE, fs::perms::none);
    fs::permissions(folder_.Path(), fs::perms::all);

    EXPECT_EQ(AsAnyone([&] { return IsUsed(L"b.xwmc") ? 1 : 0; }), 1);
}

TEST_F(CacheFileUse, UsersOfASharedFolderLockOneFileForAnyUmask) {
    namespace fs = std::filesystem;
    fs::permissions(folder_.Path(), fs::perms::all);
    const mode_t before = umask(0077);
    Mark(L"a.xwmc");
    umask(before);

    EXPECT_EQ(fs::status(folder_ / CacheFolderUse::LOCK_FILE).permissions(),
              static_cast<fs::perms>(0666));
    EXPECT_EQ(AsAnyone([&] {
                  const CacheFileRemoval removal(folder_.Wide(""), L"b.xwmc");
                  return (IsUsed(L"a.xwmc") ? 1 : 0) + (IsUsedElsewhere(L"b.xwmc") ? 2 : 0);
              }),
              3)
        << "a removal by another user is exclusive";
}

TEST_F(CacheFileUse, AFolderHasLocksWhereItsLockFileCanBeMade) {
    EXPECT_TRUE(CacheFolderUse::HasLocks(folder_.Wide("")));
    std::filesystem::remove(folder_ / CacheFolderUse::LOCK_FILE);
    std::filesystem::create_directory(folder_ / CacheFolderUse::LOCK_FILE);
    EXPECT_FALSE(CacheFolderUse::HasLocks(folder_.Wide("")));
    EXPECT_FALSE(CacheFolderUse::HasLocks(folder_.Wide("missing")));
}

TEST_F(CacheFileUse, WithoutALockFileNoFileCountsAsUsed) {
    std::filesystem::create_directory(folder_ / CacheFolderUse::LOCK_FILE);
    const WaitingProcess other([&] { Mark(L"a.xwmc"); });
    ASSERT_TRUE(other.IsReady());

    EXPECT_FALSE(IsUsed(L"a.xwmc"));
    EXPECT_TRUE(CacheFileRemoval(folder_.Wide("missing"), L"a.xwmc").IsAllowed());
}

TEST_F(CacheFileUse, ALinkInThePlaceOfTheLockFileIsNotFollowed) {
    std::filesystem::create_symlink(folder_ / "made", folder_ / CacheFolderUse::LOCK_FILE);

    Mark(L"a.xwmc");

    EXPECT_FALSE(std::filesystem::exists(folder_ / "made"));
}

TEST_F(CacheFileUse, TheLastUserOfAFolderClosesItsLockFile) {
    const std::size_t before = NamesIn("/proc/self/fd").size();
    {
        const CacheFolderUse use(folder_.Wide(""));
        Mark(L"a.xwmc");
        EXPECT_GT(NamesIn("/proc/self/fd").size(), before);
    }
    EXPECT_EQ(NamesIn("/proc/self/fd").size(), before);
}

TEST_F(CacheFileUse, ThousandsOfFilesInUseNeedOneDescriptor) {
    const std::size_t before = NamesIn("/proc/self/fd").size();

    for (int i = 0; i < 3000; ++i) Mark(std::to_wstring(i) + L".xwmc");

    EXPECT_EQ(NamesIn("/proc/self/fd").size(), before + 1);
    EXPECT_TRUE(IsUsedElsewhere(L"0.xwmc"));
    EXPECT_TRUE(IsUsedElsewhere(L"2999.xwmc"));
}

}  // namespace
