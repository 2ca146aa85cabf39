// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/mixer/detail/MixBlockPool.h"

namespace orlo::sonrel::detail {

/// The buffers in which the clips of a block are rendered, kept for the mixer's lifetime.
///
/// A block takes one buffer, and each nested composition takes another one meanwhile.
class SampleBufferPool {
public:
    using Samples = std::vector<unsigned char>;

    /// The longest buffer that is kept: a block, without the lead of its effects.
    static constexpr std::size_t MAX_KEPT_BYTES =
        std::size_t{MixBlockPool::BLOCK_FRAMES} * zrtl::FRAME_BYTES;

    /// A buffer for the duration of a scope. It is empty at first, so that no block can see the
    /// samples of an earlier one.
    class Buffer {
    public:
        explicit Buffer(SampleBufferPool& pool) : pool_(pool), samples_(pool.Take()) {}
        ~Buffer() { pool_.Return(std::move(samples_)); }
        Buffer(const Buffer&) = delete;
        Buffer& operator=(const Buffer&) = delete;

        Samples& Get() { return samples_; }

    private:
        SampleBufferPool& pool_;
        Samples samples_;
    };

private:
    Samples Take() {
        free_.reserve(free_.size() + taken_ + 1);  // so that Return cannot fail
        ++taken_;
        if (free_.empty()) return {};
        Samples samples = std::move(free_.back());
        free_.pop_back();
        return samples;
    }

    void Return(Samples samples) {
        --taken_;
        if (samples.capacity() > MAX_KEPT_BYTES) return;
        samples.clear();
        free_.push_back(std::move(samples));
    }

    std::vector<Samples> free_;
    std::size_t taken_ = 0;
};

}  // namespace orlo::sonrel::detail
