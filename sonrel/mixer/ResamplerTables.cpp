// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ResamplerTables.h"

#include <array>
#include <cmath>

namespace orlo::sonrel::detail {
namespace {

constexpr int NODES = WEIGHT_DEGREE + 1;
using Coefficients = std::array<double, NODES>;

// Factors of 1, u, u^2, ... from factors of the Chebyshev polynomials T0, T1, T2, ...
Coefficients ToPowers(const Coefficients& chebyshev) {
    Coefficients powers{};
    Coefficients previous{1.0};      // T0
    Coefficients current{0.0, 1.0};  // T1
    for (int j = 0; j < NODES; ++j) {
        for (int m = 0; m < NODES; ++m) powers[m] += chebyshev[j] * previous[m];
        Coefficients next{};  // T(j+2) = 2 u T(j+1) - T(j)
        for (int m = 0; m < NODES; ++m) {
            next[m] = (m > 0 ? 2.0 * current[m - 1] : 0.0) - previous[m];
        }
        previous = current;
        current = next;
    }
    return powers;
}

// The polynomials in t = fraction - middle that are 1 at one of the Chebyshev nodes of an interval
// and 0 at the others.
class NodePolynomials {
public:
    NodePolynomials() {
        for (int i = 0; i < NODES; ++i) {
            const double angle = M_PI * (i + 0.5) / NODES;
            nodes_[i] = HALF_WIDTH * std::cos(angle);
            Coefficients chebyshev{};
            for (int j = 0; j < NODES; ++j) {
                chebyshev[j] = std::cos(j * angle) * (j == 0 ? 1.0 : 2.0) / NODES;
            }
            polynomials_[i] = ToPowers(chebyshev);
            double scale = 1.0;
            for (double& factor : polynomials_[i]) {
                factor *= scale;
                scale /= HALF_WIDTH;
            }
        }
    }

    double Node(int i) const { return nodes_[i]; }
    double Factor(int i, int power) const { return polynomials_[i][power]; }

private:
    static constexpr double HALF_WIDTH = 0.5 / INTERVAL_COUNT;

    Coefficients nodes_{};
    std::array<Coefficients, NODES> polynomials_{};
};

}  // namespace

ResamplerTables::ResamplerTables(int tableRate)
    : rate(tableRate), cutoff(ResamplerCutoff(tableRate)), rows{}, polynomials{} {
    for (int m = 0; m < ROW_COUNT; ++m) {
        for (int tap = 0; tap < TAP_COUNT; ++tap) {
            const double fraction = static_cast<double>(m) / ROW_COUNT;
            rows[m][tap] = TapWeight(cutoff, tap + FIRST_TAP - fraction);
        }
    }
    const NodePolynomials basis;
    for (int j = 0; j < INTERVAL_COUNT; ++j) {
        const double middle = (j + 0.5) / INTERVAL_COUNT;
        for (int tap = 0; tap < TAP_COUNT; ++tap) {
            for (int i = 0; i < NODES; ++i) {
                const double weight = TapWeight(cutoff, tap + FIRST_TAP - (middle + basis.Node(i)));
                for (int m = 0; m < NODES; ++m) {
                    polynomials[j][m][tap] += weight * basis.Factor(i, m);
                }
            }
        }
    }
}

}  // namespace orlo::sonrel::detail
