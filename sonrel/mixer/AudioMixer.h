// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/mixer/AudioMetrics.h"
#include "sonrel/mixer/FailedReads.h"
#include "sonrel/mixer/SampleConverter.h"

namespace orlo::project {
class AbstractAsset;
class AbstractLayer;
class AudioObject;
class CompositionAsset;
class EditorSequence;
class MediaAsset;
class Project;
}  // namespace orlo::project

namespace orlo::sonrel {

class Sonrel;
struct AudioMixerImpl;

/// Converts a project to samples. The engine object creates one mixer and returns it to the host.
///
/// A sample is a stereo frame: two signed 16-bit values, left first, four bytes. Positions and
/// counts are in samples at the sample rate in force, counted from the beginning of the sequence,
/// composition, asset or timeline that is read.
///
/// Threads: one GetSamples call at a time on one mixer. All meter operations, MarkFailedReads and
/// FailedReadsSince may run on any thread at any moment, next to a mix and next to each other.
/// Dither(), SetDither and ResetMixSession are for the thread that mixes, or for any thread while
/// nothing mixes. The project is read live: a host that edits flags, levels or balance while
/// something mixes holds Mutex() around the edit, and makes structural edits while nothing mixes.
///
/// The mix catches nothing: an exception from the project, a plugin or the allocator passes up to
/// the caller, and the mixer is usable afterwards.
class SONREL_EXPORT AudioMixer {
public:
    /// A dither seed that takes the seed from the clock.
    static const unsigned int DITHER_SEED_RANDOM;

    ~AudioMixer();
    AudioMixer(const AudioMixer&) = delete;
    AudioMixer& operator=(const AudioMixer&) = delete;

    /// Mixes a sequence.
    /// @param start         first sample
    /// @param count         samples, at most 60 seconds
    /// @param buffer        receives count * 4 bytes; untouched when the result is negative
    /// @param bufferSize    ignored: the caller is responsible for the room
    /// @param rateOverride  lowest bit set: mix at @p sampleRate instead of the settings' rate.
    ///                      Media conformed at another rate is not converted
    /// @param sampleRate    hertz, at most 96000; ignored without the override
    /// @return @p count; -1 when the range is not within the sequence or count is below 1; -3 when
    ///         count is above 60 seconds, or when a video frame of the settings holds no sample at
    ///         all or more than 96000; -4 when the overriding rate is above 96000
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::EditorSequence>& sequence, long long start,
                   int count, unsigned char* buffer, int bufferSize, int rateOverride,
                   int sampleRate) const;

