// SPDX-License-Identifier: MIT
// Reads of assets at their own speed: ranges, codes, merged streams, compositions.
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

#include "sonrel/mixer/detail/AssetSource.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

class AssetRead : public ::testing::Test {
protected:
    int Read(const std::shared_ptr<project::MediaAsset>& asset, long long start, int count,
             GuardedBuffer& buffer, int bufferSize) {
        return rig_.Mixer().GetSamples(asset, start, count, buffer.Data(), bufferSize);
    }
    int Read(const std::shared_ptr<project::MediaAsset>& asset, long long start, int count,
             GuardedBuffer& buffer) {
        return Read(asset, start, count, buffer, buffer.Size());
    }
    int ReadAny(const std::shared_ptr<project::AbstractAsset>& asset, long long start, int count,
                GuardedBuffer& buffer) {
        return rig_.Mixer().GetSamples(builder_.Project(), asset, start, count, 48000,
                                       buffer.Data(), buffer.Size());
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(AssetRead, ReturnsTheFramesOfTheFile) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    ASSERT_EQ(Read(asset, 700, 100, buffer), 100);

    EXPECT_EQ(buffer.Frame(0), Frame(700, -29300));
    EXPECT_EQ(buffer.Frame(99), Frame(799, -29201));
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST_F(AssetRead, ThatReachesTheEndReturnsTheRemainingFrames) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 960, 100, buffer), 40);

    EXPECT_EQ(buffer.Frame(39).first, 999);
    EXPECT_TRUE(buffer.UntouchedFrom(160));
}

TEST_F(AssetRead, AtTheEndOrAfterItReturnsNothing) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 1000, 100, buffer), 0);
    EXPECT_EQ(Read(asset, 1001, 100, buffer), 0);
    EXPECT_EQ(Read(asset, LLONG_MAX, 100, buffer), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(AssetRead, OfANegativeStartOrCountIsRefused) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, -1, 100, buffer), -1);
    EXPECT_EQ(Read(asset, 0, -1, buffer), -1);
    EXPECT_EQ(Read(asset, LLONG_MIN, INT_MIN, buffer), -1);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(AssetRead, OfNoFrameReturnsNothing) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 0, 0, buffer), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(AssetRead, OfAnAssetWithoutAnAudioStreamReturnsNothingAtAnyPlace) {
    const auto asset = builder_.AddSilentMedia();
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 0, 100, buffer), 0);
    EXPECT_EQ(Read(asset, LLONG_MAX, 100, buffer), 0);
    EXPECT_EQ(Read(asset, -1, -1, buffer), 0);
    EXPECT_EQ(ReadAny(asset, -1, -1, buffer), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(AssetRead, OfAnEmptyStreamRefusesABadRangeFirst) {
    const auto asset = builder_.AddMedia({});
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 0, 100, buffer), 0);
    EXPECT_EQ(Read(asset, -1, 100, buffer), -1);
}

TEST_F(AssetRead, GoesByTheLengthOfTheStreamAndNotOfTheFile) {
    const auto asset = builder_.AddMedia(Counting(100));
    GuardedBuffer buffer(800);

    asset->AudioStream()->SetConformedSampleCount(50);
    EXPECT_EQ(Read(asset, 0, 100, buffer), 50);
    EXPECT_TRUE(buffer.UntouchedFrom(200));
    asset->AudioStream()->SetConformedSampleCount(200);
    EXPECT_EQ(Read(asset, 0, 150, buffer), 100);
}

TEST_F(AssetRead, InsideTheStreamIsCutToTheBuffer) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 0, 10, buffer, 40), 10);
    EXPECT_EQ(Read(asset, 0, 10, buffer, 39), 9);
    EXPECT_EQ(Read(asset, 0, 10, buffer, 4), 1);
    EXPECT_TRUE(buffer.UntouchedFrom(40));
}

TEST_F(AssetRead, IntoNoRoomReturnsNothing) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset, 0, 10, buffer, 3), 0);
    EXPECT_EQ(Read(asset, 0, 10, buffer, 0), 0);
    EXPECT_EQ(Read(asset, 0, 10, buffer, -400), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(AssetRead, ThatReachesTheEndWithTooLittleRoomIsRefusedByTheFile) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    // 40 frames are left.
    EXPECT_EQ(Read(asset, 960, 100, buffer, 159), 0);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(Read(asset, 960, 100, buffer, 160), 40);
}

TEST_F(AssetRead, OfAFileThatWasTruncatedSinceItWasOpenedReturnsNothing) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);
    ASSERT_EQ(Read(asset, 0, 1, buffer), 1);
    std::filesystem::resize_file(zrtl::ToUtf8(asset->AudioStream()->ConformedFilePath()), 1000);

    EXPECT_EQ(Read(asset, 900, 50, buffer), 0);
}

