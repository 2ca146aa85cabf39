// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace zrh::media::detail {

/// Counts the silence that the readers of one stream inserted for packets that cannot be decoded. A
/// packet counts once, even if several readers read it several times, so that the readers of parts
/// of a stream count the same as one reader of the whole stream.
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
    std::vector<bool> counted_;  // guarded by mutex_, like frames_
    std::int64_t frames_ = 0;
};

}  // namespace zrh::media::detail
