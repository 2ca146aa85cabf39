// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/mixer/AudioMetrics.h"
#include "sonrel/playback/AudioOutput.h"

namespace orlo::project {
class CompositionAsset;
class EditorSequence;
class MediaAsset;
class Project;
}  // namespace orlo::project

namespace orlo::sonrel {

class AbstractAudioMeterObserver;
class Sonrel;
struct PlaybackEngineImpl;

/// The loudness of the sound that is heard, as LoudnessMeter measures it.
struct PlaybackLoudness {
    std::optional<double> momentaryLufs;  ///< of the last 0.4 seconds
    std::optional<double> shortTermLufs;  ///< of the last 3 seconds
};

/// Plays a media asset, a sequence or a composition on the sound device, and reports which video
/// frame is being heard: the sound is the clock, the host shows the pictures.
///
/// A sample is a stereo frame of 16-bit values at the sample rate of the project or target.
/// Positions are in samples or video frames from the beginning of the target. The targets are held
/// weakly: a target that the host deletes turns into NotInitialized or silence.
///
/// The engine object makes the playback engine (Sonrel::InitializePlaybackEngine) and must outlive
/// it: a host drops every reference to a playback engine before its last reference to the Sonrel.
///
/// Threads: commands and the list of observers belong to one thread at a time, and the host
/// mixes nothing on the same engine object while a run is under way. CurrentPlaybackVideoFrame
/// may be called on any thread, IsPlaying, CurrentPlaybackMetrics and CurrentPlaybackLoudness
/// too while no set-up runs. A run has its own worker thread, which mixes. When a run ends by
/// itself, observers and the completion callback are called on the device's thread. Commands
/// may be given from there, and from any observer, while no other thread gives a command; no
/// lock is held meanwhile.
///
/// These end-of-run calls end with the run: Stop, the play commands, an Initialize or Refresh that
/// sets up again, and the destructor wait for a running call, unless they are called from inside
/// it. After they have returned no call begins: an observer may be deleted after Stop. A callback
/// must not wait for the thread that gives commands, which may be waiting for it. An end-of-run
/// call may release the engine, and no call follows then; an observer that a command calls must
/// not.
///
/// Exceptions: observers and the completion callback may throw. Every other observer is still
/// called, and the completion callback too. A command throws the first exception of its observers
/// when its work is done: after Stop nothing plays, after a play command the run plays. A play
/// command or SkipToFrame whose stop throws does not start. On the device's thread no caller can
/// receive an exception; it is dropped.
class SONREL_EXPORT PlaybackEngine {
public:
    /// The result of CurrentPlaybackVideoFrame while nothing has been heard yet: -1.
    static const int NO_FRAME;

    /// Result of the commands. The numbers have gaps, which are never returned.
    enum class Err : int {
        NoError = 0,
        AudioLibraryLoadFailed = 2,   ///< the sound library cannot be loaded
        AudioEngineCreateFailed = 3,  ///< the sound output cannot be made
        MasteringVoiceFailed = 4,     ///< the output does not open: among others, no sound device
        SourceVoiceFailed = 5,        ///< the voice cannot be made
        NoMediaStream = 6,            ///< a media asset with neither sound nor picture
        UnsupportedChannelCount = 7,  ///< the channel count is not 2
        UnsupportedSampleRate = 8,    ///< the sample rate is outside 8000 to 96000 hertz
        NotInitialized = 10,          ///< not set up, or the target was deleted
        PlaybackFailed = 11,          ///< the voice refused; or SkipToFrame while nothing plays
        Busy = 12,                    ///< PlayFrame while something plays or is still queued
        NotPlaying = 13,              ///< FlushQueuedPlaybackSamples while nothing plays
        OutOfRange = 14,              ///< the frame or sample is outside the target
        FlushFailed = 18,             ///< a flush was not answered in time, or the voice refused
    };

    /// The kind of target that the engine is set up on.
    enum class InitializationType : int { None = 0, MediaAsset = 1, Sequence = 2, Composition = 3 };
    /// The direction of a run.
    enum class PlaybackDirection : int { Forward = 0, Reverse = 1 };

    /// Ends a run, as Stop does, but calls no observer, and closes the device.
    ~PlaybackEngine();
    PlaybackEngine(const PlaybackEngine&) = delete;
    PlaybackEngine& operator=(const PlaybackEngine&) = delete;

    /// Sets the engine up on a media asset: at the sample rate of the project's sequence, and the
    /// frame rate of the picture, or of the sound if there is no picture. Its levels are never
    /// metered. A picture without sound, or without conformed sound yet, plays as silence for its
    /// length.
    ///
    /// A target that the engine already holds, with the same rate, length and frame rate, returns
    /// the result of its former set-up, including a failure, and nothing else happens. Otherwise a
    /// run ends, without calls to observers and without completion, and voices and buffers are
    /// built again.
    /// @return NoError; NoMediaStream; NotInitialized for an empty pointer; UnsupportedSampleRate,
    ///         which leaves the worker of a run at work, without a target; MasteringVoiceFailed;
    ///         SourceVoiceFailed
    /// @throws std::bad_alloc or std::length_error when the fifty buffers of a video frame each do
    ///         not fit into memory; the engine is not set up then
    Err Initialize(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::MediaAsset>& asset);

    /// Sets the engine up on a sequence, at the rates of its settings; otherwise as above. A
    /// different number of tracks is a change too.
    Err Initialize(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::EditorSequence>& sequence);

    /// Sets the engine up on a composition, at the rates of its settings; otherwise as above.
    Err Initialize(const std::shared_ptr<project::Project>& project,
                   const std::shared_ptr<project::CompositionAsset>& composition);

