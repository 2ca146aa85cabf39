// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>

#include "sonrel/playback/AudioOutput.h"

/// The sound device as playback sees it: an engine, a mastering voice that stands for the open
/// output, and one source voice with a queue of buffers.
///
/// What holds for every device:
///
/// - The samples of the queue come out in order, frame by frame, unchanged and without a gap, at
///   the rate of the mastering voice. While the queue is empty or the voice is stopped, there is
///   silence.
/// - Callbacks come from a thread of the device. They come in queue order, one at a time, and no
///   lock is held while a callback runs: every operation can be called from any thread meanwhile,
///   and from inside the callback too.
/// - OnBufferStart comes before the first frame of a buffer is taken. OnBufferEnd comes when its
///   last frame has been taken or when it was dropped, and the count of GetState is lowered before.
///   For a buffer that ends a stream, OnStreamEnd follows right after the OnBufferEnd of that
///   buffer, unless the buffer was dropped.
/// - A flush drops the buffers that have not begun to sound; on a stopped voice all buffers. It
///   returns before the ends are reported: they come at the device's next pull, in queue order,
///   before the end of the buffer that was spared, and the dropped buffers count in GetState until
///   then. A dropped buffer that never began is reported without an OnBufferStart.
/// - After a flush has returned, the memory of the dropped buffers is not read again.
/// - A device that has stopped calling back, or whose callback is waiting for the host, does not
///   hold back the ends of a flush: after REPORT_GRACE a thread of the voice reports them.
/// - A queue has no limit. Up to 64 buffers queue without an allocation.
namespace orlo::sonrel::device {

/// What a source voice tells. The operations run on the device's thread and never allocate, lock,
/// wait or touch files, but for OnStreamEnd, which may run host code.
class VoiceEvents {
public:
    virtual ~VoiceEvents() = default;

    /// The buffer with this context begins to sound. Calls no operation of the voice: Stop waits
    /// for it to return.
    virtual void OnBufferStart(void* context) = 0;
    /// The buffer with this context has ended or was dropped.
    virtual void OnBufferEnd(void* context) = 0;
    /// A buffer that ends a stream has been played out.
    virtual void OnStreamEnd() = 0;
};

/// One buffer of interleaved stereo signed 16-bit samples.
struct SourceBuffer {
    std::size_t audioBytes = 0;  ///< above 0 and a multiple of 4
    const unsigned char* audioData =
        nullptr;              ///< read until the buffer's OnBufferEnd; even address
    void* context = nullptr;  ///< handed to the callbacks; may be null
    bool endOfStream = false;
};

struct VoiceState {
    unsigned int buffersQueued = 0;  ///< buffers not yet ended, the sounding one included
};

/// What a source voice plays: always PCM, 2 channels, 16 bits.
struct WaveFormat {
    int channelCount = 2;
    int sampleRate = 0;
    int bitsPerSample = 16;
};

/// A queue of buffers and their way to the output. The destructor ends it silently: nothing is
/// reported, and no callback runs any more once it has returned, except the one it was called from.
class SourceVoice {
public:
    virtual ~SourceVoice() = default;

    /// Queues a buffer behind those queued.
    /// @return false when the buffer has no samples or is cut inside a frame
    virtual bool SubmitSourceBuffer(const SourceBuffer& buffer) = 0;
    /// Begins to consume the queue, or goes on with it.
    virtual bool Start() = 0;
    /// Stops consuming; the queue stays. Once it has returned nothing is taken and nothing begins.
    virtual bool Stop() = 0;
    /// Drops all queued buffers except the one that sounds; on a stopped voice all.
    virtual bool FlushSourceBuffers() = 0;
    virtual VoiceState GetState() const = 0;
};

/// The open output. It outlives its source voice; the destructor closes it.
class MasteringVoice {
public:
    virtual ~MasteringVoice() = default;

    /// On the thread that made the voice.
    virtual AudioOutputState State() const = 0;
};

/// The device engine. It outlives its voices.
class AudioDevice {
public:
    virtual ~AudioDevice() = default;

    /// Prepares the calling thread for the use of the device. The devices of this library need
    /// nothing and always answer true.
    virtual bool InitThread() = 0;
    /// Undoes a successful InitThread, on the same thread.
    virtual void UninitThread() = 0;

    /// Opens the default output at a rate.
    /// @return empty when there is no device or it refuses
    virtual std::unique_ptr<MasteringVoice> CreateMasteringVoice(int channelCount,
                                                                 int sampleRate) = 0;

    /// Makes the source voice of @p mastering, which has one at a time.
    /// @param events  outlives the voice
    /// @return empty when the format is not the one of @p mastering, or it has a source voice
    virtual std::unique_ptr<SourceVoice> CreateSourceVoice(MasteringVoice& mastering,
                                                           const WaveFormat& format,
                                                           VoiceEvents& events) = 0;
};

/// Milliseconds of the sound device's buffer, chosen by measurement: docs/playback.md, Latency.
constexpr int DEFAULT_BUFFER_MS = 40;

/// The sound library is not there or is not whole.
class LibraryLoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Brings the device engine up on an output of @p factory, or, when that is empty, on the sound
/// device, whose library is loaded here and held as long as the engine.
/// @param bufferMs  length of the sound device's buffer; see SetAudioBufferMilliseconds
/// @throws LibraryLoadError      when the sound library does not load
/// @throws std::runtime_error    when the factory gives no output
/// @throws what the factory throws
std::unique_ptr<AudioDevice> CreateAudioDevice(const AudioOutputFactory& factory,
                                               int bufferMs = DEFAULT_BUFFER_MS);

}  // namespace orlo::sonrel::device
