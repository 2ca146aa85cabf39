// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace sonrel_tests {

/// Combines two transformed halves: first the recursion, then one butterfly for each point, the
/// factor advancing from each to the next.
/// @param data  2 * points doubles in bit-reversed order
inline void ReferenceApply(double* data, unsigned int points) {
    if (points < 2) return;
    ReferenceApply(data, points / 2);
    ReferenceApply(data + points, points / 2);
    constexpr double PI = 3.14159265358979323846;
    const double s = std::sin(PI / points);
    const double c1 = 2.0 * s * s;
    const double c2 = std::sin(2.0 * PI / points);
    double wr = 1.0;
    double wi = 0.0;
    for (unsigned int k = 0; k < points / 2; ++k) {
        double* a = data + 2 * static_cast<std::size_t>(k);
        double* b = a + points;
        double tr = b[0];
        double ti = b[1];
        if (points > 2) {
            tr = b[0] * wr - b[1] * wi;
            ti = b[0] * wi + b[1] * wr;
        }
        b[0] = a[0] - tr;
        b[1] = a[1] - ti;
        a[0] = a[0] + tr;
        a[1] = a[1] + ti;
        const double t = wr;
        wr = wr - (wr * c1 - wi * c2);
        wi = wi - (t * c2 + wi * c1);
    }
}

/// The reference of the transform: forward, in place.
/// @param points  a power of two
inline void ReferenceFft(double* data, unsigned int points) {
    unsigned int bits = 0;
    while ((1U << bits) < points) ++bits;
    for (unsigned int i = 0; i < points; ++i) {
        unsigned int j = 0;
        for (unsigned int bit = 0; bit < bits; ++bit) j |= (i >> bit & 1U) << (bits - 1 - bit);
        if (j <= i) continue;
        std::swap(data[2 * static_cast<std::size_t>(i)], data[2 * static_cast<std::size_t>(j)]);
        std::swap(data[2 * static_cast<std::size_t>(i) + 1],
                  data[2 * static_cast<std::size_t>(j) + 1]);
    }
    ReferenceApply(data, points);
}

}  // namespace sonrel_tests
