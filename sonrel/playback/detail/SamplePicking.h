// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// Thins samples by picking whole frames, not by filtering: the pitch rises with the speed.
///
/// With g source frames it writes g / speed frames; frame k is the source frame that contains the
/// value at trunc(2k * (g / frames written)), at most the last frame.
/// @param source  2 * frameCount values, left first
/// @param speed   1 or more
/// @param target  receives 2 * (frameCount / speed) values; must not overlap @p source
/// @return frames written
int PickFrames(const short* source, int frameCount, int speed, short* target);

/// Reverses the order of the frames in place; left stays left.
/// @param samples  2 * frameCount values
void ReverseFrames(short* samples, int frameCount);

}  // namespace orlo::sonrel::detail
