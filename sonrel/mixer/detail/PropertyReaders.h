// SPDX-License-Identifier: MIT
#pragma once

#include <boost/variant/get.hpp>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/PropertyManager.h"

/// The properties that the mix reads. A property that is missing or holds another alternative
/// raises boost::bad_get, which leaves the mix.
namespace orlo::sonrel::detail {

/// Level in dB at a time in milliseconds of the owner.
inline float LevelAtMs(const project::PropertyManager& animation, int timeMs) {
    return boost::get<float>(animation.ValueAtTime("audioLevel", false, timeMs));
}

/// Level in dB at a time in seconds of the owner, which is rounded to milliseconds first.
inline float LevelAtSeconds(const project::PropertyManager& animation, double seconds) {
    return LevelAtMs(animation, zrtl::SecondsToMs(seconds));
}

/// Source samples to an output sample.
inline double Speed(const project::PropertyManager& animation) {
    return boost::get<double>(animation.StaticValue("speed"));
}

/// -1 left to 1 right.
inline float StereoBalance(const project::PropertyManager& animation) {
    return boost::get<float>(animation.StaticValue("stereoBalance"));
}

/// The two levels of a block, in dB.
struct BlockLevels {
    float start = 0.0f;
    float end = 0.0f;
};

/// The two points in time at which a block's values are known, in seconds.
struct BlockTimes {
    double start = 0.0;
    double end = 0.0;

    /// Of @p count samples from @p start, on the timeline's own clock.
    static BlockTimes OnTimeline(long long start, int count, int rate) {
        return {start / static_cast<double>(rate), (start + count) / static_cast<double>(rate)};
    }

    /// The same points on the clock of an object that starts at @p objectStart seconds. The end is
    /// the block's length behind the start and not its own difference, which can round otherwise.
    BlockTimes Since(double objectStart) const {
        const double begin = start - objectStart;
        return {begin, (end - start) + begin};
    }
};

/// The levels of an owner at the two points of a block.
inline BlockLevels ReadLevels(const project::PropertyManager& animation, const BlockTimes& times) {
    const float start = LevelAtSeconds(animation, times.start);
    return {start, LevelAtSeconds(animation, times.end)};
}

}  // namespace orlo::sonrel::detail
