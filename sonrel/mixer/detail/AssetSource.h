// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

/// Samples of an asset, before effects and levels. All counts are stereo frames.
namespace orlo::sonrel::detail {

class Resampler;

/// Conformed files that stay open.
constexpr std::size_t MAX_OPEN_FILES = 10;

/// A buffer for frames, with its size in bytes as an interface passes it.
struct FrameRoom {
    zrtl::StereoFrame* frames = nullptr;
    int bytes = 0;
};

/// The output that one reading of an asset has to fill.
struct SourceRange {
    long long sourceStart = 0;  ///< first frame in the asset, already multiplied by the speed
    int count = 0;              ///< frames of output
    double speed = 1.0;         ///< source frames per output frame
    int rate = 0;               ///< sets the cutoff of the filter for media; compositions use their
                                ///< own rate
};

/// Frames of an asset before the speed is applied.
struct SourceFrames {
    int count = 0;  ///< frames read; 0 or a negative code when there are none
    /// The frames around the output range, for the filter. Null when the speed needs no filter:
    /// then the frames are in the room of the reader already.
    std::unique_ptr<zrtl::StereoFrame[]> frames;
    int margin = 0;       ///< frames before the first wanted frame
    int outputCount = 0;  ///< frames that the filter makes of them
    double speed = 1.0;
    int rate = 0;  ///< of the filter
};

/// Returns the open conformed file of a stream, and opens it when it is ready.
///
/// A file among the first three keeps its place, so that threads which read one of them at the same
/// time change nothing. A file at a later place moves to the front.
/// @return a file that the next call may move or close; null when it is not ready or cannot be
///         opened, which is not remembered
const project::ConformedAudioFile* FindConformedFile(AudioMixerImpl& mixer,
                                                     const project::MediaAudioStream& stream);

/// Reads a stream from its file.
/// @param read  receives the frames delivered; a merged stream delivers all, with silence before
///              and after the file
/// @return 0; 7 a bad range, 8 past the end of the merged range, 12 too little room (merged streams
///         only); otherwise the result of the file
int ReadStreamSamples(const project::MediaAudioStream& stream,
                      const project::ConformedAudioFile& file, long long sourceStart, int count,
                      FrameRoom room, int* read);

/// Reads conformed samples. @return frames written, 0 where there are none or a read fails, -1 for
/// a negative start or count
int ReadConformedSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset,
                         long long sourceStart, int count, FrameRoom room);

/// Reads a media asset for a speed. The count of the result is -1 when nothing is left to read.
/// @param room  receives the frames when the speed needs no filter
SourceFrames ReadMedia(AudioMixerImpl& mixer, const project::MediaAsset& asset,
                       const SourceRange& range, FrameRoom room);

/// Reads an asset of either kind for a speed.
/// @param room  as for ReadMedia; a composition fills it with silence first when the range goes
///              beyond its end
SourceFrames ReadAsset(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                       const std::shared_ptr<project::AbstractAsset>& asset, SourceRange range,
                       FrameRoom room);

/// The result of ResampleSource.
int CountAfterFilter(const SourceFrames& source);

/// Filters source frames into the output.
/// @param output  the room of the reading; keeps its frames when the speed needs no filter
/// @return frames valid in @p output, or the count of @p source when there are none
int ResampleSource(Resampler& resampler, const SourceFrames& source, zrtl::StereoFrame* output);

}  // namespace orlo::sonrel::detail
