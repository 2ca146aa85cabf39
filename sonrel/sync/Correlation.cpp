// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/Correlation.h"

#include <algorithm>
#include <cmath>

#include "sonrel/base/Numbers.h"
#include "sonrel/sync/detail/CorrelationKernels.h"
#include "sonrel/sync/detail/Fft.h"

namespace orlo::sonrel::detail {
namespace {

/// The factor of the inverse transform: a power of two, so that the product is exact.
double ScaleOf(const Spectrum& spectrum) {
    return 1.0 / (static_cast<double>(spectrum.size()) * 0.5);
}

void TransformInPlace(Spectrum& spectrum) {
    FastFourierTransform(spectrum.data(), static_cast<unsigned int>(spectrum.size() / 2));
}

/// One value of the inverse transform: conjugated and scaled when it is read.
double InverseValue(const Spectrum& transformed, std::size_t position, double scale) {
    return transformed[position] * (position % 2 == 0 ? scale : -scale);
}

/// Overlap-add: adds the tail of the previous blocks and saves the new tail. The values that the
/// tail was added to are scaled afterwards.
void CarryHistory(int overlap, int hop, double scale, Spectrum& product, Spectrum& history) {
    const auto carried = static_cast<std::size_t>(std::max(0, overlap - 1));
    const auto ahead = static_cast<std::size_t>(hop);
    for (std::size_t i = 0; i < carried; ++i) {
        product[i] = InverseValue(product, i, scale) + history[i];
        history[i] = InverseValue(product, i + ahead, scale);
    }
}

/// Copies every stride-th value. @return the sum of the squares
float CopyStrided(float const* from, int stride, int count, std::vector<float>& to) {
    float sum = 0.0f;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float value = from[i * stride];
        to[static_cast<std::size_t>(i)] = value;
        sum += value * value;
    }
    return sum;
}

double PowerAt(const Spectrum& spectrum, std::size_t i) {
    return spectrum[i] * spectrum[i] + spectrum[i + 1] * spectrum[i + 1];
}

}  // namespace

unsigned int TransformPoints(unsigned int count) {
    unsigned int points = 1;
    while (points < count && points < MAX_TRANSFORM_POINTS) points *= 2;
    return points;
}

void SpectrumOf(float const* samples, unsigned int count, Spectrum& spectrum) {
    const unsigned int points = TransformPoints(count);
    spectrum.resize(2 * static_cast<std::size_t>(points));
    const std::size_t given = std::min(count, points);
    for (std::size_t i = 0; i < given; ++i) {
        spectrum[2 * i] = static_cast<double>(samples[i]);
        spectrum[2 * i + 1] = 0.0;
    }
    std::fill(spectrum.begin() + 2 * static_cast<std::ptrdiff_t>(given), spectrum.end(), 0.0);
    FastFourierTransform(spectrum.data(), points);
}

void InvertSpectrum(Spectrum& spectrum) {
    for (std::size_t i = 1; i < spectrum.size(); i += 2) spectrum[i] = -spectrum[i];
    TransformInPlace(spectrum);
    const double scale = ScaleOf(spectrum);
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        spectrum[i] = InverseValue(spectrum, i, scale);
    }
}

void SplitStereo(short const* frames, int frameCount, int zerosBefore, int zerosAfter,
                 ChannelPair<std::vector<float>>& samples, ChannelPair<float>& norms) {
    const auto before = static_cast<std::size_t>(std::max(0, zerosBefore));
    const auto count = static_cast<std::size_t>(std::max(0, frameCount));
    const std::size_t size = before + count + static_cast<std::size_t>(std::max(0, zerosAfter));
    for (std::vector<float>* channel : {&samples.left, &samples.right}) {
        channel->resize(size);
        std::fill_n(channel->begin(), before, 0.0f);
        std::fill(channel->begin() + static_cast<std::ptrdiff_t>(before + count), channel->end(),
                  0.0f);
    }
    float* left = samples.left.data() + before;
    float* right = samples.right.data() + before;
    float leftSum = 0.0f;
    float rightSum = 0.0f;
    for (std::size_t i = 0; i < count; ++i) {
        left[i] = static_cast<float>(frames[2 * i]) * SAMPLE_SCALE;
        right[i] = static_cast<float>(frames[2 * i + 1]) * SAMPLE_SCALE;
        leftSum += left[i] * left[i];
        rightSum += right[i] * right[i];
    }
    norms.left = leftSum > 0.0f ? std::sqrt(leftSum) : leftSum;
    norms.right = rightSum > 0.0f ? std::sqrt(rightSum) : rightSum;
}

