// SPDX-License-Identifier: MIT
#include "sonrel/media/index/IndexCache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

using orlo::files::FileIdentity;
using zrh::media::MediaError;
using zrh::media::detail::FileIndex;
using zrh::media::detail::SharedIndexOf;
using zrh::media::detail::StreamIndex;

namespace {

constexpr std::int64_t SECOND = 1'000'000'000;
constexpr std::int64_t NOW = 5000 * SECOND;

/// Never interrupts.
bool NEVER() {
    return false;
}

/// A thread that builds the index of a file until End.
class SlowMaker {
public:
    /// Returns when the thread has started to build.
    explicit SlowMaker(const FileIdentity& file, MediaError outcome = MediaError::None)
        : thread_([this, file, outcome] {
              std::shared_ptr<const FileIndex> index;
              SharedIndexOf(
                  file, NEVER,
                  [&](FileIndex*) {
                      begun_.count_down();
                      end_.wait();
                      return outcome;
                  },
                  &index);
          }) {
        begun_.wait();
    }
    ~SlowMaker() { End(); }

    void End() {
        if (!thread_.joinable()) return;
        end_.count_down();
        thread_.join();
    }

private:
    std::latch begun_{1};
    std::latch end_{1};
    std::thread thread_;
};

/// Files that no other test uses, at a fixed time.
class IndexCache : public testing::Test {
protected:
    void SetUp() override {
        orlo::files::fileClock = [] { return NOW; };
    }
    void TearDown() override { orlo::files::fileClock = orlo::files::SystemFileClock; }

    /// A file that was changed @p age nanoseconds ago.
    static FileIdentity File(std::int64_t age) {
        static std::uint64_t lastInode = 0;
        return {1, ++lastInode, 1000, 0, NOW - age};
    }

