// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace zrh::media::detail {

/// The silence that the readers of one stream have put in for packets that do not decode. A packet
/// counts once, however many readers read it and however often, so that readers of parts of a
/// stream add up to what one reader of the whole counts.
///
/// Threads: any.
class SilenceCounter {
public:
    /// Counts the silence of a packet.
    /// @return the frames of all packets counted so far
    std::int64_t Add(std::int64_t packet, std::int64_t frames) {
        const std::lock_guard lock(mutex_);
        const auto index = static_cast<std::size_t>(packet);
        if (index >= counted_.size()) counted_.resize(index + 1);
        if (!counted_[index]) frames_ += frames;
        counted_[index] = true;
        return frames_;
    }

private:
    std::mutex mutex_;
    std::vector<bool> counted_;  // guarded, as what follows
    std::int64_t frames_ = 0;
};

}  // namespace zrh::media::detail
