// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel {
class AudioMeter;
}

/// How levels and balance become gains, and how 16-bit samples are added to the float block. All
/// arithmetic is single precision, in the order that is written here.
///
/// A level of x dB is the factor powf(10, x / 20). The balance leaves one channel at 1 and lowers
/// the other: with L and R at 1, a balance above 0 makes L = 1 - |balance|, one below 0 makes
/// R = 1 - |balance|. It is not limited: beyond -1 and 1 the gain turns negative. A NaN has no
/// effect.
///
/// - Equal levels: g = powf(10, level / 20) * 2^-15, once; each value adds sample * g * L (or R).
/// - Different levels: slope = (endLevel - startLevel) / frames; frame j has the level
///   (2 * j) * slope + startLevel, and each value adds sample * 2^-15 * power * L (or R).
///
/// The counter of a ramp steps by 2 a frame while the slope is per frame: the ramp reaches the end
/// level half-way through the block and continues to about twice the change, and the next block
/// starts again at its own start level. That sawtooth is meant and part of every mix's bytes.
namespace orlo::sonrel::detail {

/// The factor g for two equal levels.
/// @param level  dB
float GainOfLevel(float level);

/// Adds samples to the float block.
/// @param samples     2 * frames values, left first
/// @param frames      below 1 nothing happens
/// @param block       2 * frames values, full scale 1.0
/// @param startLevel  dB at the first frame
/// @param endLevel    dB that the slope of a ramp aims at
/// @param balance     -1 (left) to 1 (right)
void MixObjectIntoBlock(const short* samples, int frames, float* block, float startLevel,
                        float endLevel, float balance);

/// As MixObjectIntoBlock, and feeds the added values to the meter.
/// @param requested  frames by which the meter advances: the frames beyond @p frames are silence to
///                   it
/// @param meter      receives the values after level and balance, before the sum; may be null
void MixObjectIntoBlockMetered(const short* samples, int frames, float* block, int requested,
                               float startLevel, float endLevel, float balance, AudioMeter* meter);

/// Applies the master level to the whole block. Both levels exactly 0: no bit changes. Equal: one
/// factor. Different: the ramp above, with the power applied to both channels alike.
void ApplyMasterLevel(float* block, int frames, float startLevel, float endLevel);

}  // namespace orlo::sonrel::detail
