// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/measure/Loudness.h"
#include "host/media/ReadCheck.h"
#include "host/mix/MixBlocks.h"
#include "host/mix/MixSource.h"
#include "host/output/SoundWriter.h"
#include "host/shell/Progress.h"
#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"

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
    /// Passes on complete frames, after all earlier frames.
    /// @param samples  4 * frames bytes
    void Pass(const unsigned char* samples, long long frames);
    /// Passes on the remaining frames.
    void Flush();

private:
    void PassOn(const short* frames, std::size_t count);

    SoundWriter* writer_;
    LoudnessMeter* loudness_;
    std::vector<short> buffer_;
    std::size_t filled_ = 0;  ///< frames
};

/// One signal of a mix: the mix itself, or a stem.
struct MixSignal {
    MixSource source;
    MixSink* sink = nullptr;
};

/// The signals that one mixer renders, block by block in this order: they share its noise stream.
struct MixGroup {
    sonrel::AudioMixer* mixer = nullptr;
    std::vector<MixSignal> signals;  ///< one for a mixer with a meter session
};

/// Everything that is mixed together.
using MixGroups = std::vector<MixGroup>;

/// Checks the result of a request to a mixer.
/// @throws JobError when the mixer has failed
void RequireMixed(int mixed, int count, long long position, const FrameGrid& grid);

/// Renders one block of a signal.
/// @throws JobError when the mixer fails
void RenderBlock(const sonrel::AudioMixer& mixer, const MixSource& source, const FrameGrid& grid,
                 const BlockRange& block, unsigned char* buffer);

/// The part of a noise stream that some blocks of a signal take, in samples.
long long NoiseOfBlocks(const sonrel::AudioMixer& mixer, const MixSource& source,
                        const MixBlocks& blocks, long long first, long long end);

/// Mixes a part of a range, one frame of the engine at a time, and passes on the samples in order.
/// The samples and the meter blocks do not depend on the number of jobs and of parts; the meters
/// get silence for the parts before. With several jobs the meter sessions have ended afterwards.
/// @param step  name of the step in the progress
/// @throws JobError when a mixer fails or a media file cannot be read; CommandError when the
///         program is asked to stop
void RenderFrames(const MixGroups& groups, const MixRange& range, Progress& progress,
                  const char* step = "mix");

/// A range of a conformed media asset.
struct MediaRange {
    const std::shared_ptr<project::MediaAsset>& asset;
    const FrameGrid& grid;
    const zrtl::FrameRange& span;  ///< samples
};

/// Reads a range of a conformed media asset in pieces of one second.
/// @param reads  check of the mixer's reads
/// @throws JobError when the samples cannot be read
void RenderMedia(const sonrel::AudioMixer& mixer, const MediaRange& range, MixSink& sink,
                 const ReadCheck& reads, Progress& progress);

}  // namespace orlo::host
