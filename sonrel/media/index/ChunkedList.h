// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace zrh::media::detail {

/// A list that grows without moving its entries, so that it never needs twice its memory.
///
/// Threads: one at a time.
template <typename Entry>
class ChunkedList {
public:
    void Append(const Entry& entry) {
        if (size_ == chunks_.size() * CHUNK) chunks_.push_back(std::make_unique<Chunk>());
        ++size_;
        At(size_ - 1) = entry;
    }
    void RemoveLast() { --size_; }

    std::size_t Size() const { return size_; }
    Entry& At(std::size_t index) { return (*chunks_[index / CHUNK])[index % CHUNK]; }
    const Entry& At(std::size_t index) const { return (*chunks_[index / CHUNK])[index % CHUNK]; }

private:
    static constexpr std::size_t CHUNK = 1024;
    using Chunk = std::array<Entry, CHUNK>;

    std::vector<std::unique_ptr<Chunk>> chunks_;
    std::size_t size_ = 0;
};

}  // namespace zrh::media::detail
