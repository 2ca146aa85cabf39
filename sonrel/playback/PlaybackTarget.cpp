// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackTarget.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::sonrel::detail {

namespace {

using project::CompositionAsset;
using project::EditorSequence;
using project::MediaAsset;

constexpr int CHANNEL_COUNT = 2;

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

TargetFormat TimelineFormat(project::AudioVideoSettings& settings, std::uint64_t trackCount) {
    TargetFormat format;
    format.channelCount = CHANNEL_COUNT;
    format.sampleRate = settings.AudioSampleRateValue();
    format.frameRate = settings.FrameRate();
    format.totalSamples =
        zrtl::TotalSamples(settings.FrameCount(), format.sampleRate, format.frameRate);
    format.trackCount = trackCount;
    format.meterBlockSamples = format.sampleRate / 10;
    return format;
}

/// The sample rate is that of the project, not of the file. The length is that of the conformed
/// sound; before the sound is conformed, that of the picture.
TargetFormat MediaFormat(project::Project& project, const MediaAsset& asset) {
    TargetFormat format;
    format.channelCount = CHANNEL_COUNT;
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

int MixMediaAsset(AudioMixer& mixer, const std::shared_ptr<MediaAsset>& asset, long long position,
                  int count, short* samples) {
    if (!asset) return 0;
    const int mixed =
        mixer.GetSamples(asset, position, count, reinterpret_cast<unsigned char*>(samples),
                         count * zrtl::FRAME_BYTES);
    if (mixed > 0) return mixed;
    std::fill_n(samples, 2 * static_cast<std::ptrdiff_t>(count), short{0});
    return count;
}

}  // namespace

bool FrameRatesAreClose(double a, double b) {
    return std::abs(a - b) <= 1e-12 * std::max(std::abs(a) + 1.0, std::abs(b) + 1.0);
}

PlaybackTarget::PlaybackTarget(std::shared_ptr<project::Project> project, Object object)
    : project_(std::move(project)), object_(std::move(object)) {}

bool PlaybackTarget::IsComplete() const {
    return project_ && std::visit(Overloaded{[](std::monostate) { return false; },
                                             [](const auto& object) { return object != nullptr; }},
                                  object_);
}

bool PlaybackTarget::HasStream() const {
    const auto* const asset = std::get_if<std::shared_ptr<MediaAsset>>(&object_);
    return asset == nullptr || (*asset)->HasAudio() || (*asset)->HasVideo();
}

zrtl::ZRID PlaybackTarget::ID() const {
    return std::visit(
        Overloaded{[](std::monostate) { return zrtl::ZRID(); },
                   [](const auto& object) { return object ? object->ID() : zrtl::ZRID(); }},
        object_);
}

TargetFormat PlaybackTarget::Format() const {
    return std::visit(Overloaded{[](std::monostate) { return TargetFormat(); },
                                 [this](const std::shared_ptr<MediaAsset>& asset) {
                                     return MediaFormat(*project_, *asset);
                                 },
                                 [](const std::shared_ptr<EditorSequence>& sequence) {
                                     return TimelineFormat(sequence->Settings(),
                                                           sequence->AudioTracks().size());
                                 },
                                 [](const std::shared_ptr<CompositionAsset>& composition) {
                                     return TimelineFormat(composition->Settings(), 0);
                                 }},
                      object_);
}

bool PlaybackTarget::IsSameFormat(const TargetFormat& a, const TargetFormat& b) const {
    if (a.sampleRate != b.sampleRate || a.totalSamples != b.totalSamples) return false;
    // Any other frame rate is a change of a media asset: only timelines have a tolerance.
    if (ObjectKind() == Kind::MediaAsset) {
        return a.channelCount == b.channelCount && a.frameRate == b.frameRate;
    }
    const bool hasTracks = ObjectKind() == Kind::Sequence;
    return FrameRatesAreClose(a.frameRate, b.frameRate) &&
           (!hasTracks || a.trackCount == b.trackCount);
}

int PlaybackTarget::Mix(AudioMixer& mixer, long long position, int count, short* samples) const {
    return std::visit(Overloaded{[](std::monostate) { return 0; },
                                 [&](const std::shared_ptr<MediaAsset>& asset) {
                                     return MixMediaAsset(mixer, asset, position, count, samples);
                                 },
                                 [&](const auto& timeline) {
                                     if (!project_ || !timeline) return 0;
                                     return mixer.GetSamples(
                                         project_, timeline, position, count,
                                         reinterpret_cast<unsigned char*>(samples),
                                         count * zrtl::FRAME_BYTES, 0, 0);
                                 }},
                      object_);
}

PlaybackTarget::Object TargetMemory::Lock(Kind kind) const {
    return std::visit(
        Overloaded{[](std::monostate) { return PlaybackTarget::Object(); },
                   [](const auto& object) { return PlaybackTarget::Object(object.lock()); }},
        objects_[static_cast<std::size_t>(kind)]);
}

PlaybackTarget TargetMemory::Current() const {
    const std::lock_guard guard(mutex_);
    return {project_.lock(), Lock(currentKind_)};
}

bool TargetMemory::Holds(const PlaybackTarget& target) const {
    PlaybackTarget::Object held;
    {
        const std::lock_guard guard(mutex_);
        held = Lock(target.ObjectKind());
    }
    return held == target.TargetObject();
}

void TargetMemory::Store(const PlaybackTarget& target) {
    currentKind_ = Kind::None;
    const std::lock_guard guard(mutex_);
    project_ = target.Project();
    objects_[target.TargetObject().index()] =
        std::visit(Overloaded{[](std::monostate) { return WeakObject(); },
                              [](const auto& object) { return WeakObject(std::weak_ptr(object)); }},
                   target.TargetObject());
}

void TargetMemory::Clear() {
    {
        const std::lock_guard guard(mutex_);
        project_.reset();
        objects_.fill(WeakObject());
    }
    currentKind_ = Kind::None;
}

}  // namespace orlo::sonrel::detail
