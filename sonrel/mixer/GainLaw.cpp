// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/GainLaw.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "sonrel/mixer/AudioMeter.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float SAMPLE_SCALE = 3.0517578125e-05f;  // 2^-15

struct PanGains {
    float left = 1.0f;
    float right = 1.0f;
};

PanGains GainsOfBalance(float balance) {
    PanGains gains;
    if (balance > 0.0f) gains.left = 1.0f - std::fabs(balance);
    if (balance < 0.0f) gains.right = 1.0f - std::fabs(balance);
    return gains;
}

float PowerOfLevel(float level) {
    return std::pow(10.0f, level / 20.0f);
}

// Calls sink(frame, left, right) with the scaled values of each frame.
template <typename Sink>
void ForEachScaledFrame(const short* samples, int frames, float startLevel, float endLevel,
                        float balance, Sink sink) {
    const PanGains pan = GainsOfBalance(balance);
    if (startLevel == endLevel) {
        const float gain = PowerOfLevel(startLevel) * SAMPLE_SCALE;
        for (int j = 0; j < frames; ++j) {
            sink(j, samples[2 * j] * gain * pan.left, samples[2 * j + 1] * gain * pan.right);
        }
        return;
    }
    const float slope = (endLevel - startLevel) / static_cast<float>(frames);
    for (int j = 0; j < frames; ++j) {
        const float power = PowerOfLevel(static_cast<float>(2 * j) * slope + startLevel);
        sink(j, samples[2 * j] * SAMPLE_SCALE * power * pan.left,
             samples[2 * j + 1] * SAMPLE_SCALE * power * pan.right);
    }
}

}  // namespace

void MixObjectIntoBlock(const short* samples, int frames, float* block, float startLevel,
                        float endLevel, float balance) {
    ForEachScaledFrame(samples, frames, startLevel, endLevel, balance,
                       [block](int j, float left, float right) {
                           block[2 * j] += left;
                           block[2 * j + 1] += right;
                       });
}

void MixObjectIntoBlockMetered(const short* samples, int frames, float* block, int requested,
                               float startLevel, float endLevel, float balance, AudioMeter& meter) {
    ForEachScaledFrame(samples, frames, startLevel, endLevel, balance,
                       [block, &meter](int j, float left, float right) {
                           const float frame[2] = {left, right};
                           meter.ProcessSamples(frame, 1);
                           block[2 * j] += left;
                           block[2 * j + 1] += right;
                       });
    const int counted = std::max(frames, 0);
    if (requested > counted) meter.ProcessSamples(nullptr, requested - counted);
}

void ApplyMasterLevel(float* block, int frames, float startLevel, float endLevel) {
    if (startLevel == 0.0f && endLevel == 0.0f) return;
    if (startLevel == endLevel) {
        const float gain = PowerOfLevel(startLevel);
        for (int j = 0; j < 2 * frames; ++j) block[j] *= gain;
        return;
    }
    const float slope = (endLevel - startLevel) / static_cast<float>(frames);
    for (int j = 0; j < frames; ++j) {
        const float power = PowerOfLevel(static_cast<float>(2 * j) * slope + startLevel);
        block[2 * j] *= power;
        block[2 * j + 1] *= power;
    }
}

}  // namespace orlo::sonrel::detail
