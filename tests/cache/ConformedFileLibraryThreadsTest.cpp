// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "sonrel/cache/ConformedAudioFileHelper.h"
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
using orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile;
using testing::Each;
using testing::SizeIs;

TEST(ConformedFileLibraryThreads, ThreadsThatConformTheSameFilesEndWithOneWholeFileForEach) {
    constexpr int THREADS = 4;
    constexpr int FILES = 6;
    TemporaryFolder folder;
    for (int file = 0; file < FILES; ++file) {
        WriteFile(folder / (std::to_string(file) + ".wav"),
                  Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                       Chunk("data", CountingSamples(1000 + file))));
    }
    const auto engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                       Sonrel::LogOption::WriteErrorLog);
    const auto manager = std::make_shared<MediaManager>();
    std::vector<std::wstring> made[THREADS];

    std::barrier start(THREADS);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            const auto database = engine->OpenMediaDatabaseConnection();
            start.arrive_and_wait();
            for (int file = 0; file < FILES; ++file) {
                const auto asset =
                    MakeMediaAsset(manager, folder.Wide(std::to_string(file) + ".wav"));
                made[thread].push_back(
                    CreateConformedAudioFile(asset, 48000, engine->MediaCacheFolderPath(),
                                             engine->MediaCacheErrorLog(), database, true));
            }
        });
    }
    for (auto& thread : threads) thread.join();

    EXPECT_THAT(made, Each(made[0]));
    EXPECT_THAT(NamesIn(folder / "cache"), SizeIs(FILES));
    EXPECT_THAT(ReadLines(folder / "CacheErrorLog.txt"), SizeIs(0));
    for (int file = 0; file < FILES; ++file) {
        ConformedAudioFile conformed;
        ASSERT_TRUE(conformed.Open(made[0][file]));
        EXPECT_EQ(conformed.SampleCount(), 1000 + file);
    }
}

}  // namespace
