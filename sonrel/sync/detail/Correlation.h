// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "sonrel/sync/AudioSync.h"

namespace orlo::sonrel::detail {

/// The factor from a 16-bit sample to a float of full scale 1.0: 2 to the power -15.
constexpr float SAMPLE_SCALE = 3.0517578e-5f;

/// A channel whose norm does not exceed this is silent.
constexpr double SILENCE_THRESHOLD = 0.01;

/// Where both channels correlate better than this at different lags, the lags are averaged.
constexpr double AGREEMENT_THRESHOLD = 0.95;

enum class Channel { Left = 0, Right = 1 };

/// One value for each channel, far enough apart that two threads with a channel each share no cache
/// line.
template <class T>
struct ChannelPair {
    T left{};
    char leftSpacing[64]{};
    T right{};
    char rightSpacing[64]{};

    T& operator[](Channel channel) { return channel == Channel::Left ? left : right; }
    const T& operator[](Channel channel) const { return channel == Channel::Left ? left : right; }
};

/// Interleaved real and imaginary parts: twice as many values as the transform has points.
using Spectrum = std::vector<double>;

/// The result of one search.
struct SearchResult {
    double correlation = 0.0;
    long long offset = 0;
    unsigned long long segmentIndex = 0;
    Channel channel = Channel::Left;
};

/// A norm is the square root of the sum of the squares of samples of full scale 1.0. It is not a
/// mean: it grows with the length. The sum is computed in single precision from the first sample to
/// the last, because its rounding is part of the reported correlation.

/// Points of the smallest transform that has room for @p count samples, at most
/// MAX_TRANSFORM_POINTS.
unsigned int TransformPoints(unsigned int count);

/// Transforms real samples, padded with zeros to a power of two.
/// @param count     samples, at most MAX_TRANSFORM_POINTS
/// @param spectrum  resized to the transform
void SpectrumOf(float const* samples, unsigned int count, Spectrum& spectrum);

/// The inverse transform, in place and scaled.
void InvertSpectrum(Spectrum& spectrum);

/// Splits interleaved stereo into one float vector for each channel, with zeros before and after.
/// @param frames  2 * frameCount values, left first
/// @param norms   of the two channels
void SplitStereo(short const* frames, int frameCount, int zerosBefore, int zerosAfter,
                 ChannelPair<std::vector<float>>& samples, ChannelPair<float>& norms);

/// Searches for the lag at which B contains A: position k of the correlation is the sum over n of
/// a[n] * b[n + k]. Where A or B is silent, the result is all zeros and @p history is unchanged.
/// @param overlap    values carried over from block to block, plus 1
/// @param hop        distance from this block to the next; above 0 with a history
/// @param spectrumA  of as many points as @p spectrumB
/// @param product    work space, kept by the caller between calls
/// @param history    the tail of the previous blocks; null for none. Overlap and hop count doubles
///                   in it and in @p product, real and imaginary parts alike
SearchResult SearchBlock(Channel channel, int overlap, int hop, float normA, float normB,
                         Spectrum const& spectrumA, Spectrum const& spectrumB, Spectrum* product,
                         Spectrum* history);

/// Chooses between the two channels of one block: the channel that correlates better. Where both
/// correlate above AGREEMENT_THRESHOLD at different lags, the middle of the two lags.
SearchResult JoinChannels(const SearchResult& left, const SearchResult& right);

/// The whole comparison of two strided signals; see AudioSync::CrossCorrelate.
AudioSync::CorrelationResult CorrelateSignals(float const* a, int strideA, float const* b,
                                              int strideB, int count);

/// The sum of the squared correlations at all lags; see AudioSync::CorrelationEnergy.
double EnergyOfCorrelation(float const* a, int strideA, float const* b, int strideB, int count);

}  // namespace orlo::sonrel::detail
