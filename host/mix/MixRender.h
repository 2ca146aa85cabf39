// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "host/media/ReadCheck.h"
#include "host/mix/Loudness.h"
#include "host/output/WavWriter.h"
#include "host/shell/Progress.h"
#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// Where rendered samples go: into the file and through the loudness meter, in large pieces.
class MixSink {
public:
    /// @param loudness  null for none
    MixSink(WavWriter& writer, LoudnessMeter* loudness);

    /// Room for @p frames more stereo frames, to be filled before the next call.
    unsigned char* Next(int frames);
    /// Hands on what is still gathered.
    void Flush();

private:
    WavWriter& writer_;
    LoudnessMeter* loudness_;
    std::vector<short> buffer_;
    std::size_t filled_ = 0;  ///< frames
};

/// Mixes @p count samples from @p position on into a buffer. @return count, or what the mixer
/// refuses with
using MixBlock = std::function<int(long long position, int count, unsigned char* buffer)>;

/// Is called behind each block of a mix with the same stretch.
using BesideBlock = std::function<void(long long position, int count)>;

MixBlock SequenceBlocks(const sonrel::AudioMixer& mixer,
                        const std::shared_ptr<project::Project>& project,
                        const std::shared_ptr<project::EditorSequence>& sequence);

MixBlock CompositionBlocks(const sonrel::AudioMixer& mixer,
                           const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition);

/// Puts one block into the sink. @throws JobError where the mixer refuses
void RenderBlock(const MixBlock& mix, const FrameGrid& grid, long long position, int count,
                 MixSink& sink);

/// Mixes a stretch, video frame by video frame on the timeline's grid.
/// @throws JobError where the mixer refuses; CommandError when the program is asked to stop
void RenderFrames(const MixBlock& mix, const FrameGrid& grid, const zrtl::FrameRange& span,
                  MixSink& sink, const BesideBlock& beside, Progress& progress);

/// Reads a stretch of a conformed media asset in pieces of one second.
/// @param reads  of the mixer
/// @throws JobError where the samples cannot be read
void RenderMedia(const sonrel::AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                 const FrameGrid& grid, const zrtl::FrameRange& span, MixSink& sink,
                 const ReadCheck& reads, Progress& progress);

}  // namespace orlo::host
