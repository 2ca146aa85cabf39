// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/AudioSync.h"
#include "tests/reference/ReferenceAlignment.h"
#include "tests/support/Noise.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

using orlo::sonrel::AudioSync;

constexpr int RATE = 1000;  // hertz: small transforms, the same steps

/// Noise that differs from channel to channel.
inline Samples Event(int frames, unsigned int seed, int amplitude = 8000) {
    return MakeNoise(2 * static_cast<std::size_t>(frames), seed, [amplitude](std::uint32_t bits) {
        const auto steps = 2 * static_cast<std::uint32_t>(amplitude);
        return static_cast<short>(static_cast<int>(bits % steps) - amplitude);
    });
}

/// Adds samples to a recording from a frame on; samples beyond either end are dropped.
inline void AddAt(Samples& recording, long long frame, const Samples& event) {
    for (std::size_t i = 0; i < event.size(); ++i) {
        const long long at = 2 * frame + static_cast<long long>(i);
        if (at < 0 || at >= static_cast<long long>(recording.size())) continue;
        recording[static_cast<std::size_t>(at)] =
            static_cast<short>(recording[static_cast<std::size_t>(at)] + event[i]);
    }
}

/// A recording at RATE of quiet noise and an event.
inline Recording Take(int frames, unsigned int noiseSeed, long long eventAt, const Samples& event) {
    Recording recording;
    recording.rate = RATE;
    recording.nativeRate = RATE;
    recording.samples = Event(frames, noiseSeed, 100);
    AddAt(recording.samples, eventAt, event);
    return recording;
}

/// An engine, and assets with the conformed files and peak files of recordings.
class AlignmentRig {
public:
    AlignmentRig()
        : builder_(Format{25.0, RATE, 250}),
          engine_(orlo::sonrel::Sonrel::Create(L"", L"", nullptr,
                                               orlo::sonrel::Sonrel::LogOption::NoErrorLog)) {}

    const std::shared_ptr<orlo::sonrel::Sonrel>& Engine() const { return engine_; }
    const TemporaryFolder& Folder() const { return builder_.Folder(); }

    std::shared_ptr<project::MediaAsset> Add(const Recording& recording) {
        auto asset = AddWithoutPeaks(recording);
        const std::string name = std::to_string(++peakFiles_) + ".xwpk";
        WriteFile(Folder() / name, PeakFileBytes(SummariseBlocks(recording.Native())));
        asset->AudioStream()->SetWaveformPeakFilePath(Folder().Wide(name));
        return asset;
    }

    std::shared_ptr<project::MediaAsset> AddWithoutPeaks(const Recording& recording) {
        auto stream = std::make_unique<project::MediaAudioStream>(
            recording.nativeRate, recording.NativeCount(), zrh::media::ZRAudioCodec::Pcm);
        builder_.Sequence()->Settings().SetCustomAudioSampleRate(recording.rate);
        stream->SetConformedFile(builder_.WriteConformed(recording.samples), recording.rate);
        stream->SetSamplesAvailable(true);
        auto asset = builder_.AddSilentMedia();
        asset->SetAudioStream(std::move(stream));
        return asset;
    }

    AudioSync::CorrelationResult Find(const Recording& a, const Recording& b,
                                      std::function<void(int, int)> progress = {},
                                      std::atomic<bool>* cancel = nullptr) {
        return AudioSync::FindOffset(engine_, Add(a), Add(b), a.rate, std::move(progress), cancel);
    }

private:
    ProjectBuilder builder_;
    std::shared_ptr<orlo::sonrel::Sonrel> engine_;
    int peakFiles_ = 0;
};

using ProgressCalls = std::vector<std::pair<int, int>>;

/// A progress function that records its calls.
inline std::function<void(int, int)> Recorder(ProgressCalls& calls) {
    return [&calls](int done, int total) { calls.emplace_back(done, total); };
}

}  // namespace sonrel_tests
