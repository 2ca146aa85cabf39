// SPDX-License-Identifier: MIT
#include "host/measure/SignalReading.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"

namespace orlo::host {

namespace {

/// Reads one block. @throws JobError
void ReadBlock(const MeasuredSignal& signal, long long position, std::vector<short>& buffer) {
    const auto count = static_cast<int>(buffer.size() / 2);
    const int got = signal.read(position, count, reinterpret_cast<unsigned char*>(buffer.data()));
    signal.reads.RequireAll();
    if (got == count) return;
    throw JobError("the mixer returned " + std::to_string(got) + " for " + std::to_string(count) +
                   " samples at " + FormatTimecode(position, signal.grid));
}

}  // namespace

void BeginMix(sonrel::AudioMixer& mixer) {
    mixer.SetDither(sonrel::DitherType::HighPassTriangular, 1);
    mixer.ResetMixSession();
}

void ReadSignal(const MeasuredSignal& signal, const TakeSamples& take, Progress& progress) {
    progress.Begin("measure", "samples", signal.span.Count(), signal.grid.rate);
    const FrameGrid blocks = signal.grid.Engine();
    std::vector<short> buffer;
    long long position = signal.span.start;
    for (long long frame = blocks.FrameOf(position); position < signal.span.end; ++frame) {
        if (Interrupted()) ThrowInterrupted("the measurement is incomplete");
        const long long end = std::min<long long>(blocks.Start(frame + 1), signal.span.end);
        buffer.resize(2 * static_cast<std::size_t>(end - position));
        ReadBlock(signal, position, buffer);
        take(buffer.data(), buffer.size() / 2);
        position = end;
        progress.Update(position - signal.span.start);
    }
    progress.End();
}

}  // namespace orlo::host
