// SPDX-License-Identifier: MIT
#pragma once

#include <array>

/// Fixed-size values that appear in property values. The engine only copies and destroys them.
namespace zrtl::matl {
/// A point in N dimensions.
template <int N, class T>
struct ZRPoint {
    std::array<T, N> values{};  ///< one for each dimension
    friend bool operator==(const ZRPoint&, const ZRPoint&) = default;
};
/// A vector in N dimensions.
template <int N, class T>
struct ZRVector {
    std::array<T, N> values{};  ///< one for each dimension
    friend bool operator==(const ZRVector&, const ZRVector&) = default;
};

/// @tparam R rows
/// @tparam C columns
template <int R, int C, class T>
struct ZRMatrix {
    std::array<T, R * C> values{};  ///< row by row
    friend bool operator==(const ZRMatrix&, const ZRMatrix&) = default;
};

}  // namespace zrtl::matl
