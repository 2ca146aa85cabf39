// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackWorker.h"

#include <cstddef>
#include <stdexcept>

#include "sonrel/base/Numbers.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "sonrel/playback/detail/PlaybackReader.h"

namespace orlo::sonrel::detail {

namespace {

using Request = WorkerControl::Request;

/// The video frame that a position belongs to: position / rate * frameRate, cut toward zero. Cut
/// and not rounded, so that the first sample of a frame can belong to the frame before: frame 29 at
/// 25 frames a second and 48000 Hz begins at sample 55680, which is stamped 28.
int VideoFrameAt(const PlaybackEngineImpl& engine, long long position) {
    return zrtl::TruncToInt32(static_cast<double>(position) / engine.sampleRate * engine.frameRate);
}

/// Reads the next buffer of the run and stamps it.
///
/// The end that it is stamped with is the read position before plus the samples in the buffer, in
/// reverse and at a higher speed too, where that is not where its sound ends. A flush goes on from
/// there.
void FillBuffer(PlaybackEngineImpl& engine, FrameAudioBuffer& buffer) {
    const long long before = engine.readPosition;
    const int placed = ReadPlaybackSamples(engine, buffer);
    const bool reverse = engine.direction != PlaybackEngine::PlaybackDirection::Forward;
    buffer.videoFrame = VideoFrameAt(engine, reverse ? engine.readPosition : before);
    buffer.firstSample = before;
    buffer.endSample = before + placed;
    buffer.run = engine.runNumber;
}

/// Queues the whole buffer, also when less was read: behind the end of the target it sounds with
/// what it held before, zeros in a run that is shorter than the ring.
void Submit(PlaybackEngineImpl& engine, FrameAudioBuffer& buffer) {
    device::SourceBuffer submission;
    submission.audioBytes = buffer.SizeInBytes();
    submission.audioData = reinterpret_cast<const unsigned char*>(buffer.samples.data());
    submission.context = &buffer;
    submission.endOfStream = EndIsReached(engine);
    // A refusal goes unheard, as the worker has nobody to tell.
    engine.sourceVoice->SubmitSourceBuffer(submission);
}

/// Waits until one buffer of the ring is free. A stop ends the wait, whatever the device does.
void WaitForRoom(PlaybackEngineImpl& engine) {
    const std::size_t limit = engine.frameBuffers.size() - 1;
    while (engine.sourceVoice->GetState().buffersQueued >= limit) {
        if (engine.signals.StopIsRequested()) return;
        engine.voiceCallback.bufferEndEvent.Wait();
    }
}

/// Waits until all that is queued has been heard. Nobody answers a flush meanwhile.
void Drain(PlaybackEngineImpl& engine, bool anyPlayed) {
    while (engine.sourceVoice->GetState().buffersQueued > 0) {
        if (engine.signals.TakeStop()) return;
        engine.voiceCallback.bufferEndEvent.Wait();
    }
    // Said first: the command that started the run may not have come to say that it plays.
    engine.hasPlayedOut = anyPlayed;
    engine.isPlaying.exchange(false);
}

/// The worker's whole life: one buffer after the other until the end of the range, a drain, and
/// out.
void UpdatePlayback(PlaybackEngineImpl& engine) {
    std::size_t cursor = 0;
    bool flushPending = false;
    bool anyPlayed = false;
    while (!EndIsReached(engine)) {
        const auto request = engine.signals.Take();
        if (request == Request::Stop) return;
        if (request == Request::Flush || flushPending) {
            flushPending = false;
            // Meanwhile the command thread may move the read position.
            if (!engine.signals.Park()) return;
        }
        FrameAudioBuffer& buffer = *engine.frameBuffers[cursor];
        FillBuffer(engine, buffer);
        WaitForRoom(engine);
        const auto overtaking = engine.signals.Take();
        if (overtaking == Request::Stop) return;
        if (overtaking == Request::Flush) {
            // The buffer in hand is what the flush is to get rid of. Where it was the last of the
            // run, nothing answers the flush and the run ends without it.
            flushPending = true;
            continue;
        }
        Submit(engine, buffer);
        anyPlayed = true;
        cursor = (cursor + 1) % engine.frameBuffers.size();
    }
    Drain(engine, anyPlayed);
}

}  // namespace

void PlaybackThreadEntry(PlaybackEngineImpl& engine) {
    if (!engine.device->InitThread()) throw std::runtime_error("COM not initialized");
    UpdatePlayback(engine);
    engine.device->UninitThread();
}

}  // namespace orlo::sonrel::detail
