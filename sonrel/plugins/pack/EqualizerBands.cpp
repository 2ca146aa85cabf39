// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/EqualizerBands.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orlo::sonrel::detail {
namespace {

/// The part of a sound that is left when ringing counts as ended: -140 dB.
constexpr double ENDED = 1e-7;

/// The values from which the formulas of the cookbook are made.
struct Terms {
    double a;       ///< A
    double cosine;  ///< cos(w0)
    double alpha;
};

BiquadCoefficients PeakSection(const Terms& t) {
    const double a0 = 1.0 + t.alpha / t.a;
    return {(1.0 + t.alpha * t.a) / a0, -2.0 * t.cosine / a0, (1.0 - t.alpha * t.a) / a0,
            -2.0 * t.cosine / a0, (1.0 - t.alpha / t.a) / a0};
}

/// @param side  1 for the low shelf. The high shelf is its mirror image, with -1
BiquadCoefficients ShelfSection(const Terms& t, double side) {
    const double up = t.a + 1.0;
    const double down = (t.a - 1.0) * side;
    const double slope = 2.0 * std::sqrt(t.a) * t.alpha;
    const double a0 = up + down * t.cosine + slope;
    return {t.a * (up - down * t.cosine + slope) / a0,
            2.0 * t.a * side * (t.a - 1.0 - side * up * t.cosine) / a0,
            t.a * (up - down * t.cosine - slope) / a0,
            -2.0 * side * (t.a - 1.0 + side * up * t.cosine) / a0,
            (up + down * t.cosine - slope) / a0};
}

/// The distance of the outermost pole from 0.
double PoleRadius(const BiquadCoefficients& section) {
    const double half = -section.a1 / 2.0;
    const double square = half * half - section.a2;
    if (square < 0.0) return std::sqrt(section.a2);
    const double root = std::sqrt(square);
    return std::max(std::abs(half + root), std::abs(half - root));
}

}  // namespace

BiquadCoefficients BandCoefficients(const EqualizerBand& band, int rate) {
    const double w0 = 2.0 * std::numbers::pi * band.frequency / rate;
    const Terms terms{std::pow(10.0, band.gainDb / 40.0), std::cos(w0),
                      std::sin(w0) / (2.0 * band.q)};
    switch (band.kind) {
        case EqualizerBand::Kind::LowShelf:
            return ShelfSection(terms, 1.0);
        case EqualizerBand::Kind::HighShelf:
            return ShelfSection(terms, -1.0);
        case EqualizerBand::Kind::Peak:
            break;
    }
    return PeakSection(terms);
}

double RingingFrames(const BiquadCoefficients& section) {
    const double radius = PoleRadius(section);
    return radius <= 0.0 ? 0.0 : std::log(ENDED) / std::log(radius);
}

}  // namespace orlo::sonrel::detail
