// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/MediaFingerprint.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::sonrel::detail::MediaFingerprint;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

void SetWriteTime(const std::filesystem::path& path, long long seconds, long nanoseconds) {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

/// The fingerprint of a file with this size and last-write time since 1970.
std::wstring FingerprintOf(std::uintmax_t size, time_t seconds, long nanoseconds,
                           const std::string& name = "media", char content = 'x') {
    const TemporaryFolder folder;
    WriteFile(folder / name, std::string(std::min<std::uintmax_t>(size, 1001), content));
    std::filesystem::resize_file(folder / name, size);
    SetWriteTime(folder / name, seconds, nanoseconds);
    return MediaFingerprint(folder.Wide(name));
}

// The digests are computed with md5sum. 1240428288 s and 12300 ns after 1970 are 128849018880000123
// ticks after 1601, whose halves are 30000000 and 123.

TEST(MediaFingerprint, IsTheDigestOfSizeAndWriteTimeInHalves) {
    // printf 0100030000000123 | md5sum
    EXPECT_EQ(FingerprintOf(1000, 1240428288, 12300), L"de0ce3020cc19a767a4c9db6f569f4b4");
}

TEST(MediaFingerprint, DoesNotDependOnNameOrContents) {
    EXPECT_EQ(FingerprintOf(1000, 1240428288, 12300, "other name", 'y'),
              L"de0ce3020cc19a767a4c9db6f569f4b4");
}

TEST(MediaFingerprint, ChangesWithTheSize) {
    // printf 0100130000000123 | md5sum
    EXPECT_EQ(FingerprintOf(1001, 1240428288, 12300), L"3e59ec8e286936533ac6bd4486057ee1");
}

TEST(MediaFingerprint, CountsTheHighHalfOfTheSize) {
    // printf 3730000000123 | md5sum
    EXPECT_EQ(FingerprintOf((3ULL << 32) + 7, 1240428288, 12300),
              L"42f7984bf244803cf7804ead5144b684");
}

TEST(MediaFingerprint, ChangesWithTheWriteTimeByTicksOf100Nanoseconds) {
    // printf 0100030000000124 | md5sum
    EXPECT_EQ(FingerprintOf(1000, 1240428288, 12400), L"e54c5e9aa7cb628dd014288498edc2f2");
}

TEST(MediaFingerprint, CutsNanosecondsBelowATick) {
    EXPECT_EQ(FingerprintOf(1000, 1240428288, 12399), L"de0ce3020cc19a767a4c9db6f569f4b4");
}

TEST(MediaFingerprint, TimesBefore1970Count) {
    // 116444735990000000 ticks: halves 27111902 and 3567643008; printf 01000271119023567643008 |
    // md5sum
    EXPECT_EQ(FingerprintOf(1000, -1, 0), L"e72f9558825344ec730ae1c23fdece13");
}

TEST(MediaFingerprint, ALinkIsFollowedToItsFile) {
    TemporaryFolder folder;
    WriteFile(folder / "media", std::string(1000, 'x'));
    SetWriteTime(folder / "media", 1240428288, 12300);
    std::filesystem::create_symlink("media", folder / "link");

    EXPECT_EQ(MediaFingerprint(folder.Wide("link")), L"de0ce3020cc19a767a4c9db6f569f4b4");
}

TEST(MediaFingerprint, IsEmptyIfTheFileCannotBeExamined) {
    TemporaryFolder folder;

    EXPECT_EQ(MediaFingerprint(folder.Wide("missing")), L"");
    EXPECT_EQ(MediaFingerprint(L""), L"");
}

}  // namespace
