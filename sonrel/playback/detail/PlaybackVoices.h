// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "sonrel/playback/detail/FrameAudioBuffer.h"
#include "sonrel/playback/detail/PlaybackTarget.h"
#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel::detail {

/// The size of the ring.
constexpr int FRAME_BUFFER_COUNT = 50;

/// The device of a playback engine, its two voices, and the ring of buffers that the source voice
/// plays.
///
/// Threads: the command thread. The worker of a run submits to the source voice and fills buffers.
class PlaybackVoices {
public:
    /// Makes the device and prepares this thread for it.
    /// @throws the exceptions of MakeAudioDevice; std::runtime_error when the device refuses the
    ///         thread
    PlaybackVoices();
    /// On the same thread as the constructor.
    ~PlaybackVoices();
    PlaybackVoices(const PlaybackVoices&) = delete;
    PlaybackVoices& operator=(const PlaybackVoices&) = delete;

    device::AudioDevice& Device() { return *device_; }

    /// Closes open voices, then opens the output and makes voices and buffers.
    /// @return NoError; MasteringVoiceFailed; SourceVoiceFailed, and the mastering voice stays open
    ///         until the next Open
    /// @throws std::bad_alloc or std::length_error when the buffers do not fit into memory
    PlaybackEngine::Err Open(const TargetFormat& format, device::VoiceEvents& events);
    void Close();
    bool AreOpen() const { return mastering_ && source_; }

    bool HasSource() const { return source_ != nullptr; }
    device::SourceVoice& Source() { return *source_; }
    AudioOutputState OutputState() const;

    const std::vector<std::unique_ptr<FrameAudioBuffer>>& Buffers() const { return buffers_; }
    /// Fills the ring with zeros.
    void SilenceBuffers();

    /// Queues a whole buffer.
    /// @param context  the buffer for a buffer of a run; null for a single frame
    /// @return whether the voice took it
    bool Submit(const FrameAudioBuffer& buffer, void* context, bool endOfStream);

private:
    PlaybackEngine::Err MakeVoices(const TargetFormat& format, device::VoiceEvents& events);
    void MakeBuffers(const TargetFormat& format);

    const std::unique_ptr<device::AudioDevice> device_;
    std::vector<std::unique_ptr<FrameAudioBuffer>> buffers_;
    std::unique_ptr<device::MasteringVoice> mastering_;
    std::unique_ptr<device::SourceVoice> source_;  // destroyed before the buffers that it reads
};

}  // namespace orlo::sonrel::detail