TEST_F(AssetRead, ByTheAnyAssetFormReadsMediaAtTheirOwnSpeed) {
    const auto asset = builder_.AddMedia(Counting(1000));
    GuardedBuffer buffer(400);

    EXPECT_EQ(ReadAny(asset, 960, 100, buffer), 40);
    EXPECT_EQ(buffer.Frame(0), Frame(960, -29040));
    EXPECT_EQ(ReadAny(asset, 1000, 100, buffer), 0);
    EXPECT_EQ(ReadAny(asset, -1, 100, buffer), -1);
    EXPECT_EQ(ReadAny(asset, 0, -1, buffer), -1);
    EXPECT_TRUE(buffer.UntouchedFrom(160));
}

// A stream whose file of 500 frames is at 100 to 600 of a range that ends at 1000.
class MergedRead : public AssetRead {
protected:
    MergedRead() {
        asset_->SetMerged(L"/media/sound.wav");
        stream().SetMergedSampleRange(100, 1000);
        stream().SetConformedSampleCount(1000);
        EXPECT_TRUE(file_.Open(stream().ConformedFilePath()));
    }

    project::MediaAudioStream& stream() { return *asset_->AudioStream(); }

    struct StreamRead {
        int code = 0;
        int read = -7;
        GuardedBuffer buffer{400};
    };
    StreamRead ReadStream(long long start, int count, int bufferSize = 400) {
        StreamRead result;
        result.code = sonrel::detail::ReadStreamSamples(
            stream(), file_, start, count, {zrtl::FramesOf(result.buffer.Data()), bufferSize},
            &result.read);
        return result;
    }

    std::shared_ptr<project::MediaAsset> asset_ = builder_.AddMedia(Counting(500));
    project::ConformedAudioFile file_;
};

TEST_F(MergedRead, BeginsWithSilenceBeforeTheFile) {
    const StreamRead result = ReadStream(50, 100);

    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.read, 100);
    EXPECT_EQ(result.buffer.Frame(0), Frame(0, 0));
    EXPECT_EQ(result.buffer.Frame(49), Frame(0, 0));
    EXPECT_EQ(result.buffer.Frame(50), Frame(0, -30000));
    EXPECT_EQ(result.buffer.Frame(99), Frame(49, -29951));
    EXPECT_TRUE(result.buffer.GuardsIntact());
}

TEST_F(MergedRead, EndsWithSilenceAfterTheFile) {
    const StreamRead result = ReadStream(550, 100);

    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.read, 100);
    EXPECT_EQ(result.buffer.Frame(49), Frame(499, -29501));
    EXPECT_EQ(result.buffer.Frame(50), Frame(0, 0));
    EXPECT_EQ(result.buffer.Frame(99), Frame(0, 0));
}

TEST_F(MergedRead, IsAllSilenceBeforeAndAfterTheFile) {
    for (const long long start : {0, 600, 900}) {
        const StreamRead result = ReadStream(start, 100);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.read, 100);
        EXPECT_EQ(result.buffer.Values(), Samples(200, 0)) << start;
    }
}

TEST_F(MergedRead, WithinTheFileIsTheFile) {
    const StreamRead result = ReadStream(100, 100);

    EXPECT_EQ(result.read, 100);
    EXPECT_EQ(result.buffer.Values(), Counting(100));
}

TEST_F(MergedRead, OfABadRangeIs7) {
    EXPECT_EQ(ReadStream(-1, 100).code, 7);
    EXPECT_EQ(ReadStream(50, 0).code, 7);
    EXPECT_EQ(ReadStream(50, -1).code, 7);
}

TEST_F(MergedRead, PastTheMergedEndIs8) {
    EXPECT_EQ(ReadStream(900, 100).code, 0);
    EXPECT_EQ(ReadStream(901, 100).code, 8);
    EXPECT_EQ(ReadStream(950, 100).code, 8);
    EXPECT_EQ(ReadStream(LLONG_MAX, 100).code, 8);
}

TEST_F(MergedRead, IntoTooLittleRoomIs12) {
    EXPECT_EQ(ReadStream(50, 100, 400).code, 0);
    const StreamRead result = ReadStream(50, 100, 399);

    EXPECT_EQ(result.code, 12);
    EXPECT_TRUE(result.buffer.Untouched());
    EXPECT_EQ(ReadStream(50, 1, 3).code, 12);
    EXPECT_EQ(ReadStream(50, 1, -4).code, 12);
}

TEST_F(MergedRead, TestsTheRangeThenTheEndThenTheRoom) {
    EXPECT_EQ(ReadStream(-1, 2000, 0).code, 7);
    EXPECT_EQ(ReadStream(950, 100, 0).code, 8);
}

