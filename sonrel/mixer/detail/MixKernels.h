// SPDX-License-Identifier: MIT
#pragma once

/// The inner loops of gain law and meters. Values are single precision. Each value is computed
/// alone, in the order written here, so that the width of the vectors has no effect on it.
namespace orlo::sonrel::detail {

/// Largest absolute value and clipping of a range of stereo values, left then right. A NaN changes
/// neither.
struct StereoPeaks {
    float peak[2] = {0.0f, 0.0f};
    bool clipped[2] = {false, false};
};

/// Factors of the two channels.
struct PanGains {
    float left = 1.0f;
    float right = 1.0f;
};

/// Samples and the float block to which they are added.
struct MixSpan {
    const short* samples = nullptr;  ///< 2 * frames, left first
    int frames = 0;
    float* block = nullptr;  ///< 2 * frames
};

/// Takes 2 * frames values into @p peaks.
void ScanPeaks(const float* values, int frames, StereoPeaks& peaks);

/// block += (sample * gain) * pan.
/// @param peaks  if not null, takes the values that are added
void AddWithGain(const MixSpan& span, float gain, PanGains pan, StereoPeaks* peaks = nullptr);

/// block += ((sample * 2^-15) * powers[frame]) * pan.
/// @param peaks  if not null, takes the values that are added
void AddWithPowers(const MixSpan& span, const float* powers, PanGains pan,
                   StereoPeaks* peaks = nullptr);

/// block *= gain.
void MultiplyByGain(float* block, int frames, float gain);
/// block *= powers[frame], both channels.
void MultiplyByPowers(float* block, int frames, const float* powers);

}  // namespace orlo::sonrel::detail
