// SPDX-License-Identifier: MIT
// The rules of peak files only; CacheHelperTest.cpp has the rules of all cache files.
#include <gmock/gmock.h>

#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/PeakFile.h"
#include "tests/cache/CacheHelperFixture.h"

namespace {

using orlo::sonrel::PeakFile;
using sonrel_tests::WriteFile;
using testing::IsEmpty;
using testing::SizeIs;

class WaveformPeakFile : public sonrel_tests::PeakFileHelperFixture {
protected:
    void ExpectFailedSave() {
        EXPECT_EQ(Create(), L"");
        ExpectOneLine("Could not save: ");
        EXPECT_THAT(CacheFiles(), IsEmpty());
        EXPECT_THAT(db.peaks, IsEmpty());
        EXPECT_EQ(media.OpenFiles(), 0);
    }
};

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

TEST_F(WaveformPeakFile, TheFileSummarisesTheStreamAtItsOwnRate) {
    media.format.rate = 8000;
    media.format.channels = 3;
    media.format.frames = 330;

    PeakFile file;
    ASSERT_TRUE(file.Open(Create()));

    EXPECT_EQ(file.ChannelCount(), 3);
    EXPECT_EQ(file.BlockCount(), 11);
}

TEST_F(WaveformPeakFile, ShortMediaAreReadInOnePassAndLongMediaByFourReaders) {
    media.format.frames = 30 * 48000 - 1;
    Create();
    EXPECT_EQ(media.CallCount("Create"), 1);

    WriteFile(folder / "a.mov", "changed");
    media.format.frames = 30 * 48000;
    Create();
    EXPECT_EQ(media.CallCount("Create"), 1 + 4);
}

TEST_F(WaveformPeakFile, AStreamOfNoFramesIsRecordedThoughItsFileDoesNotOpen) {
    media.format.frames = 0;

    const std::wstring path = Create();

    ASSERT_NE(path, L"");
    EXPECT_THAT(db.peaks, SizeIs(1));
    EXPECT_FALSE(PeakFile().Open(path));
    EXPECT_EQ(Create(), path);
}

TEST_F(WaveformPeakFile, SeventeenChannelsAreAFailedFile) {
    media.format.channels = 17;
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, ASampleSizeThatIsNotAMultipleOf8IsAFailedFile) {
    media.format.bits = 12;
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, AReaderThatIsMissingInTheMiddleIsAFailedFile) {
    media.format.frames = 30 * 48000;
    int opened = 0;
    media.create = [&](const std::wstring&) { return opened++ == 2 ? 1 : 0; };
    ExpectFailedSave();
}

TEST_F(WaveformPeakFile, AMissingCacheFolderIsAFailedFileAndIsNotMade) {
    std::filesystem::remove(folder / "cache");

    EXPECT_EQ(Create(), L"");

    ExpectOneLine("Could not save: ");
    EXPECT_FALSE(std::filesystem::exists(folder / "cache"));
    EXPECT_THAT(db.peaks, IsEmpty());
}

}  // namespace
