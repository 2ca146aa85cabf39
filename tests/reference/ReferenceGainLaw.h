// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>

#include "tests/reference/ReferenceMeter.h"

/// The reference of the gain law: the documented rules, one frame after the other.
namespace orlo::sonrel::reference {

inline float LeftGain(float balance) {
    return balance > 0.0f ? 1.0f - std::fabs(balance) : 1.0f;
}
inline float RightGain(float balance) {
    return balance < 0.0f ? 1.0f - std::fabs(balance) : 1.0f;
}

inline void MixObjectIntoBlock(const short* samples, int frames, float* block, float startLevel,
                               float endLevel, float balance) {
    const float left = LeftGain(balance);
    const float right = RightGain(balance);
    if (startLevel == endLevel) {
        const float g = std::pow(10.0f, startLevel / 20.0f) * 3.0517578125e-05f;
        for (std::ptrdiff_t j = 0; j < frames; ++j) {
            block[2 * j] += static_cast<float>(samples[2 * j]) * g * left;
            block[2 * j + 1] += static_cast<float>(samples[2 * j + 1]) * g * right;
        }
        return;
    }
    const float slope = (endLevel - startLevel) / static_cast<float>(frames);
    for (std::ptrdiff_t j = 0; j < frames; ++j) {
        const float db = static_cast<float>(2 * j) * slope + startLevel;
        const float p = std::pow(10.0f, db / 20.0f);
        block[2 * j] += static_cast<float>(samples[2 * j]) * 3.0517578125e-05f * p * left;
        block[2 * j + 1] += static_cast<float>(samples[2 * j + 1]) * 3.0517578125e-05f * p * right;
    }
}

inline void MixObjectIntoBlockMetered(const short* samples, int frames, float* block, int requested,
                                      float startLevel, float endLevel, float balance,
                                      AudioMeter& meter) {
    const float left = LeftGain(balance);
    const float right = RightGain(balance);
    const bool constant = startLevel == endLevel;
    const float g = std::pow(10.0f, startLevel / 20.0f) * 3.0517578125e-05f;
    const float slope = (endLevel - startLevel) / static_cast<float>(frames);
    for (std::ptrdiff_t j = 0; j < frames; ++j) {
        float frame[2];
        if (constant) {
            frame[0] = static_cast<float>(samples[2 * j]) * g * left;
            frame[1] = static_cast<float>(samples[2 * j + 1]) * g * right;
        } else {
            const float db = static_cast<float>(2 * j) * slope + startLevel;
            const float p = std::pow(10.0f, db / 20.0f);
            frame[0] = static_cast<float>(samples[2 * j]) * 3.0517578125e-05f * p * left;
            frame[1] = static_cast<float>(samples[2 * j + 1]) * 3.0517578125e-05f * p * right;
        }
        meter.ProcessSamples(frame, 1);
        block[2 * j] += frame[0];
        block[2 * j + 1] += frame[1];
    }
    if (requested > frames) meter.ProcessSamples(nullptr, requested - frames);
}

inline void ApplyMasterLevel(float* block, int frames, float startLevel, float endLevel) {
    if (startLevel == 0.0f && endLevel == 0.0f) return;
    const bool constant = startLevel == endLevel;
    const float g = std::pow(10.0f, startLevel / 20.0f);
    const float slope = (endLevel - startLevel) / static_cast<float>(frames);
    for (std::ptrdiff_t j = 0; j < frames; ++j) {
        const float db = static_cast<float>(2 * j) * slope + startLevel;
        const float p = constant ? g : std::pow(10.0f, db / 20.0f);
        block[2 * j] *= p;
        block[2 * j + 1] *= p;
    }
}

}  // namespace orlo::sonrel::reference
