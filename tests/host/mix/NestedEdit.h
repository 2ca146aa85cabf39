// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/Noise.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

inline std::string NoiseWav(int frames, unsigned int seed) {
    const auto values =
        MakeNoise(2 * static_cast<std::size_t>(frames), seed,
                  [](std::uint32_t bits) { return static_cast<std::int16_t>(bits >> 17); });
    std::string data;
    for (const std::int16_t value : values) data += Little(static_cast<std::uint16_t>(value), 2);
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", data));
}

/// Writes edit.otio with its media: two seconds with effects, transitions, a retimed clip and
/// nested items, whose mix draws noise on three levels. The nested item "scene" can be mixed
/// separately.
inline void WriteNestedEdit(const Workshop& shop) {
    WriteFile(shop.Work("a.wav"), NoiseWav(96000, 1));
    WriteFile(shop.Work("b.wav"), NoiseWav(70000, 2));
    const Json inner = Stack({Track({Clip("b.wav", 3, 20)}), Track({Clip("a.wav", 0, 30)})});
    const Json nested = Named(Stack({Track({inner, Clip("a.wav", 5, 10)})}), "scene");
    Json fast = Clip("a.wav", 0, 12);
    fast["effects"] = {TimeWarp(1.37)};
    const Json filtered =
        WithOurs(Clip("b.wav", 0, 25),
                 {{"effects", {{{"plugin", "high-pass"}, {"parameters", {{"frequencyHz", 300}}}}}},
                  {"fadeIn", 5}});
    const Json document =
        Timeline({WithOurs(Track({filtered, Dissolve(4, 4), Clip("a.wav", 5, 25)}, "Voice"),
                           {{"audioLevel", -2.5}, {"stereoBalance", 0.3}}),
                  Track({Gap(3), nested, Dissolve(3, 2), fast}, "Scene"),
                  Track({fast, WithOurs(Clip("b.wav", 2, 20), {{"audioLevel", -9}})}, "Fast")});
    WriteFile(shop.Work("edit.otio"), document.dump());
}

}  // namespace sonrel_tests
