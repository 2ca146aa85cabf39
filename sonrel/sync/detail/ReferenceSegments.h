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

/// The start of a second of a recording, and how loud the second is.
template <class Key>
struct LoudWindow {
    Key key{};
    long long position = 0;  ///< native sample frame
};

/// The ten loudest windows, the loudest first. A window that is quieter than the last window is not
/// added, even while there are fewer than ten. A window as loud as others is added after them.
template <class Key>
class LoudWindows {
public:
    void Add(Key key, long long position) {
        if (!windows_.empty() && key < windows_.back().key) return;
        auto at = windows_.begin();
        while (at != windows_.end() && at->key >= key) ++at;
        windows_.insert(at, {key, position});
        if (windows_.size() > CAPACITY) windows_.resize(CAPACITY);
    }

    const std::vector<LoudWindow<Key>>& InOrder() const { return windows_; }

private:
    static constexpr std::size_t CAPACITY = 10;

    std::vector<LoudWindow<Key>> windows_;
};

/// The loudest seconds of a peak file.
struct LoudSeconds {
    LoudWindows<unsigned char> byRms;
    LoudWindows<signed char> byPeak;
};

/// The largest absolute value; -128 is ignored, because a signed char cannot hold 128.
signed char LargestPeak(const std::vector<signed char>& peaks);

/// Chooses the segments: the loudest second by RMS, and the loudest second by peak that does not
/// overlap it; the first second where there is neither. Only start and length are set.
std::vector<ReferenceSegment> ChooseSegments(const LoudSeconds& seconds, int nativeRate);

/// Chooses the segments of a recording and reads them. The set is empty when the recording is over
/// a second long and its peak file cannot be opened. A segment that cannot be read whole keeps
/// norms of 0, so that it is never found.
ReferenceSet CollectReferenceSegments(const AudioMixer& mixer,
                                      const std::shared_ptr<project::MediaAsset>& reference);

}  // namespace orlo::sonrel::detail
