// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace zrh::media::detail {

/// Frames that a reader keeps between reads, so that consecutive small reads only copy.
struct SampleWindow {
    std::size_t bytesPerFrame;
    zrtl::FrameRange frames;
    std::vector<std::uint8_t> bytes;

    /// Reads frames through the window.
    /// @param load  called for a frame outside the window. Loads a range that contains the frame;
    ///              false ends the read
    /// @return the frames copied
    template <class Load>
    int Read(std::int64_t start, int count, std::uint8_t* buffer, Load load) {
        int done = 0;
        while (done < count) {
            const std::int64_t frame = start + done;
            if (!frames.Contains(frame) && !load(frame)) break;
            const std::int64_t copied = std::min<std::int64_t>(count - done, frames.end - frame);
            std::memcpy(
                buffer + static_cast<std::size_t>(done) * bytesPerFrame,
                bytes.data() + static_cast<std::size_t>(frame - frames.start) * bytesPerFrame,
                static_cast<std::size_t>(copied) * bytesPerFrame);
            done += static_cast<int>(copied);
        }
        return done;
    }
};

}  // namespace zrh::media::detail
