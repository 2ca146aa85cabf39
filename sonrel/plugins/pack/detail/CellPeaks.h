// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// Stereo frames of 16 bits. Frames outside of them are silent.
struct SoundView {
    const unsigned char* samples = nullptr;
    long long frames = 0;
};

/// The largest absolute sample value of the frames from @p first to @p end, exclusive: 0 to 32768.
int SamplePeak(const SoundView& sound, long long first, long long end);

/// Frames before and after a range that its true peak depends on.
constexpr int TRUE_PEAK_REACH = 6;

/// How many times the sample peak the true peak of the same frames can be, those in reach included.
constexpr double MAX_TRUE_PEAK_RATIO = 16571.0 / 8192.0;

/// The true peak of the frames from @p first to @p end, exclusive, in units of a sample value: the
/// largest absolute value of the samples, and of the four values in each interval that begins or
/// ends at one of the frames, after Recommendation ITU-R BS.1770-5, Annex 2.
///
/// The factors of the interpolator are whole multiples of 1/8192, so that the result is exact.
double TruePeak(const SoundView& sound, long long first, long long end);

}  // namespace orlo::sonrel::detail
