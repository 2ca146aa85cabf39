// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::project {
class MediaAsset;
}

namespace orlo::sonrel {

class AudioMixer;

/// A search for a stretch of one recording in the whole of another, its last part included. Unlike
/// AudioSync::FindOffset, it takes any stretch and returns exact positions of several matches.
struct SegmentSearch {
    const AudioMixer& mixer;
    std::shared_ptr<project::MediaAsset> reference;
    std::shared_ptr<project::MediaAsset> longRecording;
    int rate = 0;  ///< conformed rate of both, hertz

    /// Reports the progress of a search. @return false to stop it
    using Step = std::function<bool()>;

    /// Pieces of the long recording that Find looks at.
    long long PieceCount() const;
    /// @param segment  in the reference
    /// @param step     called before each piece; may be empty
    /// @return the positions of the segment's first frame in the long recording: the best four
    ///         matches, the best first
    std::vector<long long> Find(const zrtl::FrameRange& segment, const Step& step) const;
};

}  // namespace orlo::sonrel
