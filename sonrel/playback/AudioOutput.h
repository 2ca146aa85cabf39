// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// The state of an open output.
struct AudioOutputState {
    bool lost = false;  ///< the output has reported the loss of its device
    /// Since the output was opened, silence included. Constant while the device stalls.
    long long framesPulled = 0;
};

/// The source of an output's samples: interleaved stereo, signed 16-bit, left first.
///
/// Threads: Pull and ReadyFrames on the output's own thread, one call at a time. On that thread
/// playback also reports the sounding buffer and the end of a run.
class SONREL_EXPORT AudioOutputSource {
public:
    virtual ~AudioOutputSource() = default;

    /// Takes the next frames, in real time: allocates nothing, takes no lock and never waits,
    /// except for the host's code in its completion callback and observers.
    /// @param output      room for 2 * frameCount values; silence where the queue is empty. May be
    ///                    null when frameCount is 0
    /// @param frameCount  stereo frames; 0 takes nothing and reports dropped buffers
    /// @return the frames at the start of @p output that came from queued buffers
    virtual int Pull(short* output, int frameCount) = 0;

    /// The frames left of the sounding buffer, or of the next buffer when none sounds; 0 while the
    /// voice is stopped or has nothing queued.
    virtual int ReadyFrames() = 0;
};

/// A destination of sound: it opens at a rate, pulls at its own pace and closes.
///
/// This is the seam between playback and sound devices. A host with its own output derives from
/// this class; VirtualOutput is an output for tests and for machines without sound.
///
/// Threads: Open and Close on the thread that sets playback up, Wake on any.
class SONREL_EXPORT AudioOutput {
public:
    virtual ~AudioOutput() = default;

    /// Opens the output and starts to pull, until Close. Only called while it is closed.
    /// @param sampleRate  stereo frames a second, 8000 to 96000; nothing above the output converts
    /// @param source      held until the last pull has returned
    /// @return false when there is no device, or when it refuses the rate
    virtual bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) = 0;

    /// Ends the pulling. After it has returned, no pull runs or begins, except when it is called
    /// from inside a pull: then that pull is the last. Does nothing on a closed output.
    virtual void Close() = 0;

    /// Reports that the source has changed: a buffer was queued, the voice was started, or a flush
    /// has dropped buffers. An output that does not pull periodically pulls 0 frames soon; other
    /// outputs may do nothing. Never waits; may be called from inside a pull.
    virtual void Wake() {}

    /// Whether the device of the open output is lost, for example because its sound server ended.
    /// Called on the thread that opens and closes. An output that cannot know returns false.
    virtual bool IsLost() const { return false; }
};

/// Makes the output of a playback engine.
using AudioOutputFactory = std::function<std::shared_ptr<AudioOutput>()>;

/// Sets the output of the playback engines that are made from now on. The setting is one per
/// process. Sonrel::InitializePlaybackEngine reads it and calls the factory once. When the factory
/// returns an empty pointer or throws a std::exception, that call fails with
/// Err::AudioEngineCreateFailed.
/// @param factory  empty for the sound device, which is the default
///
/// Threads: any.
SONREL_EXPORT void SetAudioOutputFactory(AudioOutputFactory factory);

/// Sets the length of the sound device's buffer for the playback engines made from now on.
///
/// A longer buffer survives a busier machine without a dropout. A shorter buffer makes the reported
/// frame more exact: a frame is reported when the device takes it, before it is heard. Outputs of
/// an AudioOutputFactory ignore the setting. The setting is one per process.
/// @param milliseconds  5 to 500, rounded up to a power of two of stereo frames, at most 32768
///                      frames; 0 for the default of 40
/// @return false for any other value, which changes nothing
///
/// Threads: any.
SONREL_EXPORT bool SetAudioBufferMilliseconds(int milliseconds);

}  // namespace orlo::sonrel
