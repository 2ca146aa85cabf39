// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/SequenceMix.h"

#include <mutex>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/BlockWalk.h"
#include "sonrel/mixer/detail/GainLaw.h"
#include "sonrel/mixer/detail/ObjectRender.h"
#include "sonrel/mixer/detail/PropertyReaders.h"
#include "sonrel/mixer/detail/TransitionStep.h"

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

    /// Whether a track is silent because others are solo. A track that came after the flags were
    /// read is not solo.
    bool Excludes(std::size_t track) const {
        return any_ && !(track < flags_.size() && flags_[track]);
    }

private:
    std::vector<bool> flags_;
    bool any_ = false;
};

struct TrackLevels {
    BlockLevels sum;  ///< object and track, added in dB
    float balance = 0.0f;
};

TrackLevels ReadTrackLevels(std::mutex& mutex, project::AudioObject& object,
                            project::AudioTrack& track, const BlockTimes& times,
                            double objectStartSeconds) {
    const std::lock_guard lock(mutex);
    const BlockLevels ofObject = ReadLevels(object.Animation(), times.Since(objectStartSeconds));
    const BlockLevels ofTrack = ReadLevels(track.Animation(), times);
    const float balance = StereoBalance(track.Animation());
    return {{ofTrack.start + ofObject.start, ofTrack.end + ofObject.end}, balance};
}

bool IsMuted(std::mutex& mutex, const project::AudioTrack& track) {
    const std::lock_guard lock(mutex);
    return track.IsMuted();
}

bool IsMuted(std::mutex& mutex, const project::AudioObject& object) {
    const std::lock_guard lock(mutex);
    return object.IsMuted();
}

/// Adds the track's object into the float block.
/// @param samples  serves all tracks of a block in turn: what one leaves behind the valid samples
///                 the next one's effects may see
/// @return false when the track is silent and nothing was added
bool MixTrack(AudioMixerImpl& mixer, const TrackBlock& block, const BlockTimes& times,
              float* floats, std::vector<unsigned char>& samples, AudioMeter* meter) {
    const auto object = std::static_pointer_cast<project::AudioObject>(
        block.track.Objects().FindOnFrame(block.frame));
    if (!object || IsMuted(mixer.mutex, *object)) return false;
    const int frames = RenderAudioObject(mixer, block.project, block.sequence, object, block.start,
                                         block.count, block.rate, samples, zrtl::ZRID());
    if (frames < 1) return false;
    ApplyTransition(mixer, block, *object, frames, samples);

    const TrackLevels levels = ReadTrackLevels(mixer.mutex, *object, block.track, times,
                                               object->StartTime(block.sequence) / 1000.0);
    const auto* values = reinterpret_cast<const short*>(samples.data());
    if (meter) {
        MixObjectIntoBlockMetered(values, frames, floats, block.count, levels.sum.start,
                                  levels.sum.end, levels.balance, *meter);
    } else {
        MixObjectIntoBlock(values, frames, floats, levels.sum.start, levels.sum.end,
                           levels.balance);
    }
    return true;
}

BlockLevels ReadMasterLevels(std::mutex& mutex, const project::EditorSequence& sequence,
                             const BlockTimes& times) {
    const std::lock_guard lock(mutex);
    return ReadLevels(sequence.AudioMasterTrack()->Animation(), times);
}

}  // namespace

int MixSequenceBlock(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                     const std::shared_ptr<project::EditorSequence>& sequence, long long start,
                     int count, short* output, int rate, double frameRate) {
    const RequestBlock requestBlock(mixer.requestBlock, start);
    const std::shared_ptr<const MeterSet> meters = mixer.meters.ForMixBlock();
    if (count > zrtl::SamplesPerFrame(rate, frameRate)) return TOO_LONG;

    const BlockTimes times = BlockTimes::OnTimeline(start, count, rate);
    const int frame = zrtl::FrameAtSample(start, rate, frameRate);
    const auto floats = mixer.floatBlocks.Acquire(count);
    const SoloFlags solo(*sequence, mixer.mutex);

    std::vector<unsigned char> samples;
    auto& tracks = sequence->AudioTracks();
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const std::shared_ptr<project::AudioTrack> track = tracks[i];
        AudioMeter* const meter = meters ? meters->Track(i) : nullptr;
        const TrackBlock block{project, sequence, *track, frame, start, count, rate};
        const bool silent = IsMuted(mixer.mutex, *track) || solo.Excludes(i) ||
                            !MixTrack(mixer, block, times, floats.get(), samples, meter);
        if (silent && meter) meter->ProcessSamples(nullptr, count);
    }
    if (meters) meters->FeedRemovedTracks(tracks.size(), count);

    const BlockLevels master = ReadMasterLevels(mixer.mutex, *sequence, times);
    ApplyMasterLevel(floats.get(), count, master.start, master.end);
    if (meters) meters->master->ProcessSamples(floats.get(), count);
    mixer.converter.FloatToInt16(floats.get(), output, count);
    return count;
}

int GetSequenceSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                       const std::shared_ptr<project::EditorSequence>& sequence, long long start,
                       int count, unsigned char* buffer, int rateOverride, int sampleRate) {
    return WalkBlocks(
        sequence->Settings(), start, count, buffer, rateOverride, sampleRate,
        [&](long long blockStart, int blockCount, short* output, int rate, double frameRate) {
            return MixSequenceBlock(mixer, project, sequence, blockStart, blockCount, output, rate,
                                    frameRate);
        });
}

}  // namespace orlo::sonrel::detail
