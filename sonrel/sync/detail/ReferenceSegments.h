// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/sync/detail/Correlation.h"

namespace orlo::project {
class MediaAsset;
}

namespace orlo::sonrel {
class AudioMixer;
}

namespace orlo::sonrel::detail {

/// One stretch of the reference recording that is searched for in the other recording.
struct ReferenceSegment {
    long long start = 0;   ///< sample frame
    long long length = 0;  ///< sample frames
    ChannelPair<float> norms;
    ChannelPair<Spectrum> spectra;  ///< empty for a silent channel
};

/// The segments that are searched for, and the sizes of the search.
struct ReferenceSet {
    std::vector<ReferenceSegment> segments;  ///< at most two
    int sampleRate = 0;                      ///< the reference's conformed rate, hertz
    int transformSize = 0;  ///< points: at least five seconds, so that a block and its lead fit
    int blockSize = 0;      ///< sample frames in a block of the long recording: two seconds
};

/// Chooses the segments of a recording and reads them. The set is empty when the recording is over
/// a second long and its peak file cannot be opened. A segment that cannot be read whole keeps
/// norms of 0, so that it is never found.
ReferenceSet CollectReferenceSegments(const AudioMixer& mixer,
                                      const std::shared_ptr<project::MediaAsset>& reference);

}  // namespace orlo::sonrel::detail