SearchResult SearchBlock(Channel channel, int overlap, int hop, float normA, float normB,
                         Spectrum const& spectrumA, Spectrum const& spectrumB, Spectrum* product,
                         Spectrum* history) {
    if (!(SILENCE_THRESHOLD < static_cast<double>(normA)) ||
        !(SILENCE_THRESHOLD < static_cast<double>(normB))) {
        return {};
    }
    product->resize(spectrumB.size());
    MultiplyConjugate(spectrumB.data(), spectrumA.data(), spectrumB.size() / 2, product->data());
    TransformInPlace(*product);
    Correlation correlation{product->data(), product->size(), 0, ScaleOf(*product)};
    if (history != nullptr) {
        CarryHistory(overlap, hop, correlation.scale, *product, *history);
        correlation.scaled = static_cast<std::size_t>(std::max(0, overlap - 1));
    }
    const Peak peak = FindPeak(correlation, static_cast<double>(normA * normB));
    return {peak.correlation, LagOf(peak.position, product->size()), 0, channel};
}

SearchResult JoinChannels(const SearchResult& left, const SearchResult& right) {
    if (left.correlation > AGREEMENT_THRESHOLD && right.correlation > AGREEMENT_THRESHOLD &&
        left.offset != right.offset) {
        const double middle = static_cast<double>(left.offset + right.offset) * 0.5;
        return {right.correlation > left.correlation ? right.correlation : left.correlation,
                zrtl::TruncToInt64(middle), left.segmentIndex, Channel::Left};
    }
    return left.correlation >= right.correlation ? left : right;
}

double EnergyOfCorrelation(float const* a, int strideA, float const* b, int strideB, int count) {
    if (count < 1) return 0.0;
    const std::size_t length = 2 * static_cast<std::size_t>(count);
    const auto twiddles = HoldTwiddles(TransformPoints(static_cast<unsigned int>(length)));
    std::vector<float> samples(length);
    Spectrum spectrumA;
    Spectrum spectrumB;
    const auto energyA = static_cast<double>(CopyStrided(a, strideA, count, samples));
    SpectrumOf(samples.data(), static_cast<unsigned int>(length), spectrumA);
    const auto energyB = static_cast<double>(CopyStrided(b, strideB, count, samples));
    SpectrumOf(samples.data(), static_cast<unsigned int>(length), spectrumB);
    // By Parseval's theorem the sum over the spectra is the same; no inverse transform is needed.
    double sum = 0.0;
    for (std::size_t i = 0; i < spectrumA.size(); i += 2) {
        sum += PowerAt(spectrumA, i) * PowerAt(spectrumB, i);
    }
    const double points = static_cast<double>(spectrumA.size()) * 0.5;
    const double energy = sum / points / (energyA * energyB);
    return std::isfinite(energy) ? energy : 0.0;
}

AudioSync::CorrelationResult CorrelateSignals(float const* a, int strideA, float const* b,
                                              int strideB, int count) {
    if (count < 1) return {};
    const std::size_t length = 2 * static_cast<std::size_t>(count);
    const auto twiddles = HoldTwiddles(TransformPoints(static_cast<unsigned int>(length)));
    std::vector<float> samples(length);
    Spectrum spectrumA;
    Spectrum spectrumB;
    const float normA = std::sqrt(CopyStrided(a, strideA, count, samples));
    SpectrumOf(samples.data(), static_cast<unsigned int>(length), spectrumA);
    const float normB = std::sqrt(CopyStrided(b, strideB, count, samples));
    SpectrumOf(samples.data(), static_cast<unsigned int>(length), spectrumB);
    MultiplyConjugate(spectrumA.data(), spectrumB.data(), spectrumA.size() / 2, spectrumA.data());
    TransformInPlace(spectrumA);
    const Correlation correlation{spectrumA.data(), spectrumA.size(), 0, ScaleOf(spectrumA)};
    const Peak peak = FindPeak(correlation, static_cast<double>(normA * normB));
    return {peak.correlation, LagOf(peak.position, spectrumA.size())};
}

}  // namespace orlo::sonrel::detail
