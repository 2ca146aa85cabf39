// SPDX-License-Identifier: MIT
// The report of conformed files that could not be read.
#include "sonrel/mixer/FailedReads.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "sonrel/mixer/detail/FailedReadLog.h"
#include "tests/support/MixRig.h"
#include "tests/support/NoDescriptors.h"

namespace sonrel_tests {
namespace {

using sonrel::FailedRead;
using sonrel::ReadFailure;
using sonrel::detail::FailedReadLog;

class FailedReads : public ::testing::Test {
protected:
    static std::string FileOf(const std::shared_ptr<project::MediaAsset>& asset) {
        return zrtl::ToUtf8(asset->AudioStream()->ConformedFilePath());
    }
    /// An asset of ten video frames whose file has been deleted.
    std::shared_ptr<project::MediaAsset> AddLost() {
        auto asset = builder_.AddMedia(Counting(10 * FRAME));
        std::filesystem::remove(FileOf(asset));
        return asset;
    }
    int Read(const std::shared_ptr<project::MediaAsset>& asset, long long start, int count) {
        GuardedBuffer buffer(4 * count);
        return rig_.Mixer().GetSamples(asset, start, count, buffer.Data(), buffer.Size());
    }
    std::vector<FailedRead> All() { return rig_.Mixer().FailedReadsSince(0); }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(FailedReads, AreNoneWhereEverythingWasRead) {
    const auto asset = builder_.AddMedia(Counting(1000));

    EXPECT_EQ(Read(asset, 0, 100), 100);
    EXPECT_EQ(Read(asset, 960, 100), 40);
    EXPECT_EQ(Read(asset, 1000, 100), 0);
    EXPECT_EQ(Read(asset, -1, 100), -1);

    EXPECT_TRUE(All().empty());
}

TEST_F(FailedReads, NameTheMediaFileTheConformedFileAndTheReasonOfTheSystem) {
    const auto asset = AddLost();
    asset->SetAudioStreamIndex(2);

    EXPECT_EQ(Read(asset, 300, 100), 0);

    const std::vector<FailedRead> failed = All();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].mediaPath, asset->Filename());
    EXPECT_EQ(failed[0].streamIndex, 2);
    EXPECT_EQ(failed[0].conformedPath, asset->AudioStream()->ConformedFilePath());
    EXPECT_EQ(failed[0].reason, ReadFailure::CannotOpen);
    EXPECT_EQ(failed[0].systemError, ENOENT);
    EXPECT_EQ(failed[0].sourceSample, 300);
    EXPECT_EQ(failed[0].timelineSample, 300);
}

// UndefinedBehaviorSanitizer opens a pipe to check the address of an object. Without a free
// descriptor it reports every object.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(FailedReads, ReportThatDescriptorsAreUsedUp) {
    const auto asset = builder_.AddMedia(Counting(1000));
    {
        const NoDescriptors none;
        EXPECT_EQ(Read(asset, 0, 100), 0);
    }

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].reason, ReadFailure::CannotOpen);
    EXPECT_EQ(All()[0].systemError, EMFILE);
}
#endif

TEST_F(FailedReads, HaveNoSystemErrorForAFileWithOtherContent) {
    const auto asset = builder_.AddMedia(Counting(1000));
    WriteFile(FileOf(asset), "no conformed file");
    errno = EIO;

    EXPECT_EQ(Read(asset, 0, 100), 0);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].reason, ReadFailure::CannotOpen);
    EXPECT_EQ(All()[0].systemError, 0);
}

TEST_F(FailedReads, IncludeAFileThatIsTruncatedWhileItIsOpen) {
    const auto asset = builder_.AddMedia(Counting(1000));
    EXPECT_EQ(Read(asset, 0, 100), 100);
    std::filesystem::resize_file(FileOf(asset), 44 + 4 * 500);
    errno = EIO;

    EXPECT_EQ(Read(asset, 450, 100), 0);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].reason, ReadFailure::CannotRead);
    EXPECT_EQ(All()[0].systemError, 0);
    EXPECT_EQ(All()[0].sourceSample, 450);
}

TEST_F(FailedReads, IncludeAFileThatIsShorterThanItsStream) {
    const auto asset = builder_.AddMedia(Counting(100));
    asset->AudioStream()->SetConformedSampleCount(200);

    EXPECT_EQ(Read(asset, 0, 100), 100);
    EXPECT_TRUE(All().empty());
    EXPECT_EQ(Read(asset, 40, 100), 60);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].reason, ReadFailure::TooShort);
    EXPECT_EQ(All()[0].sourceSample, 100);
}

TEST_F(FailedReads, IncludeTheFileOfAMergedAsset) {
    const auto asset = AddLost();
    asset->SetMerged(L"/media/merged.wav");
    asset->AudioStream()->SetMergedSampleRange(100, 500);

    EXPECT_EQ(Read(asset, 100, 10), 0);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].mediaPath, L"/media/merged.wav");
}

TEST_F(FailedReads, GiveTheMixBlockOnTheTimelineAndTheSampleInTheSource) {
    builder_.AddObject(AddLost(), 10, 14, 5);

    EXPECT_EQ(rig_.Request(builder_, 0, 12 * FRAME).result, 12 * FRAME);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].timelineSample, 10 * FRAME);
    EXPECT_EQ(All()[0].sourceSample, 5 * FRAME);
}

TEST_F(FailedReads, InsideANestedCompositionGiveTheTimelineOfTheRequest) {
    const auto composition = builder_.AddComposition({});
    builder_.AddLayer(composition, AddLost(), 2, 6);
    builder_.AddObject(composition, 10, 20);

    EXPECT_EQ(rig_.Request(builder_, 0, 20 * FRAME).result, 20 * FRAME);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].timelineSample, 12 * FRAME);
    EXPECT_EQ(All()[0].sourceSample, 0);
}

