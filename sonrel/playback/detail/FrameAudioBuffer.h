// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace orlo::sonrel::detail {

/// One buffer of the ring: the sound of one video frame, rounded up to whole samples.
///
/// Threads: written only while it is not queued on the voice, and read by the device while it is.
/// The stamps are atomic for a start that the device reports when the buffer is in use again.
struct FrameAudioBuffer {
    explicit FrameAudioBuffer(std::size_t sampleCount) : samples(sampleCount * 2) {}

    std::size_t SizeInBytes() const { return samples.size() * sizeof(short); }

    std::vector<short> samples;              // interleaved, left first
    std::atomic<int> videoFrame = -1;        // the video frame at the time of the buffer
    std::atomic<long long> firstSample = 0;  // the read position before the buffer was read
    std::atomic<long long> endSample = 0;    // firstSample plus the samples that the read returned
    std::atomic<std::uint64_t> run = 0;      // number of the run that filled it
    // Loudness of the run at the end of the buffer; NaN for none.
    std::atomic<double> momentaryLufs = std::numeric_limits<double>::quiet_NaN();
    std::atomic<double> shortTermLufs = std::numeric_limits<double>::quiet_NaN();
};

}  // namespace orlo::sonrel::detail