TEST_F(MergedRead, PassesOnTheCodeOfTheFile) {
    file_ = project::ConformedAudioFile();  // closed: no frames, code 1 for any read
    EXPECT_EQ(ReadStream(300, 100).code, 0);

    ASSERT_TRUE(file_.Open(stream().ConformedFilePath()));
    std::filesystem::resize_file(zrtl::ToUtf8(stream().ConformedFilePath()), 100);
    EXPECT_EQ(ReadStream(300, 100).code, 2);
}

TEST_F(MergedRead, ReturnsTheWholeRequestOrNothingOutside) {
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset_, 50, 100, buffer), 100);
    EXPECT_EQ(buffer.Frame(50), Frame(0, -30000));
    // 950 and 100 would be cut to the stream's 1000 frames, and 50 frames end at the merged end.
    EXPECT_EQ(Read(asset_, 950, 100, buffer), 50);
    stream().SetConformedSampleCount(2000);
    EXPECT_EQ(Read(asset_, 950, 100, buffer), 0);
}

TEST_F(MergedRead, AtTheLengthOfTheStreamReturnsNothing) {
    GuardedBuffer buffer(400);

    EXPECT_EQ(Read(asset_, 1000, 100, buffer), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(MergedRead, OfAStreamThatIsNotMergedIsTheReadOfTheFile) {
    asset_->ClearMerged();

    const StreamRead result = ReadStream(450, 100);

    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.read, 50);
    EXPECT_EQ(ReadStream(0, 100, 399).code, 12);
    EXPECT_EQ(ReadStream(0, 0).code, 0);
}

// A composition of 2 frames, 3840 samples, that plays counting frames.
class CompositionRead : public AssetRead {
protected:
    CompositionRead() { builder_.AddLayer(composition_, builder_.AddMedia(Counting(5000)), 0, 10); }

    std::shared_ptr<project::CompositionAsset> composition_ =
        builder_.AddComposition({25.0, 48000, 2});
};

TEST_F(CompositionRead, ReturnsItsMix) {
    GuardedBuffer buffer(400);

    EXPECT_EQ(ReadAny(composition_, 1000, 100, buffer), 100);

    EXPECT_EQ(buffer.Frame(0), Frame(1000, -29000));
    EXPECT_EQ(buffer.Frame(99), Frame(1099, -28901));
}

TEST_F(CompositionRead, PastItsEndIsCutAndTheRestOfTheBufferIsSilent) {
    GuardedBuffer buffer(800);

    EXPECT_EQ(ReadAny(composition_, 3800, 100, buffer), 40);

    EXPECT_EQ(buffer.Frame(39), Frame(3839, -26161));
    for (int i = 40; i < 200; ++i) ASSERT_EQ(buffer.Frame(i), Frame(0, 0)) << i;
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST_F(CompositionRead, UpToItsEndKeepsTheRestOfTheBuffer) {
    GuardedBuffer buffer(800);

    EXPECT_EQ(ReadAny(composition_, 3740, 100, buffer), 100);
    EXPECT_TRUE(buffer.UntouchedFrom(400));
}

TEST_F(CompositionRead, OutsideItsLengthReturnsNothing) {
    GuardedBuffer buffer(400);

    EXPECT_EQ(ReadAny(composition_, -1, 100, buffer), 0);
    EXPECT_EQ(ReadAny(composition_, 3840, 100, buffer), 0);
    EXPECT_EQ(ReadAny(composition_, LLONG_MAX, 100, buffer), 0);
    EXPECT_EQ(ReadAny(composition_, LLONG_MIN, 100, buffer), 0);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(CompositionRead, OfNoFrameOrFewerIsRefusedAsARequest) {
    GuardedBuffer buffer(400);

    EXPECT_EQ(ReadAny(composition_, 0, 0, buffer), -1);
    EXPECT_EQ(ReadAny(composition_, 0, -1, buffer), -1);
    EXPECT_TRUE(buffer.Untouched());
}

TEST_F(CompositionRead, OfMoreThanSixtySecondsIsTooLong) {
    const auto longOne = builder_.AddComposition({25.0, 8000, 61 * 25});
    GuardedBuffer buffer(4 * 480001);

    EXPECT_EQ(ReadAny(longOne, 0, 480001, buffer), -3);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(ReadAny(longOne, 0, 480000, buffer), 480000);
}

TEST_F(CompositionRead, IsAtItsOwnRateForEveryRateOfTheCaller) {
    const auto slow = builder_.AddComposition({25.0, 8000, 2});
    builder_.AddLayer(slow, builder_.AddMedia(Counting(5000)), 0, 10);
    GuardedBuffer buffer(400);

    // 640 samples in all at its own 8000 Hz.
    EXPECT_EQ(ReadAny(slow, 600, 100, buffer), 40);
    EXPECT_EQ(buffer.Frame(39).first, 639);
}

}  // namespace
}  // namespace sonrel_tests
