// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "host/media/ReadCheck.h"
#include "host/mix/Loudness.h"
#include "host/output/SoundWriter.h"
#include "host/shell/Progress.h"
#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The destination of rendered samples. Passes them to the file and the loudness meter in large
/// pieces.
class MixSink {
public:
    /// @param writer    null for a mix that is only measured
    /// @param loudness  null for none
    MixSink(SoundWriter* writer, LoudnessMeter* loudness);

    /// Returns space for @p frames more stereo frames, to be filled before the next call.
    unsigned char* Next(int frames);
    /// Passes on the remaining frames.
    void Flush();

private:
    SoundWriter* writer_;
    LoudnessMeter* loudness_;
    std::vector<short> buffer_;
    std::size_t filled_ = 0;  ///< frames
};

/// Mixes @p count samples, starting at @p position, into a buffer.
/// @return count, or the error code of the mixer
using MixBlock = std::function<int(long long position, int count, unsigned char* buffer)>;

/// Called after each block of a mix with the range of the block.
using AfterBlock = std::function<void(long long position, int count)>;

MixBlock SequenceBlocks(const sonrel::AudioMixer& mixer,
                        const std::shared_ptr<project::Project>& project,
                        const std::shared_ptr<project::EditorSequence>& sequence);

MixBlock CompositionBlocks(const sonrel::AudioMixer& mixer,
                           const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition);

/// Checks the result of a MixBlock.
/// @throws JobError when the mixer has failed
void RequireMixed(int mixed, int count, long long position, const FrameGrid& grid);

/// Mixes one block into the sink.
/// @throws JobError when the mixer fails
void RenderBlock(const MixBlock& mix, const FrameGrid& grid, long long position, int count,
                 MixSink& sink);

/// Mixes a range, one frame of the engine at a time.
/// @param step  name of the step in the progress
/// @throws JobError when the mixer fails; CommandError when the program is asked to stop
void RenderFrames(const MixBlock& mix, const FrameGrid& grid, const zrtl::FrameRange& span,
                  MixSink& sink, const AfterBlock& afterBlock, Progress& progress,
                  const char* step = "mix");

/// Reads a range of a conformed media asset in pieces of one second.
/// @param reads  check of the mixer's reads
/// @throws JobError when the samples cannot be read
void RenderMedia(const sonrel::AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                 const FrameGrid& grid, const zrtl::FrameRange& span, MixSink& sink,
                 const ReadCheck& reads, Progress& progress);

}  // namespace orlo::host
