// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "sonrel/Export.h"
#include "sonrel/contracts/zrtl/ZRID.h"
#include "sonrel/mixer/AudioMetrics.h"
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

/// The one road from a project to samples. The engine object makes one mixer and hands it out.
///
/// A sample is a stereo frame: two signed 16-bit values, left first, four bytes. Positions and
/// counts are in samples at the sample rate in force, counted from the beginning of what is read.
///
/// Threads: one GetSamples call at a time on one mixer. The meter reads may run beside it. The
/// project is read live: a host that edits flags, levels or balance while something mixes holds
/// Mutex() around the edit, and makes structural edits while nothing mixes.
///
/// The mix catches nothing: an exception from the project, a plugin or the allocator passes up to
/// the caller, and the mixer is usable afterwards.
class SONREL_EXPORT AudioMixer {
public:
    /// A dither seed that asks for one from the clock.
    static const unsigned int DITHER_SEED_RANDOM;

    ~AudioMixer();
    AudioMixer(const AudioMixer&) = delete;
    AudioMixer& operator=(const AudioMixer&) = delete;

    /// Mixes a sequence.
    /// @param start         first sample
    /// @param count         samples, at most 60 seconds
    /// @param buffer        receives count * 4 bytes; untouched when the result is negative
    /// @param bufferSize    ignored: the caller answers for the room
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

    /// Mixes a composition. Arguments and results are those of the sequence form.
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::CompositionAsset>& composition, long long start,
                   int count, unsigned char* buffer, int bufferSize, int rateOverride,
                   int sampleRate) const;

    /// Reads an asset of either kind at its own speed. Nothing converts between rates.
    /// @param sampleRate  hertz
    /// @param bufferSize  bytes of room in @p buffer
    /// @return samples written; 0 when there is nothing at that place; -1 for a negative start or
    ///         count; for compositions also the negative results of the composition form
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
    /// Arguments and results are those of the layer form, on the sequence's timeline.
    int GetSamples(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::EditorSequence>& sequence,
                   const std::shared_ptr<project::AudioObject>& object, long long start, int count,
                   int sampleRate, std::vector<unsigned char>& samples,
                   zrtl::ZRID stopAtEffect) const;

    /// Starts the noise stream afresh with the stored type and seed. Meters, pools and open files
    /// stay as they are.
    void ResetMixSession();
    /// The stored dither type.
    DitherType Dither() const;
    /// Stores type and seed and starts the noise stream afresh. The default is
    /// HighPassTriangular with DITHER_SEED_RANDOM.
    void SetDither(DitherType type, unsigned int seed);

    /// The lock under which the mix reads flags, levels and balance; never held while rendering.
    std::mutex& Mutex() const;

    /// Starts metering: sequence mixes feed the track meters and the master meter, composition
    /// mixes the master meter.
    /// @param trackCount   one meter a track, in the order of the sequence's tracks
    /// @param blockFrames  samples in a meter block; below 1 no meter starts
    void StartMeterSession(unsigned long long trackCount, int blockFrames);
    void StopMeterSession();
    /// Drops what was gathered and goes on.
    void RestartMeterSession();
    /// Finished blocks of the master meter.
    unsigned long long MeterBlockCount() const;
    /// A copy of one finished block of every meter. Safe while a mix runs.
    /// @param index  below MeterBlockCount(); not checked
    AudioMetrics MetricsForBlock(unsigned long long index) const;

private:
    friend class Sonrel;
    friend struct AudioMixerAccess;

    AudioMixer();

    std::unique_ptr<AudioMixerImpl> impl_;
};

}  // namespace orlo::sonrel
