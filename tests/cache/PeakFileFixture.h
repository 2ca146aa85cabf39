// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "sonrel/cache/PeakFile.h"
#include "sonrel/project.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"
#include "tests/support/fakes/FakeMediaLibrary.h"

namespace sonrel_tests {

/// The header of a peak file.
inline std::string PeakHeader(std::uint32_t channels, std::uint32_t blocks,
                              std::uint32_t version = 1) {
    return "ORLOXWPK" + Little(version, 4) + Little(channels, 4) + Little(blocks, 4);
}

/// A 16-bit sample of any level that depends on its position only.
inline std::int16_t SampleAt(long long frame, int channel) {
    const auto mixed = static_cast<std::uint32_t>(frame * 16 + channel) * 2654435761u;
    return static_cast<std::int16_t>(mixed >> 16) / (1 + static_cast<int>(frame / 32 % 7));
}

/// One asset with media from the fake library, and a peak file to write.
class PeakFileFixture : public testing::Test {
protected:
    using PeakFile = orlo::sonrel::PeakFile;
    using Mode = PeakFile::CreateMode;

    PeakFileFixture() { media.Reset(); }
    ~PeakFileFixture() override { media.Reset(); }

    int Create(Mode mode = Mode::SingleThreaded) {
        return PeakFile::Create(asset, folder.Wide("p.xwpk"), mode);
    }
    std::string Written() const { return ReadFile(folder / "p.xwpk"); }

    /// A successful read: every sample is @p value.
    FakeRead Constant(std::int16_t value) {
        return [this, value](long long start, int count, void* buffer, int, int* samplesRead) {
            return Deliver(start, count, buffer, samplesRead,
                           [&](long long, int) { return value; });
        };
    }
    /// A successful read: samples of SampleAt.
    FakeRead Signal() {
        return [this](long long start, int count, void* buffer, int, int* samplesRead) {
            return Deliver(start, count, buffer, samplesRead, SampleAt);
        };
    }

    TemporaryFolder folder;
    std::shared_ptr<orlo::project::MediaManager> manager =
        std::make_shared<orlo::project::MediaManager>();
    std::shared_ptr<orlo::project::MediaAsset> asset = MakeMediaAsset(manager, L"/media/a.mov");
    FakeMediaLibrary& media = FakeMediaLibrary::Instance();

private:
    template <class Value>
    int Deliver(long long start, int count, void* buffer, int* samplesRead, Value value) const {
        const int frames = static_cast<int>(
            std::clamp(media.format.frames - start, 0LL, static_cast<long long>(count)));
        auto* to = static_cast<unsigned char*>(buffer);
        for (int frame = 0; frame < frames; ++frame) {
            for (int channel = 0; channel < media.format.channels; ++channel, to += 2) {
                const std::int16_t sample = value(start + frame, channel);
                std::memcpy(to, &sample, sizeof sample);
            }
        }
        *samplesRead = frames;
        return frames > 0 ? 0 : 1;
    }
};

}  // namespace sonrel_tests