TEST_F(FailedReads, OfACompositionGiveItsOwnTimeline) {
    const auto composition = builder_.AddComposition({});
    builder_.AddLayer(composition, AddLost(), 2, 6);

    EXPECT_EQ(rig_.Request(builder_.Project(), composition, 0, 5 * FRAME).result, 5 * FRAME);

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].timelineSample, 2 * FRAME);
}

TEST_F(FailedReads, OfARenderedObjectGiveTheStartOfTheRequest) {
    const auto object = builder_.AddObject(AddLost(), 10, 14);
    std::vector<unsigned char> samples;

    rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 11 * FRAME, 100, 48000,
                            samples, zrtl::ZRID());

    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].timelineSample, 11 * FRAME);
    EXPECT_EQ(All()[0].sourceSample, FRAME);
}

TEST_F(FailedReads, AreTheFirstOneOfEachFileInTheOrderInWhichTheyHappened) {
    const auto late = AddLost();
    const auto early = AddLost();
    const auto track = builder_.AddTrack();
    builder_.AddObject(track, early, 1, 5);
    builder_.AddObject(track, late, 5, 10);

    EXPECT_EQ(rig_.Request(builder_, 0, 10 * FRAME).result, 10 * FRAME);

    const std::vector<FailedRead> failed = All();
    ASSERT_EQ(failed.size(), 2u);
    EXPECT_EQ(failed[0].mediaPath, early->Filename());
    EXPECT_EQ(failed[0].timelineSample, FRAME);
    EXPECT_EQ(failed[1].mediaPath, late->Filename());
    EXPECT_EQ(failed[1].timelineSample, 5 * FRAME);
}

TEST_F(FailedReads, AreReportedAgainAfterAMark) {
    const auto asset = AddLost();
    Read(asset, 100, 10);
    const unsigned long long mark = rig_.Mixer().MarkFailedReads();
    EXPECT_TRUE(rig_.Mixer().FailedReadsSince(mark).empty());

    Read(asset, 200, 10);
    Read(asset, 300, 10);

    const std::vector<FailedRead> failed = rig_.Mixer().FailedReadsSince(mark);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].sourceSample, 200);
    ASSERT_EQ(All().size(), 1u);
    EXPECT_EQ(All()[0].sourceSample, 100);
    EXPECT_TRUE(rig_.Mixer().FailedReadsSince(rig_.Mixer().MarkFailedReads()).empty());
}

TEST_F(FailedReads, OfOneUserStayWhenAnotherMarks) {
    const unsigned long long mark = rig_.Mixer().MarkFailedReads();
    Read(AddLost(), 100, 10);

    EXPECT_GT(rig_.Mixer().MarkFailedReads(), mark);

    EXPECT_EQ(rig_.Mixer().FailedReadsSince(mark).size(), 1u);
}

TEST_F(FailedReads, AreNoneForAStreamWithNothingToRead) {
    const auto notReady = AddLost();
    notReady->AudioStream()->SetSamplesAvailable(false);
    const auto empty = AddLost();
    empty->AudioStream()->SetConformedSampleCount(0);
    const auto withoutPath = AddLost();
    withoutPath->AudioStream()->ClearConformedFile();
    withoutPath->AudioStream()->SetConformedSampleCount(1000);

    EXPECT_EQ(Read(notReady, 0, 10), 0);
    EXPECT_EQ(Read(empty, 0, 10), 0);
    EXPECT_EQ(Read(withoutPath, 0, 10), 0);

    EXPECT_TRUE(All().empty());
}

TEST_F(FailedReads, AreNoneForARequestThatTheStreamRefuses) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);
    // 40 samples are left, and there is room for 39.
    EXPECT_EQ(rig_.Mixer().GetSamples(asset, 960, 100, buffer.Data(), 159), 0);
    asset->SetMerged(L"/media/merged.wav");
    asset->AudioStream()->SetMergedSampleRange(0, 500);

    EXPECT_EQ(Read(asset, 450, 100), 0);

    EXPECT_TRUE(All().empty());
}

FailedRead Named(const std::string& name) {
    FailedRead read;
    read.conformedPath.assign(name.begin(), name.end());
    return read;
}

TEST(FailedReadLog, DropsTheOldestOfEarlierMarksFirst) {
    FailedReadLog log;
    log.Add(Named("first"));
    log.Add(Named("second"));
    const unsigned long long mark = log.Mark();

    for (std::size_t i = 0; i + 1 < FailedReadLog::MAX_RECORDS; ++i) {
        log.Add(Named(std::to_string(i)));
    }

    EXPECT_EQ(log.Since(0).size(), FailedReadLog::MAX_RECORDS);
    EXPECT_EQ(log.Since(0).front().conformedPath, L"second");
    EXPECT_EQ(log.Since(mark).front().conformedPath, L"0");
}

TEST(FailedReadLog, KeepsTheFirstRecordsOfTheLatestMark) {
    FailedReadLog log;
    log.Mark();

    for (std::size_t i = 0; i < FailedReadLog::MAX_RECORDS + 2; ++i) {
        log.Add(Named(std::to_string(i)));
    }

    EXPECT_EQ(log.Since(0).size(), FailedReadLog::MAX_RECORDS);
    EXPECT_EQ(log.Since(0).front().conformedPath, L"0");
    EXPECT_EQ(log.Since(0).back().conformedPath, L"4095");
}

}  // namespace
}  // namespace sonrel_tests
