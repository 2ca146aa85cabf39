// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <variant>

#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/project.h"

namespace orlo::sonrel {

class AudioMixer;

namespace detail {

/// The format in which a target plays.
struct TargetFormat {
    int channelCount = 0;          // 2 once set up
    int sampleRate = 0;            // hertz
    double frameRate = 0.0;        // video frames per second
    long long totalSamples = 0;    // length of the target
    std::uint64_t trackCount = 0;  // tracks to meter
    int meterBlockSamples = 0;     // 0 for a media asset, which is never metered
};

/// Whether the difference of two frame rates is within the error of their computation.
bool FrameRatesAreClose(double a, double b);

/// A media asset, a sequence or a composition, with its project: everything that playback does with
/// a target depends on its kind only here.
///
/// It holds both objects, so it lives no longer than a call. Between calls TargetMemory holds them
/// weakly.
class PlaybackTarget {
public:
    using Kind = PlaybackEngine::InitializationType;
    /// In the order of Kind.
    using Object = std::variant<std::monostate, std::shared_ptr<project::MediaAsset>,
                                std::shared_ptr<project::EditorSequence>,
                                std::shared_ptr<project::CompositionAsset>>;

    PlaybackTarget() = default;
    PlaybackTarget(std::shared_ptr<project::Project> project, Object object);

    Kind ObjectKind() const { return static_cast<Kind>(object_.index()); }
    const std::shared_ptr<project::Project>& Project() const { return project_; }
    const PlaybackTarget::Object& TargetObject() const { return object_; }

    /// Whether project and object both exist.
    bool IsComplete() const;
    /// Whether the target has sound or a picture. Only a media asset can lack both.
    bool HasStream() const;
    /// The identity of the object; null without an object.
    zrtl::ZRID ID() const;
    /// The format of a complete target.
    TargetFormat Format() const;
    /// Whether a change from one format of this target to another needs no new set-up.
    bool IsSameFormat(const TargetFormat& a, const TargetFormat& b) const;

    /// Mixes samples of the target into 2 * @p count values. A media asset that cannot be read
    /// gives silence.
    /// @return samples delivered; 0 when the target no longer exists, negative when the mix failed
    int Mix(AudioMixer& mixer, long long position, int count, short* samples) const;

private:
    std::shared_ptr<project::Project> project_;
    Object object_;
};

/// The targets of a playback engine: the last target of each kind, held weakly, and the kind of the
/// current one.
///
/// The targets of other kinds are kept on purpose. A target that matches the remembered target of
/// its kind counts as unchanged, also when another kind is current.
///
/// Threads: any. Nothing mixes under the lock.
class TargetMemory {
public:
    using Kind = PlaybackTarget::Kind;

    Kind CurrentKind() const { return currentKind_; }
    /// Makes the remembered target of a kind the current one.
    void Select(Kind kind) { currentKind_ = kind; }
    /// The current target; without the objects that no longer exist.
    PlaybackTarget Current() const;
    /// Whether the object of @p target is the remembered one of its kind.
    bool Holds(const PlaybackTarget& target) const;
    /// Remembers a target. No target is current until Select, so that a worker that still runs
    /// reads nothing of a target that is half set up.
    void Store(const PlaybackTarget& target);
    void Clear();

private:
    /// In the order of Kind.
    using WeakObject = std::variant<std::monostate, std::weak_ptr<project::MediaAsset>,
                                    std::weak_ptr<project::EditorSequence>,
                                    std::weak_ptr<project::CompositionAsset>>;

    PlaybackTarget::Object Lock(Kind kind) const;

    mutable std::mutex mutex_;  // guards project and objects
    std::weak_ptr<project::Project> project_;
    std::array<WeakObject, std::variant_size_v<WeakObject>> objects_;  // by kind
    std::atomic<Kind> currentKind_ = Kind::None;
};

}  // namespace detail
}  // namespace orlo::sonrel
