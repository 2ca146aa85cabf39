// SPDX-License-Identifier: MIT
#pragma once

/// The inner loops of gain law and meters. Values are single precision; each is computed on its
/// own, in the order written here, so that the width of the vectors doesn't show.
namespace orlo::sonrel::detail {

/// Largest absolute value and clipping of a stretch of stereo values, left then right. A NaN takes
/// part in neither.
struct StereoPeaks {
    float peak[2] = {0.0f, 0.0f};
    bool clipped[2] = {false, false};
};

/// Factors of the two channels.
struct PanGains {
    float left = 1.0f;
    float right = 1.0f;
};

/// Takes 2 * frames values into @p peaks.
void ScanPeaks(const float* values, int frames, StereoPeaks& peaks);

/// block += (sample * gain) * pan.
void AddWithGain(const short* samples, int frames, float* block, float gain, PanGains pan);
/// The same, with what is added taken into @p peaks.
void AddWithGain(const short* samples, int frames, float* block, float gain, PanGains pan,
                 StereoPeaks& peaks);

/// block += ((sample * 2^-15) * powers[frame]) * pan.
void AddWithPowers(const short* samples, int frames, float* block, const float* powers,
                   PanGains pan);
/// The same, with what is added taken into @p peaks.
void AddWithPowers(const short* samples, int frames, float* block, const float* powers,
                   PanGains pan, StereoPeaks& peaks);

/// block *= gain.
void MultiplyByGain(float* block, int frames, float gain);
/// block *= powers[frame], both channels.
void MultiplyByPowers(float* block, int frames, const float* powers);

}  // namespace orlo::sonrel::detail
