// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::sonrel::detail {

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

/// Chooses two seconds: the loudest second by RMS, and the loudest second by peak that does not
/// overlap it; the first second where there is neither.
std::vector<zrtl::FrameRange> ChooseSeconds(const LoudSeconds& seconds, int nativeRate);

}  // namespace orlo::sonrel::detail
