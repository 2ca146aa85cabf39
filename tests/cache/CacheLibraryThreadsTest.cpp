// SPDX-License-Identifier: MIT
// Threads make conformed files and peak files while another thread clears the cache.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/project.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace sonrel_tests;
using orlo::project::ConformedAudioFile;
using orlo::project::MediaManager;
using orlo::sonrel::Sonrel;
using orlo::sonrel::CacheFileCheck::IsWholePeakFile;
using orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile;
using orlo::sonrel::WaveformPeakFileHelper::CreateWaveformPeakFile;
using testing::SizeIs;

class CacheLibraryThreads : public testing::Test {
protected:
    static constexpr int FILES = 4;

    CacheLibraryThreads() {
        for (int file = 0; file < FILES; ++file) {
            WriteFile(folder_ / Name(file), Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                                                 Chunk("data", CountingSamples(1000 + file))));
        }
        engine_ = Sonrel::Create(folder_.Wide("media.db"), folder_.Wide("cache"), nullptr,
                                 Sonrel::LogOption::WriteErrorLog);
    }

    /// Requests each file of one kind on a separate connection. @return the paths
    template <class Create>
    std::vector<std::wstring> Ask(Create create) {
        const auto database = engine_->OpenMediaDatabaseConnection();
        std::vector<std::wstring> paths;
        for (int file = 0; file < FILES; ++file) {
            paths.push_back(create(MakeMediaAsset(manager_, folder_.Wide(Name(file))), database));
        }
        return paths;
    }
    std::vector<std::wstring> Conform() {
        return Ask([&](const auto& asset, const auto& database) {
            return CreateConformedAudioFile(asset, 48000, engine_->MediaCacheFolderPath(),
                                            engine_->MediaCacheErrorLog(), database, true);
        });
    }
    std::vector<std::wstring> MakePeaks() {
        return Ask([&](const auto& asset, const auto& database) {
            return CreateWaveformPeakFile(asset, engine_->MediaCacheFolderPath(),
                                          engine_->MediaCacheErrorLog(), database, true);
        });
    }

    static std::string Name(int file) { return std::to_string(file) + ".wav"; }

    TemporaryFolder folder_;
    std::shared_ptr<Sonrel> engine_;
    std::shared_ptr<MediaManager> manager_ = std::make_shared<MediaManager>();
};

TEST_F(CacheLibraryThreads, FilesMadeWhileTheCacheIsClearedAreWholeAndWithoutOrphans) {
    constexpr int MAKERS = 4;
    constexpr int ROUNDS = 6;
    std::barrier start(MAKERS + 1);
    std::atomic<int> working = MAKERS;
    std::vector<std::jthread> makers;
    for (int maker = 0; maker < MAKERS; ++maker) {
        makers.emplace_back([&, maker] {
            start.arrive_and_wait();
            for (int round = 0; round < ROUNDS; ++round) {
                for (const auto& path : maker % 2 == 0 ? Conform() : MakePeaks()) {
                    EXPECT_NE(path, L"");
                }
            }
            --working;
        });
    }
    engine_->SetDaysToKeepCacheFiles(0);
    start.arrive_and_wait();
    unsigned long long cleared = 0;
    while (working > 0) cleared += engine_->ClearCacheFiles();
    makers.clear();

    const std::vector<std::wstring> conformed = Conform();
    const std::vector<std::wstring> peaks = MakePeaks();

    EXPECT_GT(cleared, 0u);
    EXPECT_THAT(NamesIn(folder_ / "cache"), SizeIs(2 * FILES));
    EXPECT_THAT(ReadLines(folder_ / "CacheErrorLog.txt"), SizeIs(0));
    for (int file = 0; file < FILES; ++file) {
        const auto index = static_cast<std::size_t>(file);
        ConformedAudioFile opened;
        ASSERT_TRUE(opened.Open(conformed[index]));
        EXPECT_EQ(opened.SampleCount(), 1000 + file);
        EXPECT_TRUE(IsWholePeakFile(peaks[index], 2));
    }
}

}  // namespace
