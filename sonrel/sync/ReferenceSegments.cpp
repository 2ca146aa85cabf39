// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/ReferenceSegments.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/LoudSeconds.h"
#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/FrameReader.h"

namespace orlo::sonrel::detail {
namespace {

using project::MediaAsset;
using project::MediaAudioStream;

int SmallestTransform(int sampleRate) {
    const std::int64_t minPoints = 5 * static_cast<std::int64_t>(sampleRate);
    unsigned int points = 1;
    while (points < minPoints && points < MAX_TRANSFORM_POINTS) points *= 2;
    return static_cast<int>(points);
}

void ReadSegment(const AudioMixer& mixer, const std::shared_ptr<MediaAsset>& reference,
                 int transformSize, ReferenceSegment& segment) {
    if (segment.length < 1 || segment.length > transformSize) return;
    const auto length = static_cast<int>(segment.length);
    FrameBuffer frames;
    if (ReadFrames(mixer, reference, segment.start, length, frames) != length) return;
    ChannelPair<std::vector<float>> samples;
    SplitStereo(frames.data(), length, 0, transformSize - length, samples, segment.norms);
    for (const Channel channel : {Channel::Left, Channel::Right}) {
        if (!(static_cast<double>(segment.norms[channel]) > SILENCE_THRESHOLD)) continue;
        SpectrumOf(samples[channel].data(), static_cast<unsigned int>(transformSize),
                   segment.spectra[channel]);
    }
}

}  // namespace

ReferenceSet CollectReferenceSegments(const AudioMixer& mixer,
                                      const std::shared_ptr<MediaAsset>& reference) {
    const MediaAudioStream& stream = *reference->AudioStream();
    ReferenceSet set;
    const std::optional<std::vector<zrtl::FrameRange>> seconds = SearchedSeconds(stream);
    if (!seconds) return set;
    for (const zrtl::FrameRange& second : *seconds) {
        ReferenceSegment segment;
        segment.start = second.start;
        segment.length = second.Count();
        set.segments.push_back(std::move(segment));
    }
    set.sampleRate = stream.ConformedSampleRate();
    set.transformSize = SmallestTransform(set.sampleRate);
    set.blockSize = 2 * set.sampleRate;
    const auto twiddles = HoldTwiddles(static_cast<unsigned int>(set.transformSize));
    for (ReferenceSegment& segment : set.segments) {
        ReadSegment(mixer, reference, set.transformSize, segment);
    }
    return set;
}

}  // namespace orlo::sonrel::detail
