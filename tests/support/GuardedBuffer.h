// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace sonrel_tests {

/// A buffer with guard values before and after it, filled with a value that no test expects.
class GuardedBuffer {
public:
    static constexpr unsigned char FILL = 0xA5;

    /// @param bytes  size between the guards
    explicit GuardedBuffer(std::size_t bytes)
        : bytes_(bytes), memory_(bytes + 2 * GUARD_BYTES, FILL) {
        std::fill_n(memory_.begin(), GUARD_BYTES, GUARD);
        std::fill_n(memory_.end() - GUARD_BYTES, GUARD_BYTES, GUARD);
    }

    unsigned char* Data() { return memory_.data() + GUARD_BYTES; }
    int Size() const { return static_cast<int>(bytes_); }

    /// The value of a channel (0 left, 1 right) of a stereo frame of 16-bit samples.
    short Value(int frame, int channel) const {
        short value = 0;
        std::memcpy(&value,
                    memory_.data() + GUARD_BYTES + 4 * static_cast<std::size_t>(frame) +
                        2 * static_cast<std::size_t>(channel),
                    sizeof(value));
        return value;
    }
    std::pair<short, short> Frame(int frame) const { return {Value(frame, 0), Value(frame, 1)}; }
    /// All frames, interleaved.
    std::vector<short> Values() const {
        std::vector<short> values(bytes_ / 2);
        std::memcpy(values.data(), memory_.data() + GUARD_BYTES, values.size() * 2);
        return values;
    }

    bool GuardsIntact() const {
        const auto isGuard = [](unsigned char byte) { return byte == GUARD; };
        return std::all_of(memory_.begin(), memory_.begin() + GUARD_BYTES, isGuard) &&
               std::all_of(memory_.end() - GUARD_BYTES, memory_.end(), isGuard);
    }
    /// No byte from @p firstByte on was written, guards included.
    bool UntouchedFrom(std::size_t firstByte) const {
        return GuardsIntact() &&
               std::all_of(memory_.begin() + GUARD_BYTES + firstByte, memory_.end() - GUARD_BYTES,
                           [](unsigned char byte) { return byte == FILL; });
    }
    bool Untouched() const { return UntouchedFrom(0); }

private:
    static constexpr std::ptrdiff_t GUARD_BYTES = 64;
    static constexpr unsigned char GUARD = 0x5C;

    std::size_t bytes_;
    std::vector<unsigned char> memory_;
};

}  // namespace sonrel_tests
