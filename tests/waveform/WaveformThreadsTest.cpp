// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <thread>

#include "sonrel/waveform/WaveformPreview.h"
#include "tests/waveform/WaveformFixture.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::WaveformPreview;

TEST(WaveformThreads, OneObjectDrawsTheSamePictureOnSeveralThreads) {
    const TemporaryFolder folder;
    std::vector<PeakBlock> blocks;
    for (int i = 0; i < 300; ++i) blocks.push_back({i % 256, {{-(i % 128), i * 7 % 128}}});
    WriteFile(folder / "a.xwpk", PeakBytes(1, blocks));
    const WaveformPreview preview(48000, 300 * 32, 1, folder.Wide("a.xwpk"));
    Picture alone(100, 60, WaveformPreview::Format::ARGB32);
    ASSERT_EQ(alone.Draw(preview), 0);

    std::vector<Picture> pictures(4, Picture(100, 60, WaveformPreview::Format::ARGB32));
    std::vector<int> results(4, -100);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] { results[i] = pictures[i].Draw(preview); });
        }
    }

    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(results[i], 0);
        EXPECT_EQ(pictures[i].Buffer().Values(), alone.Buffer().Values());
    }
}

}  // namespace
}  // namespace sonrel_tests
