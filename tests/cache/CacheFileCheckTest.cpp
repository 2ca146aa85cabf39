// SPDX-License-Identifier: MIT
#include "sonrel/cache/CacheFileCheck.h"

#include <filesystem>

#include "tests/cache/PeakFileFixture.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::CacheFileCheck::IsWholePeakFile;
using orlo::sonrel::CacheFileCheck::PeakFileChecksum;

/// A peak file of three blocks of two channels: 20 + 3 * 5 bytes.
const std::string WHOLE = PeakHeader(2, 3) + std::string(15, '\1');

class CacheFileCheckTest : public testing::Test {
protected:
    bool IsWhole(const std::string& bytes, int channels = 0) {
        WriteFile(folder_ / "p.xwpk", bytes);
        return IsWholePeakFile(folder_.Wide("p.xwpk"), channels);
    }

    TemporaryFolder folder_;
};

TEST_F(CacheFileCheckTest, APeakFileIsWholeWhenItEndsWithItsLastBlock) {
    EXPECT_TRUE(IsWhole(WHOLE));
    EXPECT_FALSE(IsWhole(WHOLE.substr(0, WHOLE.size() - 1)));
    EXPECT_FALSE(IsWhole(WHOLE + '\1'));
}

TEST_F(CacheFileCheckTest, APeakFileOfAStreamWithoutLengthIsWhole) {
    EXPECT_TRUE(IsWhole(PeakHeader(2, 0)));
    EXPECT_FALSE(IsWhole(PeakHeader(2, 0) + '\1'));
}

TEST_F(CacheFileCheckTest, APeakFileWithoutAValidHeaderIsNotWhole) {
    const std::string blocks(15, '\1');
    EXPECT_FALSE(IsWhole(""));
    EXPECT_FALSE(IsWhole(std::string(35, '\0')));
    EXPECT_FALSE(IsWhole(PeakHeader(2, 3).substr(0, 19)));
    EXPECT_FALSE(IsWhole("ORLOXWPX" + WHOLE.substr(8)));
    EXPECT_FALSE(IsWhole(PeakHeader(2, 3, 2) + blocks));
    EXPECT_FALSE(IsWhole(PeakHeader(0, 15) + blocks));
    EXPECT_FALSE(IsWhole(PeakHeader(17, 1) + std::string(35, '\1')));
}

TEST_F(CacheFileCheckTest, APeakFileOfAnotherChannelCountIsNotWhole) {
    EXPECT_TRUE(IsWhole(WHOLE, 2));
    EXPECT_FALSE(IsWhole(WHOLE, 1));
}

TEST_F(CacheFileCheckTest, ABlockCountAbove2147483647IsComparedWithTheLengthToo) {
    EXPECT_FALSE(IsWhole(PeakHeader(2, 0xFFFFFFFF)));
}

TEST_F(CacheFileCheckTest, TheChecksumCoversTheBlocksAndThenTheHeader) {
    WriteFile(folder_ / "p.xwpk", WHOLE);

    // XXH3 of the 15 bytes of blocks followed by the 20 bytes of the header.
    const std::size_t descriptors = NamesIn("/proc/self/fd").size();
    EXPECT_EQ(PeakFileChecksum(folder_.Wide("p.xwpk"), {}), 0xFA75B00D945E2A28u);
    EXPECT_EQ(NamesIn("/proc/self/fd").size(), descriptors);
}

TEST_F(CacheFileCheckTest, AFileShorterThanItsHeaderHasNoChecksum) {
    WriteFile(folder_ / "p.xwpk", WHOLE.substr(0, 19));

    EXPECT_EQ(PeakFileChecksum(folder_.Wide("p.xwpk"), {}), std::nullopt);
    EXPECT_EQ(PeakFileChecksum(folder_.Wide("none.xwpk"), {}), std::nullopt);
}

TEST_F(CacheFileCheckTest, AChecksumThatIsStoppedHasNoValue) {
    WriteFile(folder_ / "p.xwpk", WHOLE);

    EXPECT_EQ(PeakFileChecksum(folder_.Wide("p.xwpk"), [] { return false; }), std::nullopt);
}

TEST_F(CacheFileCheckTest, AMissingFileOrALinkIsNotAWholePeakFile) {
    EXPECT_FALSE(IsWholePeakFile(folder_.Wide("none.xwpk")));
    WriteFile(folder_ / "p.xwpk", WHOLE);
    std::filesystem::create_symlink(folder_ / "p.xwpk", folder_ / "link.xwpk");

    EXPECT_FALSE(IsWholePeakFile(folder_.Wide("link.xwpk")));
}

}  // namespace
}  // namespace sonrel_tests