    /// Requests the index of a file and releases it.
    /// @return whether it was built for this request
    static bool IsMadeFor(const FileIdentity& file, std::int64_t packets = 1) {
        bool made = false;
        std::shared_ptr<const FileIndex> index;
        const MediaError error = SharedIndexOf(
            file, NEVER,
            [&](FileIndex* into) {
                made = true;
                auto stream = std::make_shared<StreamIndex>();
                for (std::int64_t i = 0; i < packets; ++i) stream->packets.AddPacket({}, 0, 1);
                into->streams.push_back(std::move(stream));
                return MediaError::None;
            },
            &index);
        EXPECT_EQ(error, MediaError::None);
        EXPECT_EQ(index->streams.at(0)->packets.PacketCount(), packets);
        return made;
    }
};

TEST_F(IndexCache, KeepsAnIndexForTheNextReader) {
    const FileIdentity file = File(4 * SECOND);

    EXPECT_TRUE(IsMadeFor(file));
    EXPECT_FALSE(IsMadeFor(file));
}

TEST_F(IndexCache, BuildsTheIndexOfAnotherStateOfTheFile) {
    FileIdentity file = File(4 * SECOND);
    EXPECT_TRUE(IsMadeFor(file));

    file.changedNs -= 1;

    EXPECT_TRUE(IsMadeFor(file));
}

TEST_F(IndexCache, KeepsNoIndexOfAFileThatMayChangeUnnoticed) {
    const FileIdentity changed = File(3 * SECOND);
    FileIdentity written = File(4 * SECOND);
    written.modifiedNs = NOW - SECOND;

    EXPECT_TRUE(IsMadeFor(changed));
    EXPECT_TRUE(IsMadeFor(changed));
    EXPECT_TRUE(IsMadeFor(written));
    EXPECT_TRUE(IsMadeFor(written));
}

TEST_F(IndexCache, SharesTheIndexOfSuchAFileWhileAReaderHoldsIt) {
    const FileIdentity file = File(0);
    const auto make = [](FileIndex*) { return MediaError::None; };
    std::shared_ptr<const FileIndex> one;
    std::shared_ptr<const FileIndex> other;

    ASSERT_EQ(SharedIndexOf(file, NEVER, make, &one), MediaError::None);
    ASSERT_EQ(SharedIndexOf(file, NEVER, make, &other), MediaError::None);

    EXPECT_EQ(one, other);
}

TEST_F(IndexCache, KeepsNoIndexThatCouldNotBeBuilt) {
    const FileIdentity file = File(4 * SECOND);
    std::shared_ptr<const FileIndex> index;

    EXPECT_EQ(SharedIndexOf(
                  file, NEVER, [](FileIndex*) { return MediaError::ReadFailed; }, &index),
              MediaError::ReadFailed);
    EXPECT_EQ(index, nullptr);

    EXPECT_TRUE(IsMadeFor(file));
}

TEST_F(IndexCache, ReleasesTheOldestIndexesWhenTheyHaveTooManyPackets) {
    const FileIdentity first = File(4 * SECOND);
    const FileIdentity second = File(4 * SECOND);
    const FileIdentity third = File(4 * SECOND);

    // 2^20 packets are more than two of them and fewer than three.
    EXPECT_TRUE(IsMadeFor(first, 400000));
    EXPECT_TRUE(IsMadeFor(second, 400000));
    EXPECT_FALSE(IsMadeFor(first, 400000));
    EXPECT_TRUE(IsMadeFor(third, 400000));

    EXPECT_FALSE(IsMadeFor(second, 400000));
    EXPECT_FALSE(IsMadeFor(third, 400000));
    EXPECT_TRUE(IsMadeFor(first, 400000));
}

TEST_F(IndexCache, KeepsNoIndexThatIsTooLarge) {
    const FileIdentity file = File(4 * SECOND);

    EXPECT_TRUE(IsMadeFor(file, (1 << 20) + 1));
    EXPECT_TRUE(IsMadeFor(file, (1 << 20) + 1));
}

TEST_F(IndexCache, AWaitForAnotherThreadEndsWhenItIsInterrupted) {
    const FileIdentity file = File(4 * SECOND);
    SlowMaker maker(file);
    std::shared_ptr<const FileIndex> index;
    int asked = 0;
    bool made = false;

    const MediaError error = SharedIndexOf(
        file, [&] { return ++asked == 3; },
        [&](FileIndex*) {
            made = true;
            return MediaError::None;
        },
        &index);

    EXPECT_EQ(error, MediaError::Cancelled);
    EXPECT_EQ(asked, 3);
    EXPECT_FALSE(made);
    EXPECT_EQ(index, nullptr);
}

TEST_F(IndexCache, AnInterruptedWaitDoesNotAffectTheOtherThreads) {
    const FileIdentity file = File(4 * SECOND);
    SlowMaker maker(file);
    std::shared_ptr<const FileIndex> index;
    const auto make = [](FileIndex*) { return MediaError::Undecodable; };
    ASSERT_EQ(SharedIndexOf(
                  file, [] { return true; }, make, &index),
              MediaError::Cancelled);

    maker.End();

    EXPECT_EQ(SharedIndexOf(file, NEVER, make, &index), MediaError::None);
}

TEST_F(IndexCache, AThreadThatWaitedForAFailedIndexBuildsIt) {
    const FileIdentity file = File(4 * SECOND);
    SlowMaker maker(file, MediaError::Cancelled);
    std::atomic<bool> made = false;
    std::thread waiting([&] { made = IsMadeFor(file); });

    maker.End();
    waiting.join();

    EXPECT_TRUE(made);
}

TEST_F(IndexCache, OneOfSeveralThreadsBuildsTheIndex) {
    for (int round = 0; round < 20; ++round) {
        const FileIdentity file = File(4 * SECOND);
        std::atomic<int> made = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) threads.emplace_back([&] { made += IsMadeFor(file); });
        for (std::thread& thread : threads) thread.join();

        EXPECT_EQ(made, 1);
    }
}

}  // namespace
