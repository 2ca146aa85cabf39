// SPDX-License-Identifier: MIT
// The worker of a run.
//
// A run has 50 buffers of one video frame each, the ring. The worker reads the next buffer from
// the mixer, waits until fewer than 49 are queued on the voice, and submits it. It is at most 49
// buffers ahead of the sound, and the buffer at its cursor is the only buffer that is not queued:
// that is the whole protocol by which worker and device share the samples. Only the ends of
// buffers, which the device reports, pace the worker.
//
// The command that starts a run gives the worker a head start of 50 ms, so that buffers are queued
// before the voice starts.
//
// Two requests interrupt it. A stop ends the thread: it is tested before a read, after the wait
// for room, and during the drain. The command first stops and flushes the voice, so that no wait
// depends on the device. A flush parks the thread between two reads; meanwhile the command thread
// drops the queue and moves the read position back to the end of the sounding buffer. A flush that
// is seen with a buffer in hand discards that buffer, because its sound is outdated: the ring's
// slot is filled again after the flush. A flush takes precedence over a stop.
//
// After the last buffer, which carries the end-of-stream flag, the worker drains: it waits until
// the queue is empty, clears isPlaying and ends. It does not answer a flush then, so a flush gives
// up after its time-out, or ends with the run. The device's thread notifies the host of the end,
// not the worker; the worker's thread stays joinable until the next command that stops the voice.
//
// All waits on the device read the count of buffer ends first, then test, then wait past the
// count, so that no end is missed. See CallbackSignal.
#include "sonrel/playback/detail/PlaybackWorker.h"

#include <stdexcept>

namespace orlo::sonrel::detail {

using Err = PlaybackEngine::Err;
using Request = WorkerControl::Request;

void PlaybackWorker::Start(std::uint64_t run) {
    control_.Reset();
    run_ = run;
    flushPending_ = false;
    hasPlayedOut_ = false;
    thread_ = std::thread([this] { Run(); });
}

void PlaybackWorker::RequestStop() {
    control_.Stop();
    callback_.bufferEnds.Advance();
}

void PlaybackWorker::Join() {
    if (thread_.joinable()) thread_.join();
}

Err PlaybackWorker::Park(std::chrono::milliseconds timeout) {
    control_.RequestFlush();
    return WaitForParkedWorker(
        [this](std::chrono::milliseconds limit) { return control_.WaitUntilParked(limit); },
        isPlaying_, timeout);
}

void PlaybackWorker::MarkAsPlaying() {
    isPlaying_.exchange(true);
    if (hasPlayedOut_) isPlaying_.exchange(false);
}

void PlaybackWorker::Run() {
    if (!voices_.Device().InitThread()) throw std::runtime_error("COM not initialized");
    PlayRange();
    voices_.Device().UninitThread();
}

void PlaybackWorker::PlayRange() {
    std::size_t cursor = 0;
    bool anyPlayed = false;
    while (!reader_.EndIsReached()) {
        FrameAudioBuffer& buffer = *voices_.Buffers()[cursor];
        const Next next = FillNextBuffer(buffer);
        if (next == Next::Leave) return;
        if (next == Next::Refill) continue;
        loudness_.Measure(buffer);
        // The whole buffer, also when less was read: after the end of the target its former content
        // sounds, zeros in a run that is shorter than the ring. A refusal is ignored, because the
        // worker has no caller to report it to.
        voices_.Submit(buffer, &buffer, reader_.EndIsReached());
        anyPlayed = true;
        cursor = (cursor + 1) % voices_.Buffers().size();
    }
    Drain(anyPlayed);
}

PlaybackWorker::Next PlaybackWorker::FillNextBuffer(FrameAudioBuffer& buffer) {
    const Request request = control_.Take();
    if (request == Request::Stop) return Next::Leave;
    if (request == Request::Flush || flushPending_) {
        flushPending_ = false;
        // Meanwhile the command thread may move the read position.
        if (!control_.Park()) return Next::Leave;
        loudness_.Restart();
    }
    reader_.ReadStamped(buffer, run_);
    WaitForRoom();
    const Request overtaking = control_.Take();
    if (overtaking == Request::Stop) return Next::Leave;
    if (overtaking == Request::None) return Next::Submit;
    // If the buffer in hand was the last of the run, nothing answers the flush and the run ends
    // without this buffer.
    flushPending_ = true;
    return Next::Refill;
}

/// Waits until a buffer of the ring is free. A stop ends the wait, whatever the device does.
void PlaybackWorker::WaitForRoom() {
    const std::size_t limit = voices_.Buffers().size() - 1;
    for (;;) {
        const auto seen = callback_.bufferEnds.Seen();
        if (Queued() < limit || control_.StopIsRequested()) return;
        callback_.bufferEnds.WaitPast(seen);
    }
}

/// Waits until the queue has been heard.
void PlaybackWorker::Drain(bool anyPlayed) {
    for (;;) {
        const auto seen = callback_.bufferEnds.Seen();
        if (Queued() == 0) break;
        if (control_.TakeStop()) return;
        callback_.bufferEnds.WaitPast(seen);
    }
    // Set first: the command that started the run may not have set isPlaying yet.
    hasPlayedOut_ = anyPlayed;
    isPlaying_.exchange(false);
}

}  // namespace orlo::sonrel::detail
