// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/SequenceMixer.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/GainLaw.h"
#include "sonrel/mixer/detail/ObjectRenderer.h"
#include "sonrel/mixer/detail/RenderTransition.h"

namespace orlo::sonrel::detail {
namespace {

/// The solo flags of a block, read once.
class SoloFlags {
public:
    SoloFlags(project::EditorSequence& sequence, std::mutex& mutex) {
        const std::lock_guard lock(mutex);
        for (const auto& track : sequence.AudioTracks()) {
            flags_.push_back(track->IsSolo());
            any_ = any_ || flags_.back();
        }
    }

    /// Whether a track may sound: no track is solo, or this one is. A track that was added after
    /// the flags were read is not solo.
    bool Admits(std::size_t track) const {
        return !any_ || (track < flags_.size() && flags_[track]);
    }

private:
    std::vector<bool> flags_;
    bool any_ = false;
};

}  // namespace

SequenceMixer::SequenceMixer(AudioMixerImpl& mixer,
                             const std::shared_ptr<project::Project>& project,
                             const std::shared_ptr<project::EditorSequence>& sequence)
    : mixer_(mixer), project_(project), sequence_(sequence) {}

int SequenceMixer::Mix(const TimelineRequest& request) {
    return RenderInBlocks(sequence_->Settings(), request, *this);
}

int SequenceMixer::MixBlock(const Block& block, double frameRate, zrtl::StereoFrame* output) {
    const RequestBlock requestBlock(mixer_.requestBlock, block.timelineStart);
    const BlockMeters meters = mixer_.meters.ForMixBlock();
    if (block.count > zrtl::SamplesPerFrame(block.rate, frameRate)) return TOO_LONG;

    const int videoFrame = zrtl::FrameAtSample(block.timelineStart, block.rate, frameRate);
    if (mixer_.OnlyCounts()) return CountBlock(block, videoFrame);
    const BlockTimes times = BlockTimes::Of(block);
    const auto sum = mixer_.floatBlocks.Acquire(block.count);
    const SoloFlags solo(*sequence_, mixer_.mutex);
    SampleBufferPool::Buffer buffer(mixer_.sampleBuffers);
    std::vector<unsigned char>& samples = buffer.Get();
    ObjectRenderer renderer(mixer_, project_, block, samples);

    const auto& tracks = sequence_->AudioTracks();
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const std::shared_ptr<project::AudioTrack> track = tracks[i];
        const auto object = FindAudibleObject(*track, solo.Admits(i), videoFrame);
        int frames = 0;
        if (object && renderer.Plan(ClipOf(*project_, sequence_, *object))) {
            const SourceFrames source = renderer.Read();
            if (renderer.Resample(source)) frames = renderer.RunEffects();
        }
        if (frames < 1) {
            meters.FeedSilence(i, block.count);
            continue;
        }
        RenderTransition({mixer_, project_, sequence_, *track, block, videoFrame}, *object, frames,
                         samples);
        const auto [levels, balance] = ReadGain(*track, *object, times);
        MixObjectIntoBlockMetered(zrtl::ValuesOf(renderer.Frames()), frames, sum.get(), block.count,
                                  levels.start, levels.end, balance, meters.Track(i));
    }
    meters.FeedRemovedTracks(tracks.size(), block.count);

    const BlockLevels master = ReadMasterLevels(times);
    ApplyMasterLevel(sum.get(), block.count, master.start, master.end);
    meters.FeedMaster(sum.get(), block.count);
    mixer_.converter.FloatToInt16(sum.get(), zrtl::ValuesOf(output), block.count);
    return block.count;
}

/// Follows MixBlock through the objects that may play a composition.
int SequenceMixer::CountBlock(const Block& block, int videoFrame) {
    const SoloFlags solo(*sequence_, mixer_.mutex);
    SampleBufferPool::Buffer buffer(mixer_.sampleBuffers);
    std::vector<unsigned char>& samples = buffer.Get();
    ObjectRenderer renderer(mixer_, project_, block, samples);
    const auto& tracks = sequence_->AudioTracks();
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const std::shared_ptr<project::AudioTrack> track = tracks[i];
        const auto object = FindAudibleObject(*track, solo.Admits(i), videoFrame);
        if (!object || !MayPlayComposition(*object)) continue;
        const int frames = renderer.Render(ClipOf(*project_, sequence_, *object));
        if (frames < 1) continue;
        RenderTransition({mixer_, project_, sequence_, *track, block, videoFrame}, *object, frames,
                         samples);
    }
    *mixer_.noiseSamples += block.count;
    return block.count;
}

/// The object itself, or its neighbour in a transition.
bool SequenceMixer::MayPlayComposition(const project::AudioObject& object) const {
    if (object.IncomingTransition() || object.OutgoingTransition()) return true;
    const auto asset = object.Asset(project_->Assets());
    return asset && asset->AssetType() != 0;
}

std::shared_ptr<project::AudioObject> SequenceMixer::FindAudibleObject(project::AudioTrack& track,
                                                                       bool solo,
                                                                       int videoFrame) const {
    const auto isMuted = [this](const auto& flagged) {
        const std::lock_guard lock(mixer_.mutex);
        return flagged.IsMuted();
    };
    if (isMuted(track) || !solo) return nullptr;
    auto object =
        std::static_pointer_cast<project::AudioObject>(track.Objects().FindOnFrame(videoFrame));
    return object && !isMuted(*object) ? object : nullptr;
}

SequenceMixer::TrackGain SequenceMixer::ReadGain(project::AudioTrack& track,
                                                 project::AudioObject& object,
                                                 const BlockTimes& times) const {
    const BlockTimes objectTimes = times.Since(object.StartTime(sequence_) / 1000.0);
    const std::lock_guard lock(mixer_.mutex);
    const BlockLevels ofObject = ReadLevels(object.Animation(), objectTimes);
    const BlockLevels ofTrack = ReadLevels(track.Animation(), times);
    const float balance = StereoBalance(track.Animation());
    return {{ofTrack.start + ofObject.start, ofTrack.end + ofObject.end}, balance};
}

BlockLevels SequenceMixer::ReadMasterLevels(const BlockTimes& times) const {
    const std::lock_guard lock(mixer_.mutex);
    return ReadLevels(sequence_->AudioMasterTrack()->Animation(), times);
}

}  // namespace orlo::sonrel::detail
