// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sonrel/project.h"
#include "tests/support/Noise.h"
#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {

namespace project = orlo::project;

/// Interleaved stereo 16-bit values, left first.
using Samples = std::vector<short>;

/// @param value  (int frame, int channel), channel 0 left and 1 right
template <class Value>
Samples MakeSamples(int frames, Value value) {
    Samples samples;
    samples.reserve(2 * static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i) {
        samples.push_back(static_cast<short>(value(i, 0)));
        samples.push_back(static_cast<short>(value(i, 1)));
    }
    return samples;
}

inline Samples Constant(int frames, short left, short right) {
    return MakeSamples(frames, [=](int, int channel) { return channel == 0 ? left : right; });
}

/// Each frame encodes its position: left is the low 15 bits of the frame number, right is left
/// less 30000.
inline Samples Counting(int frames) {
    return MakeSamples(frames, [](int frame, int channel) {
        return (frame & 0x7FFF) - (channel == 0 ? 0 : 30000);
    });
}

inline Samples Noise(int frames, unsigned int seed) {
    return MakeNoise(2 * static_cast<std::size_t>(frames), seed,
                     [](std::uint32_t bits) { return static_cast<short>(bits & 0xFFFF); });
}

/// Frame rate, sampling rate and length of a sequence or composition.
struct Format {
    double frameRate = 25.0;
    int rate = 48000;
    int frames = 250;
};

/// The samples of one frame of the default format: 25 frames a second at 48000 Hz.
inline constexpr int FRAME = 1920;

void Apply(const Format& format, project::AudioVideoSettings& settings);

/// A project whose media are conformed files with given samples, in a folder that is removed with
/// the builder.
class ProjectBuilder {
public:
    explicit ProjectBuilder(const Format& format = {});

    const std::shared_ptr<project::Project>& Project() const { return project_; }
    const std::shared_ptr<project::EditorSequence>& Sequence() const {
        return project_->Sequence();
    }
    const TemporaryFolder& Folder() const { return folder_; }

    /// Writes a conformed file at the sequence's rate. @return its path
    std::wstring WriteConformed(const Samples& samples);
    /// A media asset whose stream has a conformed file and is available.
    std::shared_ptr<project::MediaAsset> AddMedia(const Samples& samples);
    /// The same with an existing file.
    std::shared_ptr<project::MediaAsset> AddMediaFile(const std::wstring& conformedPath);
    /// A media asset without an audio stream.
    std::shared_ptr<project::MediaAsset> AddSilentMedia();

    std::shared_ptr<project::AudioTrack> AddTrack();
    /// Places an asset on a track.
    std::shared_ptr<project::AssetAudioObject> AddObject(
        const std::shared_ptr<project::AudioTrack>& track,
        const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
        int inPointFrame = 0);
    /// Places an asset on a new track.
    std::shared_ptr<project::AssetAudioObject> AddObject(
        const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
        int inPointFrame = 0);

    std::shared_ptr<project::CompositionAsset> AddComposition(const Format& format);
    std::shared_ptr<project::AssetLayer> AddLayer(
        const std::shared_ptr<project::CompositionAsset>& composition,
        const std::shared_ptr<project::AbstractAsset>& asset, int startFrame, int endFrame,
        int inPointFrame = 0);

private:
    TemporaryFolder folder_;
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    int files_ = 0;
};

}  // namespace sonrel_tests