    /// Sets the engine up again on its target, after a change of length, rate or track count.
    /// @return the result of Initialize; NotInitialized without a target or when it was deleted
    Err Refresh();

    /// Whether the engine is set up.
    bool IsInitialized() const;
    InitializationType InitializedType() const;  ///< of the target
    /// The identity of the target; null without a target or when it was deleted.
    zrtl::ZRID InitializedObjectID() const;

    /// Plays one video frame, as a host does while its user scrubs. Mixes on the caller's thread.
    /// No run begins, IsPlaying stays false and CurrentPlaybackVideoFrame does not change. The
    /// former single frame is cut off, and a stored completion callback is dropped. Observers
    /// receive OnMeterUpdate with the levels of the frame.
    ///
    /// The part of the buffer after the end of the target is not cleared: after the last frame the
    /// rest of an earlier frame may sound.
    /// @return NoError; NotInitialized; Busy during a run, which continues, or while the device has
    ///         not released the former frame yet; OutOfRange; PlaybackFailed
    /// @throws the exception of an observer; the frame sounds
    Err PlayFrame(int frame);

    /// Starts a run at the first sample of a frame, RoundHalfAway(frame * (sampleRate /
    /// frameRate)); otherwise as PlayFromSample.
    Err PlayFromFrame(int frame, PlaybackDirection direction, int speed,
                      std::function<void(void*)> completion, void* userData);

    /// Starts a run. A former run is stopped first, also when this run does not start. Takes a
    /// little more than 50 milliseconds, the head start of the worker before the sound.
    ///
    /// At a speed above 1 samples are left out, so that the pitch rises.
    /// @param sample      from 0 to below the length of the target. In reverse the run plays the
    ///                    samples before it, so 0 plays nothing: such a run stays as it is until it
    ///                    is stopped
    /// @param speed       a speed below 1 plays at 1, above 4 at 4
    /// @param completion  called once, on the device's thread, when the last buffer has been played
    ///                    to its end; not after Stop or a set-up; may be empty
    /// @return NoError; NotInitialized; OutOfRange; PlaybackFailed when the voice does not start
    /// @throws the exception of an observer: the run plays if it was OnMeterSessionStart
    Err PlayFromSample(long long sample, PlaybackDirection direction, int speed,
                       std::function<void(void*)> completion, void* userData);

    /// Restarts the run at another frame, with its direction, speed and completion callback.
    /// Observers are notified of two stops and a start.
    /// @return the result of PlayFromFrame; PlaybackFailed while nothing plays
    Err SkipToFrame(int frame);

    /// Ends the run and its sound; while nothing plays it only calls the observers. Takes at most a
    /// second in addition to the mix under way and the host's own callbacks, on a lost device too.
    /// @return NoError; NotInitialized before a set-up
    /// @throws the exception of an observer, when everything else is done
    Err Stop();

    /// Drops the queued buffers that are not heard yet, so that an edit made during a run is heard
    /// after the sounding buffer instead of after some 50 frames. The meters restart.
    ///
    /// Useful once a frame is heard: before that, the run would continue from the beginning of the
    /// target. In reverse, or above speed 1, the run continues from the start of the sounding
    /// buffer plus the buffer's own length in samples. A run whose last samples are already mixed
    /// does not answer a flush and may end without calling its completion callback.
    /// @return NoError, also when fewer than 2 buffers are queued, which changes nothing;
    ///         NotPlaying; FlushFailed after about half a second
    Err FlushQueuedPlaybackSamples();

    /// Whether a run is under way, its last buffers included.
    bool IsPlaying() const;

    /// The video frame of the buffer that began to sound last; NO_FRAME from the start of a run to
    /// its first buffer, and before the first run. Keeps the last frame after a run.
    int CurrentPlaybackVideoFrame() const;

    /// The state of the open output. The engine itself never ends a run because of it: a lost
    /// device may continue to take samples that nobody hears, and an output that stalls takes none.
    /// A host that shows this to its user compares framesPulled from time to time.
    /// @return a default state before a set-up
    AudioOutputState OutputState() const;

    /// Appends an observer. An observer that is added twice receives every notification twice.
    /// Takes effect for the end of a run with the next play command.
    /// @param observer  not null; lives until it is removed and Stop has returned
    void AddMeterObserver(AbstractAudioMeterObserver* observer);

    /// Removes every occurrence of an observer; an unknown observer changes nothing. It is still
    /// called when the current run ends without a command.
    void RemoveMeterObserver(AbstractAudioMeterObserver* observer);

    /// The levels of the sound that is being heard, in blocks of 100 milliseconds. The blocks since
    /// the last call are merged into the result: greatest peaks, any clipping, summed sample
    /// counts. For a run that began with observers; a media asset has no levels. All levels of one
    /// call belong to one run. Any thread, while no set-up runs.
    /// @return no tracks and all 0 while nothing is heard or measured
    AudioMetrics CurrentPlaybackMetrics() const;

    /// The loudness of the run at the end of the buffer that began to sound last, also in reverse
    /// and at other speeds: of the sound as it is heard. For a run that began with observers; a
    /// media asset has none. A flush begins the measurement anew. Keeps the last values after a
    /// run. Any thread, while no set-up runs.
    /// @return empty values before the first 0.4 or 3 seconds, for digital silence, and while
    ///         nothing is measured
    PlaybackLoudness CurrentPlaybackLoudness() const;

private:
    friend class Sonrel;
    friend struct PlaybackEngineAccess;

    explicit PlaybackEngine(Sonrel* owner);

    static Err Create(Sonrel* owner, std::shared_ptr<PlaybackEngine>& engine);
    void Uninitialize();

    std::unique_ptr<PlaybackEngineImpl> impl_;
};

}  // namespace orlo::sonrel
