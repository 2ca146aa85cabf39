// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

/// Samples of an asset, before effects and levels. All counts are stereo frames.
namespace orlo::sonrel::detail {

/// Conformed files that stay open.
constexpr std::size_t MAX_OPEN_FILES = 10;

/// The open conformed file of a stream, opened when it is ready.
///
/// A file among the first three stays where it stands, so that threads which read one of them side
/// by side change nothing; one from further back moves to the front.
/// @return a file that the next call may move or close; null when it is not ready or cannot be
///         opened, which is not remembered
const project::ConformedAudioFile* FindConformedFile(AudioMixerImpl& mixer,
                                                     const project::MediaAudioStream& stream);

/// Reads a stream from its file.
/// @param read  receives the frames delivered; a merged stream delivers all, with silence around
///              the file
/// @return 0; 7 a bad range, 8 past the end of the merged range, 12 too little room (merged streams
///         only); else what the file answers
int ReadStreamSamples(const project::MediaAudioStream& stream,
                      const project::ConformedAudioFile& file, long long start, int count,
                      unsigned char* buffer, int bufferSize, int* read);

/// Reads conformed samples. @return frames written, 0 where there are none or a read fails, -1 for
/// a negative start or count
int ReadConformedSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset, long long start,
                         int count, unsigned char* buffer, int bufferSize);

/// Reads a media asset at a speed. @param speed source samples to an output sample
/// @return frames written, 0, or -1 when nothing is left to read
int ReadMediaSamples(AudioMixerImpl& mixer, const project::MediaAsset& asset, long long start,
                     int count, double speed, int rate, unsigned char* buffer, int bufferSize);

/// Reads a composition at a speed, at its own rate. @return frames written or a negative code
int ReadCompositionSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                           const std::shared_ptr<project::CompositionAsset>& composition,
                           long long start, int count, double speed, unsigned char* buffer);

/// Reads an asset of either kind at a speed.
/// @param rate  cutoff of the filter behind speed for media; compositions go by their own
/// @return frames written, 0, or a negative code
int ReadAssetSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                     const std::shared_ptr<project::AbstractAsset>& asset, long long start,
                     int count, double speed, int rate, unsigned char* buffer, int bufferSize);

}  // namespace orlo::sonrel::detail
