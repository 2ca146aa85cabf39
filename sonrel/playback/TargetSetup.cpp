// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/TargetSetup.h"

#include <algorithm>
#include <cmath>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/playback/detail/DeviceSetup.h"

namespace orlo::sonrel {

using Err = PlaybackEngine::Err;
using InitializationType = PlaybackEngine::InitializationType;

namespace {

constexpr int CHANNEL_COUNT = 2;

/// What a target is played by.
struct TargetFormat {
    int sampleRate = 0;
    double frameRate = 0.0;
    long long totalSamples = 0;
    std::uint64_t trackCount = 0;  // tracks to meter
    int meterBlockSamples = 0;     // 0: never metered
};

TargetFormat TimelineFormat(project::AudioVideoSettings& settings, std::uint64_t trackCount) {
    TargetFormat format;
    format.sampleRate = settings.AudioSampleRateValue();
    format.frameRate = settings.FrameRate();
    format.totalSamples =
        zrtl::TotalSamples(settings.FrameCount(), format.sampleRate, format.frameRate);
    format.trackCount = trackCount;
    format.meterBlockSamples = format.sampleRate / 10;
    return format;
}

/// The rate is the project's, not the file's. The length is that of the conformed sound, and that
/// of the picture as long as there is none.
TargetFormat MediaFormat(project::Project& project, const project::MediaAsset& asset) {
    TargetFormat format;
    format.sampleRate = project.Sequence()->Settings().AudioSampleRateValue();
    if (asset.HasAudio()) {
        format.totalSamples = asset.AudioStream()->ConformedSampleCount();
        format.frameRate = asset.AudioStream()->FrameRate();
    }
    if (asset.HasVideo()) {
        const project::MediaVideoStream& video = *asset.VideoStream();
        format.frameRate = video.FrameRate();
        if (format.totalSamples == 0) {
            format.totalSamples =
                zrtl::TruncToInt64(format.sampleRate / format.frameRate * video.FrameCount());
        }
    }
    return format;
}

bool SameRateAndLength(const PlaybackEngineImpl& engine, const TargetFormat& format) {
    return format.sampleRate == engine.sampleRate && format.totalSamples == engine.totalSamples;
}

/// Stores a target and builds the device for it.
///
/// The type is none meanwhile, so that a worker that still runs gets nothing of a target that is
/// half stored; it stays none when the set-up fails.
template <class Target>
Err SetUp(PlaybackEngineImpl& engine, const std::shared_ptr<project::Project>& project,
          std::weak_ptr<Target>& slot, const std::shared_ptr<Target>& target,
          InitializationType type, const TargetFormat& format) {
    engine.initializationType = InitializationType::None;
    {
        const std::lock_guard guard(engine.targetMutex);
        engine.project = project;
        slot = target;
    }
    engine.channelCount = CHANNEL_COUNT;
    engine.sampleRate = format.sampleRate;
    engine.totalSamples = format.totalSamples;
    engine.frameRate = format.frameRate;
    engine.audioTrackCount = format.trackCount;
    engine.meterBlockSamples = format.meterBlockSamples;
    // What stays when memory for the buffers runs out.
    engine.lastInitializeResult = Err::NotInitialized;
    engine.lastInitializeResult = detail::ConfigureDevice(engine);
    if (engine.lastInitializeResult == Err::NoError) engine.initializationType = type;
    return engine.lastInitializeResult;
}

}  // namespace

namespace detail {

bool FrameRatesAreClose(double a, double b) {
    return std::abs(a - b) <= 1e-12 * std::max(std::abs(a) + 1.0, std::abs(b) + 1.0);
}

}  // namespace detail

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::MediaAsset>& asset) {
    if (!project || !asset) return Err::NotInitialized;
    if (!asset->HasAudio() && !asset->HasVideo()) return Err::NoMediaStream;
    const TargetFormat format = MediaFormat(*project, *asset);
    if (detail::Lock(*impl_, impl_->mediaAsset) == asset && impl_->channelCount == CHANNEL_COUNT &&
        SameRateAndLength(*impl_, format) && format.frameRate == impl_->frameRate) {
        return impl_->lastInitializeResult;
    }
    return SetUp(*impl_, project, impl_->mediaAsset, asset, InitializationType::MediaAsset, format);
}

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::EditorSequence>& sequence) {
    if (!project || !sequence) return Err::NotInitialized;
    const TargetFormat format =
        TimelineFormat(sequence->Settings(), sequence->AudioTracks().size());
    if (detail::Lock(*impl_, impl_->sequence) == sequence && SameRateAndLength(*impl_, format) &&
        detail::FrameRatesAreClose(format.frameRate, impl_->frameRate) &&
        format.trackCount == impl_->audioTrackCount) {
        return impl_->lastInitializeResult;
    }
    return SetUp(*impl_, project, impl_->sequence, sequence, InitializationType::Sequence, format);
}

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::CompositionAsset>& composition) {
    if (!project || !composition) return Err::NotInitialized;
    const TargetFormat format = TimelineFormat(composition->Settings(), 0);
    if (detail::Lock(*impl_, impl_->composition) == composition &&
        SameRateAndLength(*impl_, format) &&
        detail::FrameRatesAreClose(format.frameRate, impl_->frameRate)) {
        return impl_->lastInitializeResult;
    }
    return SetUp(*impl_, project, impl_->composition, composition, InitializationType::Composition,
                 format);
}

Err PlaybackEngine::Refresh() {
    const auto project = detail::Lock(*impl_, impl_->project);
    if (!project) return Err::NotInitialized;
    const auto setUpAgain = [&](const auto& slot) {
        const auto target = detail::Lock(*impl_, slot);
        return target ? Initialize(project, target) : Err::NotInitialized;
    };
    switch (impl_->initializationType) {
        case InitializationType::MediaAsset:
            return setUpAgain(impl_->mediaAsset);
        case InitializationType::Sequence:
            return setUpAgain(impl_->sequence);
        case InitializationType::Composition:
            return setUpAgain(impl_->composition);
        case InitializationType::None:
            break;
    }
    return Err::NotInitialized;
}

void PlaybackEngine::Uninitialize() {
    {
        const std::lock_guard guard(impl_->targetMutex);
        impl_->project.reset();
        impl_->composition.reset();
        impl_->sequence.reset();
        impl_->mediaAsset.reset();
    }
    impl_->initializationType = InitializationType::None;
}

bool PlaybackEngine::IsInitialized() const {
    return impl_->initializationType != InitializationType::None && impl_->masteringVoice &&
           impl_->sourceVoice;
}

PlaybackEngine::InitializationType PlaybackEngine::InitializedType() const {
    return impl_->initializationType;
}

zrtl::ZRID PlaybackEngine::InitializedObjectID() const {
    const auto idOf = [&](const auto& slot) {
        const auto target = detail::Lock(*impl_, slot);
        return target ? target->ID() : zrtl::ZRID();
    };
    switch (impl_->initializationType) {
        case InitializationType::MediaAsset:
            return idOf(impl_->mediaAsset);
        case InitializationType::Sequence:
            return idOf(impl_->sequence);
        case InitializationType::Composition:
            return idOf(impl_->composition);
        case InitializationType::None:
            break;
    }
    return {};
}

}  // namespace orlo::sonrel
