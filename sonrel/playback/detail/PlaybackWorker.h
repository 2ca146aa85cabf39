// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>

#include "sonrel/playback/detail/FlushWait.h"
#include "sonrel/playback/detail/HeardLoudness.h"
#include "sonrel/playback/detail/PlaybackReader.h"
#include "sonrel/playback/detail/PlaybackVoices.h"
#include "sonrel/playback/detail/VoiceCallback.h"
#include "sonrel/playback/detail/WorkerControl.h"

namespace orlo::sonrel::detail {

/// The thread of a run: keeps the source voice fed with buffers of the ring until the range has
/// been played or a stop is requested. PlaybackWorker.cpp begins with the design.
///
/// An exception of the mix, or a device that refuses the thread, ends the process.
///
/// Threads: the command thread; IsPlaying and HasPlayedOut on any.
class PlaybackWorker {
public:
    PlaybackWorker(PlaybackReader& reader, PlaybackVoices& voices, VoiceCallback& callback,
                   HeardLoudness& loudness)
        : reader_(reader), voices_(voices), callback_(callback), loudness_(loudness) {}

    /// Starts the thread. Voices are open, and no worker exists.
    void Start(std::uint64_t run);
    /// Whether there is a thread to join; a run that ended without a command leaves a thread.
    bool Exists() const { return thread_.joinable(); }
    /// Asks the worker to leave and ends its waits, whatever the device does.
    void RequestStop();
    void Join();

    /// Asks the worker to park, and waits for it.
    /// @return as WaitForParkedWorker; Resume follows in every case
    PlaybackEngine::Err Park(std::chrono::milliseconds timeout);
    /// Ends a flush.
    void Resume() { control_.EndFlush(); }

    bool IsPlaying() const { return isPlaying_; }
    /// Whether the run has submitted buffers and drained.
    bool HasPlayedOut() const { return hasPlayedOut_; }
    /// Sets IsPlaying, except for a short run that a fast output has already played to its end. A
    /// run that had nothing to play stays as it is until it is stopped.
    void MarkAsPlaying();
    void ClearPlaying() { isPlaying_.exchange(false); }

    /// For the processor time of the thread.
    std::thread::native_handle_type NativeHandle() { return thread_.native_handle(); }

private:
    enum class Next { Submit, Refill, Leave };

    void Run();
    void PlayRange();
    Next FillNextBuffer(FrameAudioBuffer& buffer);
    void WaitForRoom();
    void Drain(bool anyPlayed);
    unsigned int Queued() { return voices_.Source().GetState().buffersQueued; }

    PlaybackReader& reader_;
    PlaybackVoices& voices_;
    VoiceCallback& callback_;
    HeardLoudness& loudness_;
    WorkerControl control_;
    std::thread thread_;
    std::uint64_t run_ = 0;
    bool flushPending_ = false;  // seen with a buffer in hand; the worker's own
    std::atomic<bool> isPlaying_ = false;
    std::atomic<bool> hasPlayedOut_ = false;
};

}  // namespace orlo::sonrel::detail
