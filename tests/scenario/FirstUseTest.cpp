// SPDX-License-Identifier: MIT
// FFmpeg and the drawing library are loaded at their first use. A separate program, in which
// nothing has used them before.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/waveform/WaveformPreview.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace sonrel_tests;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

/// The files that are mapped into this process.
std::string LoadedFiles() {
    return ReadFile("/proc/self/maps");
}

TEST(FirstUse, SeveralThreadsMayLoadFfmpegAndTheDrawingLibraryWhichWereNotLoadedBefore) {
    constexpr int THREADS = 8;
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", ConformedFileBytes(480));
    ASSERT_THAT(LoadedFiles(), Not(AnyOf(HasSubstr("libavformat"), HasSubstr("libQt5Gui"))));
    std::barrier start(THREADS);
    std::vector<int> results(THREADS, -1);
    std::vector<std::string> failures(THREADS, "not called");

    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            zrh::media::MediaInfo info;
            start.arrive_and_wait();
            results[i] = zrh::media::DescribeMedia(folder.Wide("a.wav"), &info);
            failures[i] = orlo::sonrel::WaveformPreview::PainterFailure();
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(results, std::vector<int>(THREADS, 0));
    EXPECT_EQ(failures, std::vector<std::string>(THREADS));
    EXPECT_THAT(LoadedFiles(), AllOf(HasSubstr("libavformat"), HasSubstr("libQt5Gui")));
}

}  // namespace
