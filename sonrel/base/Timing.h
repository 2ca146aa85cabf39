// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

#include "sonrel/base/Numbers.h"

/// Conversions between seconds, frames, milliseconds and sample positions.
///
/// Every function computes in double precision, in exactly the order of its formula. The order is
/// part of the result: 29 frames at 25 frames a second and 48000 Hz are 55679 samples in one order
/// and 55680 in the other. A caller uses the function with the formula of its rule.
namespace zrtl {

/// Rounds to the nearest whole number, halves away from zero. Not std::round, which differs for
/// 0.49999999999999994 (0, here 1) and for odd numbers beyond 2^52.
inline double RoundHalfAway(double x) {
    return x > 0.0 ? std::floor(x + 0.5) : std::ceil(x - 0.5);
}

/// Whole samples in one frame: floor(rate / frameRate).
inline int SamplesPerFrame(int rate, double frameRate) {
    return TruncToInt32(std::floor(rate / frameRate));
}

/// Length in samples of @p frameCount frames: floor(frameCount * (rate / frameRate)), the ratio
/// first.
inline std::int64_t TotalSamples(int frameCount, int rate, double frameRate) {
    return TruncToInt64(std::floor(frameCount * (rate / frameRate)));
}

/// The frame nearest to a sample position: RoundHalfAway(position / rate * frameRate).
inline int FrameAtSample(std::int64_t position, int rate, double frameRate) {
    return TruncToInt32(RoundHalfAway(static_cast<double>(position) / rate * frameRate));
}

/// The sample at which an object on a timeline starts: RoundHalfAway((frame / frameRate) * rate).
inline std::int64_t ObjectStartSample(int frame, int rate, double frameRate) {
    return TruncToInt64(RoundHalfAway((frame / frameRate) * rate));
}

/// The sample of a source at which the content of an instance begins: (frame / frameRate) * rate,
/// truncated toward zero. Truncated and not rounded: it can be one sample before ObjectStartSample
/// of the same frame number.
inline std::int64_t InPointSample(int frame, int rate, double frameRate) {
    return TruncToInt64((frame / frameRate) * rate);
}

/// The sample at which a frame begins on the frame grid: RoundHalfAway(frame * (rate / frameRate)),
/// the ratio first.
inline std::int64_t FrameToSample(double frame, int rate, double frameRate) {
    return TruncToInt64(RoundHalfAway(frame * (rate / frameRate)));
}

/// Seconds to milliseconds: RoundHalfAway(seconds * 1000).
inline int SecondsToMs(double seconds) {
    return TruncToInt32(RoundHalfAway(seconds * 1000.0));
}

}  // namespace zrtl
