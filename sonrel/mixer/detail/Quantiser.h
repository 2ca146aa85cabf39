// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

/// Float values to 16-bit samples. x = input * 32768.0f, in steps of the 16-bit scale.
///
/// Rounding x half away from zero only decides whether it clips; the stored value is x cut
/// toward zero. The whole decision is the same as cutting x toward zero to 32 bits, with the most
/// negative integer for a NaN and for values that do not fit, and then limiting to 16 bits: above
/// the 16-bit range both result in the limit, and no value that rounds into the range is cut to one
/// outside it.
namespace orlo::sonrel::detail {

/// How noise enters a frame. Both channels get the same noise.
enum class NoiseForm {
    None,         ///< x
    Added,        ///< x + noise[i]
    Differenced,  ///< (noise[i] + x) - noise[i - 1], in this order
};

/// The noise of consecutive frames.
struct FrameNoise {
    NoiseForm form = NoiseForm::None;
    const float* values = nullptr;  ///< one value per frame; not read with None
    float before = 0.0f;            ///< with Differenced, the noise of the frame before the first
};

/// Interleaved values, left first.
struct FloatFrames {
    const float* values = nullptr;

    FloatFrames From(int frame) const { return {values + 2 * static_cast<std::ptrdiff_t>(frame)}; }
};

/// Interleaved samples at a constant gain: each value is sample * gain in single precision.
struct ScaledFrames {
    const short* samples = nullptr;
    float gain = 0.0f;

    ScaledFrames From(int frame) const {
        return {samples + 2 * static_cast<std::ptrdiff_t>(frame), gain};
    }
};

/// @param output  room for 2 * frames samples
void QuantiseFrames(const FloatFrames& input, const FrameNoise& noise, short* output, int frames);
void QuantiseFrames(const ScaledFrames& input, const FrameNoise& noise, short* output, int frames);

}  // namespace orlo::sonrel::detail
