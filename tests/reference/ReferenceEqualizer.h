// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <numbers>
#include <vector>

namespace orlo::sonrel::reference {

/// A band of an equalizer as an analog prototype and the bilinear transform, in double precision:
/// H(s) = (n2 s^2 + n1 s + n0) / (d2 s^2 + d1 s + d0), s = (1 - z^-1) / (k (1 + z^-1)) with
/// k = tan(pi f / rate). Direct form II transposed, from rest, with all of its memory.
class EqualizerBand {
public:
    static EqualizerBand Peak(double rate, double f, double db, double q) {
        const double a = std::pow(10.0, db / 40.0);
        return {rate, f, {1.0, a / q, 1.0}, {1.0, 1.0 / (a * q), 1.0}};
    }
    static EqualizerBand LowShelf(double rate, double f, double db, double q) {
        const double a = std::pow(10.0, db / 40.0);
        const double w = std::sqrt(a) / q;
        return {rate, f, {a, a * w, a * a}, {a, w, 1.0}};
    }
    static EqualizerBand HighShelf(double rate, double f, double db, double q) {
        const double a = std::pow(10.0, db / 40.0);
        const double w = std::sqrt(a) / q;
        return {rate, f, {a * a, a * w, a}, {1.0, w, a}};
    }

    double Process(double x) {
        const double y = b_[0] * x + state1_;
        state1_ = b_[1] * x - a_[1] * y + state2_;
        state2_ = b_[2] * x - a_[2] * y;
        return y;
    }

private:
    /// Factors of s^2, s and 1.
    struct Polynomial {
        double s2, s1, s0;
    };

    EqualizerBand(double rate, double f, Polynomial numerator, Polynomial denominator) {
        const double k = std::tan(std::numbers::pi * f / rate);
        Transform(numerator, k, b_);
        Transform(denominator, k, a_);
        const double leading = a_[0];
        for (int i = 0; i < 3; ++i) {
            b_[i] /= leading;
            a_[i] /= leading;
        }
    }

    static void Transform(const Polynomial& p, double k, double (&z)[3]) {
        z[0] = p.s2 + p.s1 * k + p.s0 * k * k;
        z[1] = 2.0 * (p.s0 * k * k - p.s2);
        z[2] = p.s2 - p.s1 * k + p.s0 * k * k;
    }

    double b_[3] = {};
    double a_[3] = {};
    double state1_ = 0.0;
    double state2_ = 0.0;
};

/// The sound of one channel through bands in a row, without rounding between them.
inline std::vector<double> Equalized(const std::vector<short>& sound,
                                     std::vector<EqualizerBand> bands) {
    std::vector<double> equalized;
    for (const short value : sound) {
        double x = value;
        for (EqualizerBand& band : bands) x = band.Process(x);
        equalized.push_back(x);
    }
    return equalized;
}

}  // namespace orlo::sonrel::reference
