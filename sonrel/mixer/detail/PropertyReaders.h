// SPDX-License-Identifier: MIT
#pragma once

#include <boost/variant/get.hpp>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/Block.h"
#include "sonrel/plugins/PropertyManager.h"

/// The properties that the mix reads. A property that is missing or holds another alternative
/// raises boost::bad_get, which leaves the mix.
namespace orlo::sonrel::detail {

/// Level in dB at a time in seconds of the owner, which is rounded to milliseconds first.
inline float LevelAt(const project::PropertyManager& animation, double seconds) {
    const int timeMs = zrtl::SecondsToMs(seconds);
    return boost::get<float>(animation.ValueAtTime("audioLevel", false, timeMs));
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

/// The levels of an owner at the two points of a block.
inline BlockLevels ReadLevels(const project::PropertyManager& animation, const BlockTimes& times) {
    const float start = LevelAt(animation, times.start);
    return {start, LevelAt(animation, times.end)};
}

}  // namespace orlo::sonrel::detail
