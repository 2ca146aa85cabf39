// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orlo::sonrel::detail {

/// The noise of the dither: the Mersenne Twister MT19937 and the uniform value made of each draw.
///
/// The draws equal the draws of std::mt19937 with the same seed. They are made a whole state at a
/// time, which is several times as fast and changes nothing in their order.
class DitherGenerator {
public:
    explicit DitherGenerator(std::uint32_t seed) { Seed(seed); }

    void Seed(std::uint32_t seed);

    /// Draws @p count uniform values from -0.5 to 0.5, both inclusive, in steps of the 16-bit
    /// scale.
    ///
    /// A draw u becomes c = float(u) / 2^32 and then 1.0f * c - 0.5f. The conversion rounds: the
    /// largest 128 draws become 2^32 itself and the value is exactly 0.5, which the standard
    /// library's uniform distribution would never return.
    void Draw(float* values, int count);

    /// Passes over @p count draws. Several times as fast as drawing them.
    void Skip(long long count);

private:
    static constexpr int STATE_WORDS = 624;

    void RenewUsedState();

    std::uint32_t state_[STATE_WORDS];
    int next_ = STATE_WORDS;  // first word that was not drawn
};

}  // namespace orlo::sonrel::detail
