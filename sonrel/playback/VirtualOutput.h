// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/playback/AudioOutput.h"

namespace orlo::sonrel {

struct VirtualOutputImpl;

/// An output without a device, for tests and for machines without sound. Playback cannot tell it
/// from a device: the samples are pulled on a thread of the output's own.
///
/// What it keeps are exactly the frames that the voice took, without a lead-in and without the
/// silence of an empty queue.
///
/// Threads: everything but Open and Close from any thread. Advance and AdvanceBuffer return 0 at
/// once when they are called from inside a pull, which they would wait for.
class SONREL_EXPORT VirtualOutput : public AudioOutput {
public:
    /// What moves the time.
    enum class Clock : int {
        Stepped = 0,      ///< Advance and AdvanceBuffer, and nothing else
        Paced = 1,        ///< the steady clock: as many frames a second as a device takes
        DrainDriven = 2,  ///< the queue: as fast as a started voice has something to give
    };

    /// Receives the frames that the voice took, on the output's thread and in order, outside of any
    /// pull, so that it may write files.
    /// @return false to report a failure: nothing more is handed over, and Failed answers true
    using Sink = std::function<bool(const short* frames, int frameCount)>;

    /// An output to nowhere.
    explicit VirtualOutput(Clock clock);
    /// An output into @p sink.
    VirtualOutput(Clock clock, Sink sink);
    /// Closes the output.
    ~VirtualOutput() override;
    VirtualOutput(const VirtualOutput&) = delete;
    VirtualOutput& operator=(const VirtualOutput&) = delete;

    /// An output into memory; Samples has what came.
    static std::shared_ptr<VirtualOutput> ToMemory(Clock clock);

    /// An output into a file: WAV if the name ends in ".wav" (in any case of letters), otherwise
    /// the bare samples, little-endian. The file is made at the first Open and keeps that rate:
    /// opening at another one is refused. FinishFile ends it.
    static std::shared_ptr<VirtualOutput> ToFile(Clock clock, const std::wstring& path);

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override;
    void Close() override;
    void Wake() override;

    /// Moves a stepped output on by @p frameCount frames, and returns when they have been pulled
    /// and every callback of theirs has returned.
    /// @return the frames that the voice took of them; 0 on another clock, on a closed output and
    ///         for a count below 1
    int Advance(int frameCount);

    /// Moves a stepped output on to the end of the buffer that sounds, or of the one that begins
    /// next, and returns when every callback of it has returned.
    /// @param patience  how long to wait for a started voice with a buffer
    /// @return the frames that the voice took; 0 when the patience ended or the output was closed
    int AdvanceBuffer(std::chrono::milliseconds patience);

    /// Whether the output is open, and at which rate (0 while it is closed).
    bool IsOpen() const;
    int SampleRate() const;

    /// Frames that the voice has given since the output was made.
    long long FramesTaken() const;
    /// What an output into memory has: two values a frame. Empty for the others.
    std::vector<short> Samples() const;

    /// Whether the sink or the file has failed.
    bool Failed() const;
    /// Ends the file of an output into a file; what comes afterwards is dropped.
    /// @return whether everything is in the file; true for an output that has none
    bool FinishFile();

    /// From now on behaves like a machine without a device, or no more: Open fails.
    void RefuseToOpen(bool refuse);
    /// From now on behaves like a device that has stopped calling back, or no more: nothing is
    /// pulled, whoever asks. Advance and AdvanceBuffer return 0 meanwhile.
    void StopCallingBack(bool stop);

private:
    std::shared_ptr<VirtualOutputImpl> impl_;
};

}  // namespace orlo::sonrel
