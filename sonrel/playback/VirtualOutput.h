// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "sonrel/playback/AudioOutput.h"

namespace orlo::sonrel {

struct VirtualOutputImpl;

/// An output without a device, for tests and for machines without sound. Playback cannot
/// distinguish it from a device: a separate thread of the output pulls the samples.
///
/// The output receives exactly the frames that the voice gave, without a lead-in and without the
/// silence of an empty queue.
///
/// Threads: everything except Open and Close from any thread. Advance and AdvanceBuffer return 0 at
/// once when they are called from inside a pull, because they would wait for that pull.
class SONREL_EXPORT VirtualOutput : public AudioOutput {
public:
    /// The clock that moves the output on.
    enum class Clock : int {
        Stepped = 0,      ///< only Advance and AdvanceBuffer
        Paced = 1,        ///< the steady clock: as many frames a second as a device takes
        DrainDriven = 2,  ///< the queue: as fast as a started voice has frames to give
    };

    /// Receives the frames that the voice gave, on the output's thread and in order. It is called
    /// outside of pulls, so it may write files.
    /// @return false to report a failure: nothing more is passed on, and Failed returns true
    using Sink = std::function<bool(const short* frames, int frameCount)>;

    /// An output that drops the frames.
    explicit VirtualOutput(Clock clock);
    /// An output into @p sink.
    VirtualOutput(Clock clock, Sink sink);
    /// Closes the output.
    ~VirtualOutput() override;
    VirtualOutput(const VirtualOutput&) = delete;
    VirtualOutput& operator=(const VirtualOutput&) = delete;

    /// An output into memory; Samples returns the frames.
    static std::shared_ptr<VirtualOutput> ToMemory(Clock clock);

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override;
    void Close() override;
    void Wake() override;

    /// Moves a stepped output on by @p frameCount frames, and returns when they have been pulled
    /// and all their callbacks have returned.
    /// @return the frames that the voice gave; 0 on another clock, on a closed output and for a
    ///         count below 1
    int Advance(int frameCount);

    /// Moves a stepped output on to the end of the sounding buffer, or of the next one when none
    /// sounds, and returns when all its callbacks have returned.
    /// @param timeout  how long to wait for a started voice with a buffer
    /// @return the frames that the voice gave; 0 after the timeout or when the output was closed
    int AdvanceBuffer(std::chrono::milliseconds timeout);

    bool IsOpen() const;  ///< whether a voice is open
    /// The rate of the open output; 0 while it is closed.
    int SampleRate() const;

    /// Frames that the voice has given since the output was made.
    long long FramesTaken() const;
    /// The frames of an output into memory, two values each. Empty for other outputs.
    std::vector<short> Samples() const;

    /// Whether the sink has failed.
    bool Failed() const;

private:
    std::shared_ptr<VirtualOutputImpl> impl_;
};

}  // namespace orlo::sonrel
