// SPDX-License-Identifier: MIT
#include "sonrel/media/input/ReadObserver.h"

#include <gmock/gmock.h>

#include <optional>
#include <thread>

#include "tests/media/MediaSupport.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

using namespace sonrel_tests;
using testing::ElementsAre;
using testing::IsEmpty;
using zrh::media::ReadCancelled;
using zrh::media::ReadFailed;
using zrh::media::ReadObserver;

namespace {

class ReadObserverOfMedia : public testing::Test {
protected:
    ReadObserverOfMedia() { WriteFile(folder_ / "a.wav", ConformedFileBytes(200000)); }

    /// Records the arguments and continues.
    ReadObserver::Function Noting() {
        return [this](long long done) {
            told_.push_back(done);
            return true;
        };
    }

    static int Read(ZRAbstractAudioStream& stream, long long start, int count) {
        std::vector<unsigned char> buffer(static_cast<std::size_t>(count) * 4);
        int read = 0;
        return stream.GetSamples(start, count, buffer.data(), count * 4, &read);
    }

    TemporaryFolder folder_;
    std::vector<long long> told_;
};

TEST_F(ReadObserverOfMedia, IsCalledForTheFirstSamplesAndThenEvery65536) {
    const ReadObserver observer(Noting());
    OpenedMedia media(folder_ / "a.wav");
    const auto stream = media.Audio();

    for (int i = 0; i < 6; ++i) Read(*stream, 32768LL * i, 32768);

    EXPECT_THAT(told_, ElementsAre(32768, 98304, 163840));
}

TEST_F(ReadObserverOfMedia, AddsTheFilesOfOneThreadOnAnyReadingThread) {
    const ReadObserver observer(Noting());
    OpenedMedia first(folder_ / "a.wav");
    OpenedMedia second(folder_ / "a.wav");

    std::thread([&] { Read(*first.Audio(), 0, 1000); }).join();
    std::thread([&] { Read(*second.Audio(), 0, 500); }).join();

    EXPECT_THAT(told_, ElementsAre(1000, 1500));
}

TEST_F(ReadObserverOfMedia, AFunctionThatReturnsFalseStopsEveryStream) {
    const ReadObserver observer([](long long) { return false; });
    OpenedMedia first(folder_ / "a.wav");
    OpenedMedia second(folder_ / "a.wav");
    const auto stream = first.Audio();

    EXPECT_THROW(Read(*stream, 0, 32), ReadCancelled);
    EXPECT_THROW(Read(*stream, 0, 32), ReadCancelled);
    EXPECT_THROW(Read(*second.Audio(), 0, 32), ReadCancelled);
}

TEST_F(ReadObserverOfMedia, FilesOpenedBeforeOrElsewhereAreNotWatched) {
    OpenedMedia before(folder_ / "a.wav");
    const ReadObserver observer(Noting());
    std::thread([&] {
        OpenedMedia elsewhere(folder_ / "a.wav");
        Read(*elsewhere.Audio(), 0, 1000);
    }).join();

    EXPECT_EQ(Read(*before.Audio(), 0, 1000), 0);

    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(ReadObserverOfMedia, AnEndedObserverIsNotCalled) {
    std::optional<ReadObserver> observer(Noting());
    OpenedMedia media(folder_ / "a.wav");
    const auto stream = media.Audio();
    observer.reset();

    EXPECT_EQ(Read(*stream, 0, 1000), 0);
    OpenedMedia after(folder_ / "a.wav");
    EXPECT_EQ(Read(*after.Audio(), 0, 1000), 0);

    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(ReadObserverOfMedia, TheLastObserverWatchesAndTheOuterObserverAfterItsEnd) {
    const ReadObserver outer(Noting());
    {
        const ReadObserver inner([](long long) { return true; });
        OpenedMedia media(folder_ / "a.wav");
        Read(*media.Audio(), 0, 1000);
    }
    EXPECT_THAT(told_, IsEmpty());

    OpenedMedia media(folder_ / "a.wav");
    Read(*media.Audio(), 0, 700);
    EXPECT_THAT(told_, ElementsAre(700));
}

TEST_F(ReadObserverOfMedia, AFileThatHasBecomeShorterFailsEveryWatchedStream) {
    WriteFile(folder_ / "b.wav", ConformedFileBytes(1000));
    const ReadObserver observer(Noting());
    OpenedMedia cut(folder_ / "a.wav");
    OpenedMedia whole(folder_ / "b.wav");
    const auto stream = cut.Audio();
    EXPECT_EQ(Read(*stream, 0, 1000), 0);
    EXPECT_EQ(observer.Failure(), "");
    std::filesystem::resize_file(folder_ / "a.wav", 44 + 4 * 100000);

    EXPECT_THROW(Read(*stream, 150000, 1000), ReadFailed);
    EXPECT_THROW(Read(*stream, 0, 1000), ReadFailed);
    EXPECT_THROW(Read(*whole.Audio(), 0, 1000), ReadFailed);

    // The samples start at byte 44.
    EXPECT_EQ(observer.Failure(), "it cannot be read at byte 600044: it has become shorter");
}

TEST_F(ReadObserverOfMedia, AFileThatEndsBeforeItsDeclaredLengthIsNotAFailure) {
    std::filesystem::resize_file(folder_ / "a.wav", 44 + 4 * 100000);
    const ReadObserver observer(Noting());
    OpenedMedia media(folder_ / "a.wav");
    const auto stream = media.Audio();
    ASSERT_EQ(stream->SampleCount(), 100000);

    for (int i = 0; i < 4; ++i) EXPECT_EQ(Read(*stream, 25000LL * i, 25000), 0);
    EXPECT_EQ(Read(*stream, 100000, 1), Code(MediaError::EndOfStream));

    EXPECT_EQ(observer.Failure(), "");
}

TEST_F(ReadObserverOfMedia, WithoutAnObserverAFailedReadReturnsACode) {
    std::optional<ReadObserver> observer(Noting());
    OpenedMedia media(folder_ / "a.wav");
    const auto stream = media.Audio();
    std::filesystem::resize_file(folder_ / "a.wav", 44 + 4 * 100000);
    EXPECT_THROW(Read(*stream, 150000, 1000), ReadFailed);
    observer.reset();

    EXPECT_EQ(Read(*stream, 150000, 1000), Code(MediaError::ReadFailed));
    EXPECT_EQ(Read(*stream, 0, 1000), 0);
}

}  // namespace
