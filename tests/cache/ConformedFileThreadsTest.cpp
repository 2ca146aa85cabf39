// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <thread>

#include "tests/cache/CacheHelperFixture.h"

namespace {

using namespace orlo::sonrel::ConformedAudioFileHelper;
using orlo::project::MediaDB;
using sonrel_tests::WriteConverted;
using testing::Each;
using testing::SizeIs;

/// Threads wait until a number of them has arrived. A broken build waits half a minute.
class Meeting {
public:
    explicit Meeting(int expected) : expected_(expected) {}

    void Arrive() {
        const std::lock_guard<std::mutex> guard(mutex_);
        ++arrived_;
        all_.notify_all();
    }
    bool Wait() {
        std::unique_lock<std::mutex> guard(mutex_);
        return all_.wait_for(guard, std::chrono::seconds(30),
                             [this] { return arrived_ >= expected_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable all_;
    int expected_;
    int arrived_ = 0;
};

class ConformedFileThreads : public sonrel_tests::ConformedFileFixture {
protected:
    /// Conforms with a separate connection.
    std::wstring CreateOnOwnConnection(const std::shared_ptr<orlo::project::MediaAsset>& of,
                                       int sampleRate) {
        const auto connection = std::make_shared<MediaDB>(L"db", cacheFolder, false);
        return CreateConformedAudioFile(of, sampleRate, cacheFolder, log, connection, true);
    }
};

TEST_F(ConformedFileThreads, ThreadsThatRequestOneMediaPathShareOneConversion) {
    constexpr int THREADS = 6;
    Meeting started(THREADS);
    media.convert = [&](const std::wstring& path) {
        if (!started.Wait()) return 1;
        WriteConverted(path);
        return 0;
    };

    std::vector<std::future<std::wstring>> results;
    for (int i = 0; i < THREADS; ++i) {
        // Every second thread uses another asset for the same file.
        const auto mine = i % 2 == 0 ? asset : sonrel_tests::MakeMediaAsset(manager, mediaPath);
        results.push_back(std::async(std::launch::async, [this, mine, &started] {
            started.Arrive();
            return CreateOnOwnConnection(mine, 48000);
        }));
    }
    std::vector<std::wstring> paths;
    for (auto& result : results) paths.push_back(result.get());

    EXPECT_EQ(media.CallCount("Convert"), 1);
    EXPECT_NE(paths[0], L"");
    EXPECT_THAT(paths, Each(paths[0]));
    EXPECT_THAT(db.conformed, SizeIs(1));
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST_F(ConformedFileThreads, AMergedAssetSharesTheConversionOfItsSoundFile) {
    const auto merged = sonrel_tests::MakeMediaAsset(manager, folder.Wide("film.mov"));
    merged->SetMerged(mediaPath);
    Meeting started(2);
    media.convert = [&](const std::wstring& path) {
        if (!started.Wait()) return 1;
        WriteConverted(path);
        return 0;
    };

    const auto ask = [&](const std::shared_ptr<orlo::project::MediaAsset>& of) {
        started.Arrive();
        return CreateOnOwnConnection(of, 48000);
    };
    auto other = std::async(std::launch::async, ask, merged);
    const std::wstring path = ask(asset);

    EXPECT_EQ(other.get(), path);
    EXPECT_EQ(media.CallCount("Convert"), 1);
}

TEST_F(ConformedFileThreads, TwoRatesOfOneMediaPathAreConvertedOneAfterTheOther) {
    Meeting started(2);
    std::atomic<int> running = 0;
    std::atomic<int> mostAtOnce = 0;
    media.convert = [&](const std::wstring& path) {
        mostAtOnce = std::max(mostAtOnce.load(), ++running);
        const bool both = started.Wait();
        WriteConverted(path);
        --running;
        return both ? 0 : 1;
    };

    const auto ask = [&](int rate) {
        started.Arrive();
        return CreateOnOwnConnection(asset, rate);
    };
    auto other = std::async(std::launch::async, ask, 44100);
    const std::wstring at48000 = ask(48000);

    EXPECT_NE(other.get(), at48000);
    EXPECT_EQ(mostAtOnce, 1);
    EXPECT_EQ(media.CallCount("Convert"), 2);
}

TEST_F(ConformedFileThreads, TwoMediaPathsAreConvertedInParallel) {
    Meeting converting(2);
    media.convert = [&](const std::wstring& path) {
        converting.Arrive();
        if (!converting.Wait()) return 1;
        WriteConverted(path);
        return 0;
    };
    const auto second = sonrel_tests::MakeMediaAsset(manager, folder.Wide("b.mov"));

    auto other =
        std::async(std::launch::async, [&] { return CreateOnOwnConnection(second, 48000); });

    EXPECT_NE(CreateOnOwnConnection(asset, 48000), L"");
    EXPECT_NE(other.get(), L"");
}

TEST_F(ConformedFileThreads, AnEmptyCacheFolderWaitsForNoLock) {
    auto& lock = manager->ConformedAudioCacheFileCS(mediaPath);
    lock.Lock();

    auto result = std::async(std::launch::async, [&] {
        return CreateConformedAudioFile(asset, 48000, L"", log, nullptr, true);
    });
    const auto state = result.wait_for(std::chrono::seconds(30));
    lock.Unlock();

    EXPECT_EQ(state, std::future_status::ready);
    EXPECT_EQ(result.get(), L"");
}

TEST_F(ConformedFileThreads, APeakFileOfTheSameMediaPathBlocksNothing) {
    auto& peakLock = manager->WaveformPeakFileCS(mediaPath);
    peakLock.Lock();

    auto result =
        std::async(std::launch::async, [&] { return CreateOnOwnConnection(asset, 48000); });
    const auto state = result.wait_for(std::chrono::seconds(30));
    peakLock.Unlock();

    EXPECT_EQ(state, std::future_status::ready);
    EXPECT_NE(result.get(), L"");
}

}  // namespace
