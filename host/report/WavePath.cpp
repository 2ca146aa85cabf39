// SPDX-License-Identifier: MIT
#include "host/report/WavePath.h"

#include <cmath>

namespace orlo::host {

namespace {

/// Distance of a value from the upper edge.
int HeightOf(signed char value) {
    constexpr double FULL_SCALE = 127.0;
    constexpr double HALF = WAVE_HEIGHT / 2.0;
    return static_cast<int>(std::lround(HALF - value * HALF / FULL_SCALE));
}

/// A number after a letter; letters separate the numbers.
void Append(char letter, int number, std::string& path) {
    path += letter;
    path += std::to_string(number);
}

/// Appends one edge of a waveform as steps. Equal neighbours are one step.
/// @param forward  from left to right
void AppendEdge(const std::vector<signed char>& values, bool forward, std::string& path) {
    const std::size_t count = values.size();
    const auto height = [&](std::size_t i) {
        return HeightOf(values[forward ? i : count - 1 - i]);
    };
    Append('V', height(0), path);
    int last = height(0);
    int run = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const int next = height(i);
        if (next != last) {
            Append('h', forward ? run : -run, path);
            Append('v', next - last, path);
            last = next;
            run = 0;
        }
        ++run;
    }
    Append('h', forward ? run : -run, path);
}

}  // namespace

std::string WavePath(const Envelope& wave) {
    if (wave.high.empty()) return {};
    std::string path = "M0 " + std::to_string(WAVE_HEIGHT / 2);
    AppendEdge(wave.high, true, path);
    AppendEdge(wave.low, false, path);
    return path + "z";
}

}  // namespace orlo::host
