// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/Loudness.h"
#include "host/Positions.h"
#include "host/Progress.h"
#include "host/WavWriter.h"
#include "sonrel/contracts/project/MediaAsset.h"
#include "sonrel/contracts/project/Project.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Where rendered samples go: into the file and through the loudness meter, in large pieces.
class MixSink {
public:
    MixSink(WavWriter& writer, LoudnessMeter& loudness);

    /// Room for @p frames more stereo frames, to be filled before the next call.
    unsigned char* Next(int frames);
    /// Hands on what is still gathered.
    void Flush();

private:
    WavWriter& writer_;
    LoudnessMeter& loudness_;
    std::vector<short> buffer_;
    std::size_t filled_ = 0;  ///< frames
};

/// Mixes a stretch of the project's main sequence, video frame by video frame on the timeline's
/// grid.
/// @throws JobError where the mixer refuses; CommandError when the program is asked to stop
void RenderSequence(const sonrel::AudioMixer& mixer,
                    const std::shared_ptr<project::Project>& project, const FrameGrid& grid,
                    const SampleSpan& span, MixSink& sink, Progress& progress);

/// Reads a stretch of a conformed media asset in pieces of one second.
/// @throws JobError where the conformed file gives fewer samples than it has
void RenderMedia(const sonrel::AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                 const FrameGrid& grid, const SampleSpan& span, MixSink& sink, Progress& progress);

}  // namespace orlo::host
