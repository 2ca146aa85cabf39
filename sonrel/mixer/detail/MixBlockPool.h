// SPDX-License-Identifier: MIT
#pragma once

#include <boost/shared_array.hpp>
#include <vector>

namespace orlo::sonrel::detail {

/// The float accumulators of mix blocks, kept for the mixer's lifetime.
///
/// A request takes one block for each block that it mixes, nested compositions included, and
/// returns none before the next reset, so the blocks of all nesting levels are in use at the same
/// time. A block is zero over its whole length when it is taken. Its memory after the last value
/// ever written is never touched, so that a long first request costs only the pages that it writes.
class MixBlockPool {
public:
    /// Floats in a block: 96000 stereo frames.
    static constexpr int BLOCK_FLOATS = 192000;
    static constexpr int BLOCK_FRAMES = BLOCK_FLOATS / 2;

    /// Takes the next block.
    /// @param frames  stereo frames that the caller may write, at most BLOCK_FRAMES
    /// @return the block, held by value: the pool may grow while it is in use
    boost::shared_array<float> Acquire(int frames) { return Zeroed(Take(), frames); }

    /// Takes the next block without touching its memory. @return its number, for Zeroed
    int Take();
    /// Sets a block that was taken to zero.
    /// @param taken   the result of Take
    /// @param frames  as for Acquire
    /// @return as Acquire
    boost::shared_array<float> Zeroed(int taken, int frames);

    /// Makes all blocks free again.
    void Reset() { depth_ = 0; }

    /// Blocks taken since the last reset.
    int Depth() const { return depth_; }

private:
    struct Block {
        boost::shared_array<float> floats;
        int writtenFloats = 0;
    };

    std::vector<Block> blocks_;
    int depth_ = 0;
};

}  // namespace orlo::sonrel::detail
