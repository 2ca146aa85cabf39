// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "sonrel/sync/AudioSync.h"

namespace orlo::sonrel::detail {

/// What turns a 16-bit sample into a float of full scale 1.0: 2 to the power -15.
constexpr float SAMPLE_SCALE = 3.0517578e-5f;

/// A channel whose norm does not exceed this is silent.
constexpr double SILENCE_THRESHOLD = 0.01;

/// When both channels correlate better than this and disagree, their lags are averaged.
constexpr double AGREEMENT_THRESHOLD = 0.95;

enum class Channel { Left = 0, Right = 1 };

/// One value a channel, so far apart that two threads which work on a channel each share no cache
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

/// Real and imaginary parts in turn: twice as many values as the transform has points.
using Spectrum = std::vector<double>;

/// What one search found.
struct SearchResult {
    double correlation = 0.0;
    long long offset = 0;
    unsigned long long segmentIndex = 0;
    Channel channel = Channel::Left;
};

/// A norm is the square root of the sum of the squares of full-scale-1.0 samples: no mean, it grows
/// with the length. The sum runs in single precision from the first sample to the last, because its
/// rounding reaches the reported correlation.

/// Points of the transform that holds @p count samples, at most MAX_TRANSFORM_POINTS.
unsigned int TransformPoints(unsigned int count);

/// Transforms real samples, with zeros behind them up to a power of two.
/// @param count     samples, at most MAX_TRANSFORM_POINTS
/// @param spectrum  resized to the transform
void SpectrumOf(float const* samples, unsigned int count, Spectrum& spectrum);

/// The inverse transform, in place and scaled.
void InvertSpectrum(Spectrum& spectrum);

/// Parts interleaved stereo into one float vector a channel, with zeros before and behind.
/// @param frames  2 * frameCount values, left first
/// @param norms   of the two channels
void SplitStereo(short const* frames, int frameCount, int zerosBefore, int zerosAfter,
                 ChannelPair<std::vector<float>>& samples, ChannelPair<float>& norms);

/// Searches for the lag at which B holds A: position k of the correlation is the sum over n of
/// a[n] * b[n + k]. Silence on either side gives all zeros, and leaves @p history as it was.
/// @param overlap    values carried over from block to block, plus 1
/// @param hop        how far the next block lies behind this one; above 0 with a history
/// @param spectrumA  of as many points as @p spectrumB
/// @param product    work space, kept by the caller between calls
/// @param history    what the blocks before left over; null for none. Overlap and hop count its
///                   doubles, real and imaginary parts as they come, and so do they in @p product
SearchResult SearchBlock(Channel channel, int overlap, int hop, float normA, float normB,
                         Spectrum const& spectrumA, Spectrum const& spectrumB, Spectrum* product,
                         Spectrum* history);

/// Chooses between the two channels of one block: the better one, but the middle of the two lags
/// where both agree with the signal and not with one another.
SearchResult JoinChannels(const SearchResult& left, const SearchResult& right);

/// The whole comparison of two strided signals; see AudioSync::CrossCorrelate.
AudioSync::CorrelationResult CorrelateSignals(float const* a, int strideA, float const* b,
                                              int strideB, int count);

/// The sum of the squared correlations at all lags; see AudioSync::CorrelationEnergy.
double EnergyOfCorrelation(float const* a, int strideA, float const* b, int strideB, int count);

}  // namespace orlo::sonrel::detail
