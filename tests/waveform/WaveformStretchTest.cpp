// SPDX-License-Identifier: MIT
// Pictures of fewer blocks than pixels.
#include <gtest/gtest.h>

#include <QImage>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>

#include "tests/waveform/WaveformFixture.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::WaveformPreview;
using Format = WaveformPreview::Format;

class WaveformStretch : public testing::Test {
protected:
    /// A preview of so many random blocks of one channel.
    std::unique_ptr<WaveformPreview> Preview(int blocks) const {
        std::mt19937 random(7);
        std::vector<PeakBlock> content;
        for (int i = 0; i < blocks; ++i) {
            content.push_back({static_cast<int>(random() % 256), {{0, 0}}});
        }
        WriteFile(folder_ / "a.xwpk", PeakBytes(1, content));
        auto preview =
            std::make_unique<WaveformPreview>(48000, 32LL * blocks, 1, folder_.Wide("a.xwpk"));
        preview->SetBackgroundColor({10, 20, 30, 40});
        preview->SetWaveformColor({200, 100, 50, 220});
        return preview;
    }

    TemporaryFolder folder_;
};

long ThreadCount() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

/// The bytes of a picture; four a pixel where it is stretched.
std::vector<unsigned char> Draw(const WaveformPreview& preview, int width, int height,
                                Format format) {
    std::vector<unsigned char> bytes(
        static_cast<std::size_t>(preview.ImageBytes(width, height, format)));
    EXPECT_EQ(
        preview.CreateImage(width, height, format, bytes.data(), static_cast<int>(bytes.size())),
        0);
    return bytes;
}

TEST_F(WaveformStretch, NeedsNoThread) {
    const auto preview = Preview(1500);
    const long before = ThreadCount();

    Draw(*preview, 2000, 300, Format::RGB888);
    Draw(*preview, 9000, 60, Format::ARGB32);

    EXPECT_EQ(ThreadCount(), before);
}

TEST_F(WaveformStretch, GivesTheSmoothScalingOfTheUnstretchedPicture) {
    for (const int blocks : {1, 2, 999, 1500}) {
        const auto preview = Preview(blocks);
        for (const auto& [format, pixels] : {std::pair{Format::RGB888, QImage::Format_RGB888},
                                             std::pair{Format::ARGB32, QImage::Format_ARGB32}}) {
            const std::vector<unsigned char> plain = Draw(*preview, blocks, 61, format);
            const QImage drawing(plain.data(), blocks, 61, pixels);
            const QImage scaled =
                drawing.scaled(2001, 61, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

            const std::vector<unsigned char> stretched = Draw(*preview, 2001, 61, format);

            ASSERT_EQ(stretched, std::vector<unsigned char>(
                                     scaled.constBits(), scaled.constBits() + scaled.sizeInBytes()))
                << blocks;
        }
    }
}

}  // namespace
}  // namespace sonrel_tests
