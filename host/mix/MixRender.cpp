// SPDX-License-Identifier: MIT
#include "host/mix/MixRender.h"

#include <algorithm>

#include "host/mix/MixWorkers.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

namespace {

constexpr std::size_t CHANNELS = 2;
/// Number of frames that are passed on at once: many enough to keep calls rare, few enough to stay
/// in the processor cache.
constexpr std::size_t PIECE = 32768;

void CheckInterrupt() {
    if (Interrupted()) ThrowInterrupted("nothing was written");
}

/// Passes over the parts of the mix before this one.
void SkipEarlierParts(const MixGroup& group, const MixBlocks& blocks) {
    long long noise = 0;
    for (const MixSignal& signal : group.signals) {
        noise += NoiseOfBlocks(*group.mixer, signal.source, blocks, 0, blocks.PartStart());
    }
    group.mixer->SkipSamples(noise, blocks.PartSpan().start - blocks.Start(0));
}

/// Mixes all blocks on this thread.
void RenderInOrder(const MixGroups& groups, const MixRange& range, const MixBlocks& blocks,
                   Progress& progress) {
    std::vector<ReadCheck> reads;
    for (const MixGroup& group : groups) {
        reads.emplace_back(*group.mixer, range.grid);
        SkipEarlierParts(group, blocks);
    }
    for (long long i = blocks.PartStart(); i < blocks.PartEnd(); ++i) {
        CheckInterrupt();
        const BlockRange block = blocks[i];
        for (std::size_t g = 0; g < groups.size(); ++g) {
            for (const MixSignal& signal : groups[g].signals) {
                RenderBlock(*groups[g].mixer, signal.source, range.grid, block,
                            signal.sink->Next(block.count));
            }
            reads[g].RequireAll();
        }
        progress.Update(blocks.Start(i + 1) - blocks.PartSpan().start);
    }
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

void MixSink::Pass(const unsigned char* samples, long long frames) {
    Flush();
    PassOn(reinterpret_cast<const short*>(samples), static_cast<std::size_t>(frames));
}

void MixSink::Flush() {
    PassOn(buffer_.data(), filled_);
    filled_ = 0;
}

void MixSink::PassOn(const short* frames, std::size_t count) {
    if (count == 0) return;
    if (writer_ != nullptr) writer_->Write(frames, static_cast<long long>(count));
    if (loudness_ != nullptr) loudness_->Add(frames, count);
}

void RequireMixed(int mixed, int count, long long position, const FrameGrid& grid) {
    if (mixed == count) return;
    throw JobError("the mixer returned " + std::to_string(mixed) + " for " + std::to_string(count) +
                   " samples at " + FormatTimecode(position, grid));
}

void RenderBlock(const sonrel::AudioMixer& mixer, const MixSource& source, const FrameGrid& grid,
                 const BlockRange& block, unsigned char* buffer) {
    RequireMixed(source.Mix(mixer, block.position, block.count, buffer), block.count,
                 block.position, grid);
}

long long NoiseOfBlocks(const sonrel::AudioMixer& mixer, const MixSource& source,
                        const MixBlocks& blocks, long long first, long long end) {
    long long noise = 0;
    for (long long i = first; i < end; ++i) {
        const BlockRange block = blocks[i];
        noise += source.NoiseSamples(mixer, block.position, block.count);
    }
    return noise;
}

void RenderFrames(const MixGroups& groups, const MixRange& range, Progress& progress,
                  const char* step) {
    const MixBlocks blocks(range);
    progress.Begin(step, "samples", blocks.PartSpan().Count(), range.grid.rate);
    if (range.jobs > 1 && blocks.PartEnd() - blocks.PartStart() > 1) {
        MixWorkers(groups, range).Run(progress);
    } else {
        RenderInOrder(groups, range, blocks, progress);
    }
    for (const MixGroup& group : groups) {
        for (const MixSignal& signal : group.signals) signal.sink->Flush();
    }
    progress.End();
}

void RenderMedia(const sonrel::AudioMixer& mixer, const MediaRange& range, MixSink& sink,
                 const ReadCheck& reads, Progress& progress) {
    const auto& [asset, grid, span] = range;
    progress.Begin("mix", "samples", span.Count(), grid.rate);
    for (long long position = span.start; position < span.end;) {
        CheckInterrupt();
        const auto count = static_cast<int>(std::min<long long>(grid.rate, span.end - position));
        const int got =
            mixer.GetSamples(asset, position, count, sink.Next(count), count * zrtl::FRAME_BYTES);
        reads.RequireAll();
        RequireMixed(got, count, position, grid);
        position += count;
        progress.Update(position - span.start);
    }
    sink.Flush();
    progress.End();
}

}  // namespace orlo::host
