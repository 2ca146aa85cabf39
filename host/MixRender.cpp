// SPDX-License-Identifier: MIT
#include "host/MixRender.h"

#include <algorithm>

#include "host/Errors.h"
#include "host/Interrupt.h"
#include "host/Paths.h"
#include "host/Text.h"
#include "sonrel/contracts/project/EditorSequence.h"
#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::host {

namespace {

constexpr std::size_t CHANNELS = 2;
constexpr int BYTES_PER_FRAME = 4;
/// Frames that are handed on at once: enough to keep calls rare, and still in the cache.
constexpr std::size_t PIECE = 32768;

void CheckInterrupt() {
    if (Interrupted()) ThrowInterrupted("nothing was written");
}

}  // namespace

MixSink::MixSink(WavWriter& writer, LoudnessMeter& loudness)
    : writer_(writer), loudness_(loudness), buffer_(CHANNELS * PIECE) {}

unsigned char* MixSink::Next(int frames) {
    const auto count = static_cast<std::size_t>(frames);
    if (filled_ + count > PIECE) Flush();
    buffer_.resize(std::max(buffer_.size(), CHANNELS * count));
    short* room = buffer_.data() + CHANNELS * filled_;
    filled_ += count;
    return reinterpret_cast<unsigned char*>(room);
}

void MixSink::Flush() {
    writer_.Write(buffer_.data(), static_cast<long long>(filled_));
    loudness_.Add(buffer_.data(), filled_);
    filled_ = 0;
}

void RenderSequence(const sonrel::AudioMixer& mixer,
                    const std::shared_ptr<project::Project>& project, const FrameGrid& grid,
                    const SampleSpan& span, MixSink& sink, Progress& progress) {
    progress.Begin("mix", "samples", span.end - span.begin);
    const std::shared_ptr<project::EditorSequence> sequence = project->Sequence();
    long long position = span.begin;
    for (long long frame = grid.FrameOf(span.begin); position < span.end; ++frame) {
        CheckInterrupt();
        const auto count = static_cast<int>(std::min(grid.Start(frame + 1), span.end) - position);
        const int mixed = mixer.GetSamples(project, sequence, position, count, sink.Next(count),
                                           count * BYTES_PER_FRAME, 0, 0);
        if (mixed != count) {
            throw JobError("the mixer gave " + std::to_string(mixed) + " for " +
                           std::to_string(count) + " samples at " + FormatTimecode(position, grid));
        }
        position += count;
        progress.Update(position - span.begin);
    }
    sink.Flush();
    progress.End();
}

void RenderMedia(const sonrel::AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                 const FrameGrid& grid, const SampleSpan& span, MixSink& sink, Progress& progress) {
    progress.Begin("mix", "samples", span.end - span.begin);
    for (long long position = span.begin; position < span.end;) {
        CheckInterrupt();
        const auto count = static_cast<int>(std::min<long long>(grid.rate, span.end - position));
        const int read =
            mixer.GetSamples(asset, position, count, sink.Next(count), count * BYTES_PER_FRAME);
        if (read != count) {
            throw JobError("the conformed file " +
                           Quoted(zrtl::ToUtf8(asset->AudioStream()->ConformedFilePath())) +
                           " cannot be read at sample " + std::to_string(position) +
                           "; conform the medium anew with conform --force");
        }
        position += count;
        progress.Update(position - span.begin);
    }
    sink.Flush();
    progress.End();
}

}  // namespace orlo::host
