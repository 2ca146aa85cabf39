// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"
#include "tests/reference/ReferenceDynamics.h"

namespace sonrel_tests {

inline RenderedObject Through(const std::string& effect,
                              const orlo::sonrel::PluginPack::Parameters& parameters,
                              const Samples& source, int rate) {
    RenderedObject object;
    object.source = source;
    object.rate = rate;
    object.effects = {orlo::sonrel::PluginPack::CreateEffect(effect, parameters)};
    return object;
}

/// Noise whose level changes every 700 frames, from silence to full scale.
inline Samples Bursts(int frames, unsigned int seed) {
    constexpr double LEVELS[] = {0.02, 1.0, 0.3, 0.0, 0.8, 0.001, 0.1};
    Samples bursts = Noise(frames, seed);
    for (std::size_t i = 0; i < bursts.size(); ++i) {
        bursts[i] = static_cast<short>(bursts[i] * LEVELS[i / 1400 % 7]);
    }
    return bursts;
}

/// Compares an object whose source begins with it, rendered in blocks, with a reference.
/// @param gainOf  the gain of an amount
inline void ExpectGains(const RenderedObject& object,
                        orlo::sonrel::reference::ReferenceDynamics gains,
                        const std::function<double(double)>& gainOf) {
    const int frames = static_cast<int>(object.source.size() / 2);
    const Samples rendered = object.RenderInBlocks(0, frames, 1234);
    ASSERT_EQ(rendered.size(), object.source.size());
    for (std::size_t i = 0; i < rendered.size(); ++i) {
        const double value = object.source[i] * gains.GainAt(static_cast<int>(i / 2), gainOf);
        ASSERT_NEAR(rendered[i], std::clamp(value, -32768.0, 32767.0), 0.5001) << "value " << i;
    }
}

}  // namespace sonrel_tests
