// SPDX-License-Identifier: MIT
#include "host/mix/MixRender.h"

#include <algorithm>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

constexpr std::size_t CHANNELS = 2;
/// Number of frames that are passed on at once: many enough to keep calls rare, few enough to stay
/// in the processor cache.
constexpr std::size_t PIECE = 32768;

void CheckInterrupt() {
    if (Interrupted()) ThrowInterrupted("nothing was written");
}

}  // namespace

MixSink::MixSink(SoundWriter* writer, LoudnessMeter* loudness)
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
    if (writer_ != nullptr) writer_->Write(buffer_.data(), static_cast<long long>(filled_));
    if (loudness_ != nullptr) loudness_->Add(buffer_.data(), filled_);
    filled_ = 0;
}

MixBlock SequenceBlocks(const sonrel::AudioMixer& mixer,
                        const std::shared_ptr<project::Project>& project,
                        const std::shared_ptr<project::EditorSequence>& sequence) {
    return [&mixer, project, sequence](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, sequence, position, count, buffer,
                                count * zrtl::FRAME_BYTES, 0, 0);
    };
}

MixBlock CompositionBlocks(const sonrel::AudioMixer& mixer,
                           const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition) {
    return [&mixer, project, composition](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, composition, position, count, buffer,
                                count * zrtl::FRAME_BYTES, 0, 0);
    };
}

void RequireMixed(int mixed, int count, long long position, const FrameGrid& grid) {
    if (mixed == count) return;
    throw JobError("the mixer returned " + std::to_string(mixed) + " for " + std::to_string(count) +
                   " samples at " + FormatTimecode(position, grid));
}

void RenderBlock(const MixBlock& mix, const FrameGrid& grid, long long position, int count,
                 MixSink& sink) {
    RequireMixed(mix(position, count, sink.Next(count)), count, position, grid);
}

void RenderFrames(const MixBlock& mix, const FrameGrid& grid, const zrtl::FrameRange& span,
                  MixSink& sink, const AfterBlock& afterBlock, Progress& progress,
                  const char* step) {
    progress.Begin(step, "samples", span.Count(), grid.rate);
    const FrameGrid blocks = grid.Engine();
    long long position = span.start;
    for (long long frame = blocks.FrameOf(span.start); position < span.end; ++frame) {
        CheckInterrupt();
        const auto count =
            static_cast<int>(std::min<long long>(blocks.Start(frame + 1), span.end) - position);
        RenderBlock(mix, grid, position, count, sink);
        afterBlock(position, count);
        position += count;
        progress.Update(position - span.start);
    }
    sink.Flush();
    progress.End();
}

void RenderMedia(const sonrel::AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                 const FrameGrid& grid, const zrtl::FrameRange& span, MixSink& sink,
                 const ReadCheck& reads, Progress& progress) {
    progress.Begin("mix", "samples", span.Count(), grid.rate);
    const MixBlock read = [&](long long position, int count, unsigned char* buffer) {
        const int got = mixer.GetSamples(asset, position, count, buffer, count * zrtl::FRAME_BYTES);
        reads.RequireAll();
        return got;
    };
    for (long long position = span.start; position < span.end;) {
        CheckInterrupt();
        const auto count = static_cast<int>(std::min<long long>(grid.rate, span.end - position));
        RenderBlock(read, grid, position, count, sink);
        position += count;
        progress.Update(position - span.start);
    }
    sink.Flush();
    progress.End();
}

}  // namespace orlo::host
