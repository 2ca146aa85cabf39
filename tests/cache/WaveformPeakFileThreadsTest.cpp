// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <semaphore>

#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "tests/cache/CacheHelperFixture.h"

namespace {

using namespace orlo::sonrel;
using orlo::project::MediaDB;
using testing::Each;
using testing::SizeIs;
using namespace std::chrono_literals;

class WaveformPeakFileThreads : public sonrel_tests::PeakFileHelperFixture {
protected:
    std::shared_ptr<MediaDB> Connection() const {
        return std::make_shared<MediaDB>(L"db", cacheFolder, false);
    }
    std::wstring CreatePeakFile() {
        return WaveformPeakFileHelper::CreateWaveformPeakFile(asset, cacheFolder, log, Connection(),
                                                              true);
    }
};

TEST_F(WaveformPeakFileThreads, AConformedFileAndAPeakFileOfOneMediaPathAreMadeInParallel) {
    // The conversion waits for the first read of the peak file, which waits for the conversion.
    std::binary_semaphore converting(0);
    std::binary_semaphore reading(0);
    media.convert = [&](const std::wstring& path) {
        converting.release();
        const bool both = reading.try_acquire_for(30s);
        sonrel_tests::WriteConverted(path);
        return both ? 0 : 1;
    };
    media.read = [&](long long start, int count, void* buffer, int, int* read) {
        if (start == 0) {
            reading.release();
            if (!converting.try_acquire_for(30s)) return 1;
        }
        std::fill_n(static_cast<char*>(buffer), 4 * count, '\0');
        *read = count;
        return 0;
    };

    auto conformed = std::async(std::launch::async, [&] {
        return ConformedAudioFileHelper::CreateConformedAudioFile(asset, 48000, cacheFolder, log,
                                                                  Connection(), true);
    });
    const std::wstring peaks = CreatePeakFile();

    EXPECT_NE(peaks, L"");
    EXPECT_NE(conformed.get(), L"");
    EXPECT_THAT(CacheFiles(), SizeIs(2));
}

TEST_F(WaveformPeakFileThreads, ThreadsThatRequestOneMediaPathShareOneFile) {
    media.format.frames = 30 * 48000;  // four tasks under the lock
    std::vector<std::future<std::wstring>> results;
    for (int i = 0; i < 4; ++i) {
        results.push_back(std::async(std::launch::async, [&] { return CreatePeakFile(); }));
    }
    std::vector<std::wstring> paths;
    for (auto& result : results) paths.push_back(result.get());

    EXPECT_NE(paths[0], L"");
    EXPECT_THAT(paths, Each(paths[0]));
    EXPECT_THAT(CacheFiles(), SizeIs(1));
    EXPECT_EQ(media.CallCount("Create"), 4);
}

TEST_F(WaveformPeakFileThreads, AFailureReleasesTheLock) {
    media.read = [](long long, int, void*, int, int*) -> int { throw 42; };
    EXPECT_THROW(CreatePeakFile(), int);
    media.read = {};

    auto result = std::async(std::launch::async, [&] { return CreatePeakFile(); });

    ASSERT_EQ(result.wait_for(30s), std::future_status::ready);
    EXPECT_NE(result.get(), L"");
}

}  // namespace