    /// Mixes a composition. Arguments and results are as in the sequence form.
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::CompositionAsset>& composition, long long start,
                   int count, unsigned char* buffer, int bufferSize, int rateOverride,
                   int sampleRate) const;

    /// Reads an asset of either kind at its own speed. Nothing converts between rates.
    /// @param sampleRate  hertz
    /// @param bufferSize  bytes of room in @p buffer
    /// @return samples written; 0 when there is nothing at that place. For a media asset -1 for a
    ///         negative start or count. For a composition 0 for a negative start, -1 for a count
    ///         below 1, and the other negative results of the composition form
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::AbstractAsset>& asset, long long start, int count,
                   int sampleRate, unsigned char* buffer, int bufferSize) const;

    /// Reads the conformed samples of a media asset.
    /// @param bufferSize  bytes of room in @p buffer
    /// @return samples written; 0 where there are none, the file is not ready or a read fails; -1
    ///         for a negative start or count
    int GetSamples(const std::shared_ptr<project::MediaAsset>& asset, long long start, int count,
                   unsigned char* buffer, int bufferSize) const;

    /// Renders one layer of a composition with its speed and effects.
    /// @param start         first sample on the composition's timeline
    /// @param samples       resized to the longest range that the effects need, and filled from its
    ///                      beginning
    /// @param stopAtEffect  the effect before which the chain ends; null runs all
    /// @return samples that are valid at the beginning of @p samples, or -1
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::AbstractLayer>& layer, long long start, int count,
                   int sampleRate, std::vector<unsigned char>& samples,
                   zrtl::ZRID stopAtEffect) const;

    /// Renders one audio object with its speed and effects; level and balance are not applied.
    /// Arguments and results are as in the layer form, on the sequence's timeline.
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::EditorSequence>& sequence,
                   const std::shared_ptr<project::AudioObject>& object, long long start, int count,
                   int sampleRate, std::vector<unsigned char>& samples,
                   zrtl::ZRID stopAtEffect) const;

    /// Creates a mixer that takes a share of the work of this mixer, on another thread.
    ///
    /// It has the dither, the seed and the place in the noise stream of this mixer, and an empty
    /// meter session with the same tracks and block length while this mixer has a session. Nothing
    /// connects the mixers afterwards. With SkipSamples each mixer starts its share at the right
    /// place, and the shares joined are the samples of one mixer, byte for byte:
    ///
    ///     const auto worker = mixer.CreateWorker();
    ///     worker->SkipSamples(mixer.NoiseSamples(project, sequence, 0, half, 0, 0), half);
    ///     std::jthread thread([&] { worker->GetSamples(project, sequence, half, rest, ...); });
    ///     mixer.GetSamples(project, sequence, 0, half, ...);
    ///     thread.join();
    ///     mixer.AddMeterBlocks(*worker);  // after StopMeterSession on both
    ///
    /// Opt-in: a host decides whether its project allows it. Several mixers call the plugins of one
    /// project at the same time, one instance and its properties included. Every plugin must allow
    /// that, and its output must depend on its arguments and the samples only, not on earlier
    /// calls. The plugin pack does. Nothing of the project may be edited meanwhile: the lock of one
    /// mixer does not exclude the others.
    std::shared_ptr<AudioMixer> CreateWorker() const;

    /// Length of the part of the noise stream that GetSamples with the same arguments takes, in
    /// samples: the samples of the request and of all compositions inside it, which are converted
    /// to 16 bits too. Renders nothing, reads no media file and calls only
    /// AbstractPluginAudio::RequiredRanges of plugins. A media file that cannot be read is counted
    /// as if it could be. Not while GetSamples runs on another thread.
    /// @return 0 where GetSamples reports an error
    long long NoiseSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::EditorSequence>& sequence,
                           long long start, int count, int rateOverride, int sampleRate) const;
    /// The same for a composition.
    long long NoiseSamples(const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition,
                           long long start, int count, int rateOverride, int sampleRate) const;

    /// Passes over a part of a mix that another mixer renders: the noise stream advances, and all
    /// meters of the session get silence. Not while GetSamples runs on another thread.
    /// @param noiseSamples  sum of NoiseSamples of the requests of that part
    /// @param meterSamples  sum of the counts of these requests
    void SkipSamples(long long noiseSamples, long long meterSamples);

    /// Adds the finished meter blocks of a worker, block by block: greatest peaks, any clipping,
    /// greatest sample count. Both sessions have ended, and began at the same position.
    void AddMeterBlocks(const AudioMixer& worker);

    /// Restarts the noise stream with the stored type and seed. Meters, pools and open files
    /// stay as they are. Not while GetSamples runs on another thread: nothing guards the noise.
    void ResetMixSession();
    /// The stored dither type. Not while another thread calls SetDither.
    DitherType Dither() const;
    /// Stores type and seed and restarts the noise stream. The default is
    /// HighPassTriangular with DITHER_SEED_RANDOM. Not while GetSamples runs on another thread.
    void SetDither(DitherType type, unsigned int seed);

    /// The lock under which the mix reads flags, levels and balance. The mix takes it for single
    /// reads, and never holds it while it renders or while a plugin runs.
    ///
    /// Any thread may take it, a plugin too. Hold it for the edit only, because the mix waits for
    /// it. It is not recursive: GetSamples never returns on a thread that holds it. The meter
    /// operations do not take it.
    std::mutex& Mutex() const;

    /// Starts a new period of FailedReadsSince. Any thread, at any moment.
    ///
    /// Marks of several users do not disturb each other: each asks with its own mark.
    /// @return the mark, above 0 and above all marks before
    unsigned long long MarkFailedReads();
    /// The conformed files that could not be read since a mark, each with its first failed read, in
    /// the order in which they failed. Any thread, at any moment, also while another thread mixes
    /// or plays: the failed reads of a GetSamples call are there once it has returned. A read that
    /// succeeds takes no lock and allocates nothing for this.
    ///
    /// A host that must not take missing sound for silence marks before a mix or a playback and
    /// asks after it:
    ///
    ///     const unsigned long long mark = mixer.MarkFailedReads();
    ///     mixer.GetSamples(project, sequence, start, count, buffer, size, 0, 0);
    ///     const std::vector<FailedRead> failed = mixer.FailedReadsSince(mark);
    ///     if (!failed.empty()) ...  // failed.front() names the media file and the position
    ///
    /// At most 4096 records are kept. When there are more, records of earlier marks are dropped,
    /// the oldest first; of the latest mark the first 4096 files stay.
    /// @param mark  a result of MarkFailedReads, or 0 for all failed reads of the mixer
    std::vector<FailedRead> FailedReadsSince(unsigned long long mark) const;

    /// Starts metering: sequence mixes feed the track meters and the master meter, composition
    /// mixes the master meter. The blocks of the session before are dropped.
    ///
    /// Any thread, at any moment, a plugin during a mix included. A mix block, which is a video
    /// frame long at most, that is under way belongs to the session that ran when it began: the new
    /// session starts with the next mix block.
    /// @param trackCount   one meter a track, in the order of the sequence's tracks. A track that
    ///                     is added later has no meter; the meter of a track that is removed gets
    ///                     silence
    /// @param blockFrames  samples in a meter block; below 1 no meter starts
    void StartMeterSession(unsigned long long trackCount, int blockFrames);
    /// Ends metering. The rest since the last full block becomes one short last block, and all
    /// blocks stay readable. Any thread, at any moment; it never waits for a mix. Samples of a mix
    /// block that is under way count for the meters that they have reached.
    void StopMeterSession();
    /// Drops the blocks and continues with an empty one. Nothing happens without a session. Any
    /// thread, at any moment; a mix block that is under way is dropped too.
    void RestartMeterSession();
    /// Finished blocks of the master meter. Any thread, at any moment.
    unsigned long long MeterBlockCount() const;
    /// A copy of one finished block of every meter, all of one session. Any thread, at any moment.
    /// @param index  any; the record of a meter without this block is empty, as for the track
    ///               meters do after a composition mix
    /// @return one record for each track meter and one for the master
    AudioMetrics MetricsForBlock(unsigned long long index) const;
    /// The blocks from @p first to @p last as one block, all of one session: summed sample counts,
    /// greatest peaks, any clipping. A block that a meter does not have adds nothing. Any thread,
    /// at any moment.
    AudioMetrics MetricsForBlocks(unsigned long long first, unsigned long long last) const;

private:
    friend class Sonrel;
    friend struct AudioMixerAccess;

    AudioMixer();

    std::unique_ptr<AudioMixerImpl> impl_;
};

}  // namespace orlo::sonrel
