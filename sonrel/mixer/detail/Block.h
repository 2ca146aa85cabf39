// SPDX-License-Identifier: MIT
#pragma once

/// Positions in the mixer name their frame of reference: @p timelineStart counts from the first
/// sample of a sequence or composition, @p objectStart from the first sample of an object or layer,
/// @p sourceStart from the first sample of an asset, before speed.
namespace orlo::sonrel::detail {

/// The format that plugins receive.
inline constexpr int MIX_CHANNELS = 2;
inline constexpr int MIX_BITS_PER_SAMPLE = 16;

/// The samples of a timeline that are mixed together, one video frame at most.
struct Block {
    long long timelineStart = 0;
    int count = 0;  ///< stereo frames
    int rate = 0;   ///< hertz
};

/// The two points of time at which the values of a block are known, in seconds.
struct BlockTimes {
    double start = 0.0;
    double end = 0.0;

    /// The start and the end of a block on the clock of its timeline.
    static BlockTimes Of(const Block& block) {
        const long long end = block.timelineStart + block.count;
        return {static_cast<double>(block.timelineStart) / block.rate,
                static_cast<double>(end) / block.rate};
    }

    /// The same points on the clock of an object that starts at @p objectSeconds. The end is the
    /// start plus the length of the block. Its own difference to the object's start can round to
    /// another value.
    BlockTimes Since(double objectSeconds) const {
        const double begin = start - objectSeconds;
        return {begin, (end - start) + begin};
    }
};

}  // namespace orlo::sonrel::detail
