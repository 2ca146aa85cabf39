// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>

#include "sonrel/playback/AudioOutput.h"

/// The sound device as playback uses it: an engine, a mastering voice, which is the open output,
/// and one source voice with a queue of buffers. Outputs of every kind are played through the one
/// implementation in Voice.h; tests replace this interface to refuse any of its operations.
///
/// Every device guarantees:
///
/// - The samples of the queue are output in order, frame by frame, unchanged and without a gap, at
///   the rate of the mastering voice. While the queue is empty, or the voice is stopped, the output
///   is silent.
/// - Callbacks come from a thread of the device, in queue order and one at a time. No lock is held
///   while a callback runs: every operation can be called from any thread meanwhile, and from
///   inside the callback too.
/// - OnBufferStart comes before the first frame of a buffer is taken. OnBufferEnd comes when the
///   last frame has been taken or when the buffer was dropped, and the count of GetState is lowered
///   before. For a buffer that ends a stream, OnStreamEnd follows right after the OnBufferEnd of
///   that buffer, unless the buffer was dropped.
/// - A flush drops the buffers that have not begun to sound; on a stopped voice all buffers. It
///   returns before the ends are reported: they come at the device's next pull, in queue order,
///   before the end of the spared buffer, and the dropped buffers count in GetState until then. A
///   dropped buffer that never began is reported without an OnBufferStart.
/// - After a flush has returned, the memory of the dropped buffers is not read any more.
/// - A device that has stopped calling back, or whose callback waits for the host, does not hold
///   back the ends of a flush: after REPORT_GRACE a thread of the voice reports them.
/// - A queue has no limit. Up to 64 buffers queue without an allocation.
namespace orlo::sonrel::device {

/// Receives the reports of a source voice. The operations run on the device's thread and never
/// allocate, lock, wait or touch files, except for OnStreamEnd, which may run host code.
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
    /// Read until the buffer's OnBufferEnd. An even address.
    const unsigned char* audioData = nullptr;
    void* context = nullptr;  ///< passed to the callbacks; may be null
    bool endOfStream = false;
};

struct VoiceState {
    unsigned int buffersQueued = 0;  ///< buffers not yet ended, the sounding one included
};

/// The format of a source voice: always PCM, 2 channels, 16 bits.
struct WaveFormat {
    int channelCount = 2;
    int sampleRate = 0;
    int bitsPerSample = 16;
};

/// A queue of buffers that plays on the output. The destructor ends it silently: nothing is
/// reported, and after it has returned no callback runs, except a callback that it was called from.
class SourceVoice {
public:
    virtual ~SourceVoice() = default;

    /// Appends a buffer to the queue.
    /// @return false when the buffer has no samples or is cut inside a frame
    virtual bool SubmitSourceBuffer(const SourceBuffer& buffer) = 0;
    /// Begins or continues to consume the queue.
    virtual bool Start() = 0;
    /// Stops consuming; the queue stays. After it has returned nothing is taken and nothing begins.
    virtual bool Stop() = 0;
    /// Drops all queued buffers except the sounding buffer; on a stopped voice all.
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
    /// nothing and always return true.
    virtual bool InitThread() = 0;
    /// Undoes a successful InitThread, on the same thread.
    virtual void UninitThread() = 0;

    /// Opens the default output at a rate.
    /// @return empty without a device, or when it refuses
    virtual std::unique_ptr<MasteringVoice> CreateMasteringVoice(int channelCount,
                                                                 int sampleRate) = 0;

    /// Makes the source voice of @p mastering, which has only one at a time.
    /// @param events  outlives the voice
    /// @return empty when the format is not that of @p mastering, or it has a source voice
    virtual std::unique_ptr<SourceVoice> CreateSourceVoice(MasteringVoice& mastering,
                                                           const WaveFormat& format,
                                                           VoiceEvents& events) = 0;
};

/// Milliseconds of the sound device's buffer, chosen by measurement: docs/playback.md, Latency.
constexpr int DEFAULT_BUFFER_MS = 40;

/// The sound library is missing or lacks a function.
class LibraryLoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Makes the device engine on an output of @p factory, or, when that is empty, on the sound device,
/// whose library is loaded here and held as long as the engine.
/// @param bufferMs  length of the sound device's buffer; see SetAudioBufferMilliseconds
/// @throws LibraryLoadError      when the sound library does not load
/// @throws std::runtime_error    when the factory returns no output
/// @throws the exceptions of the factory
std::unique_ptr<AudioDevice> CreateAudioDevice(const AudioOutputFactory& factory,
                                               int bufferMs = DEFAULT_BUFFER_MS);

}  // namespace orlo::sonrel::device
