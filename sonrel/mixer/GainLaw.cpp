// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/GainLaw.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "sonrel/mixer/AudioMeter.h"
#include "sonrel/mixer/detail/AudioMeterAccess.h"
#include "sonrel/mixer/detail/AudioMeterImpl.h"
#include "sonrel/mixer/detail/DecibelPowers.h"
#include "sonrel/mixer/detail/MixKernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float SAMPLE_SCALE = 3.0517578125e-05f;  // 2^-15

// Frames whose powers are computed in one go.
constexpr int CHUNK_FRAMES = 512;

PanGains GainsOfBalance(float balance) {
    PanGains gains;
    if (balance > 0.0f) gains.left = 1.0f - std::fabs(balance);
    if (balance < 0.0f) gains.right = 1.0f - std::fabs(balance);
    return gains;
}

// The dB of a ramp, a frame.
float RampSlope(float startLevel, float endLevel, int frames) {
    return (endLevel - startLevel) / static_cast<float>(frames);
}

// Calls use(first, count, powers) for stretches that make up the frames of a ramp.
template <typename Use>
void ForEachRampChunk(float startLevel, float endLevel, int frames, Use use) {
    const float slope = RampSlope(startLevel, endLevel, frames);
    float powers[CHUNK_FRAMES];
    for (int first = 0; first < frames; first += CHUNK_FRAMES) {
        const int count = std::min(CHUNK_FRAMES, frames - first);
        RampPowers(startLevel, slope, first, count, powers);
        use(first, count, powers);
    }
}

// Calls add(first, count, peaks) for stretches that each lie within one block of the meter, and
// counts them.
template <typename Add>
void ForEachMeterStretch(AudioMeterImpl& meter, int frames, Add add) {
    for (int first = 0; first < frames;) {
        const int count = std::min(frames - first, RoomInBlock(meter));
        StereoPeaks peaks;
        add(first, count, peaks);
        CountFrames(meter, count, peaks);
        first += count;
    }
}

std::ptrdiff_t ValueOf(int frame) {
    return 2 * static_cast<std::ptrdiff_t>(frame);
}

void AddMetered(const short* samples, int frames, float* block, float startLevel, float endLevel,
                float balance, AudioMeterImpl& meter) {
    const PanGains pan = GainsOfBalance(balance);
    if (startLevel == endLevel) {
        const float gain = PowerOfLevel(startLevel) * SAMPLE_SCALE;
        ForEachMeterStretch(meter, frames, [&](int first, int count, StereoPeaks& peaks) {
            AddWithGain(samples + ValueOf(first), count, block + ValueOf(first), gain, pan, peaks);
        });
        return;
    }
    ForEachRampChunk(startLevel, endLevel, frames, [&](int chunk, int length, const float* powers) {
        ForEachMeterStretch(meter, length, [&](int first, int count, StereoPeaks& peaks) {
            AddWithPowers(samples + ValueOf(chunk + first), count, block + ValueOf(chunk + first),
                          powers + first, pan, peaks);
        });
    });
}

}  // namespace

void MixObjectIntoBlock(const short* samples, int frames, float* block, float startLevel,
                        float endLevel, float balance) {
    if (frames < 1) return;
    const PanGains pan = GainsOfBalance(balance);
    if (startLevel == endLevel) {
        AddWithGain(samples, frames, block, PowerOfLevel(startLevel) * SAMPLE_SCALE, pan);
        return;
    }
    ForEachRampChunk(startLevel, endLevel, frames, [&](int first, int count, const float* powers) {
        AddWithPowers(samples + ValueOf(first), count, block + ValueOf(first), powers, pan);
    });
}

void MixObjectIntoBlockMetered(const short* samples, int frames, float* block, int requested,
                               float startLevel, float endLevel, float balance, AudioMeter* meter) {
    if (!meter || !AudioMeterAccess::Record(*meter).active) {
        MixObjectIntoBlock(samples, frames, block, startLevel, endLevel, balance);
        return;
    }
    const int added = std::max(frames, 0);
    AddMetered(samples, added, block, startLevel, endLevel, balance,
               AudioMeterAccess::Record(*meter));
    if (requested > added) meter->ProcessSamples(nullptr, requested - added);
}

void ApplyMasterLevel(float* block, int frames, float startLevel, float endLevel) {
    if (frames < 1 || (startLevel == 0.0f && endLevel == 0.0f)) return;
    if (startLevel == endLevel) {
        MultiplyByGain(block, frames, PowerOfLevel(startLevel));
        return;
    }
    ForEachRampChunk(startLevel, endLevel, frames, [&](int first, int count, const float* powers) {
        MultiplyByPowers(block + ValueOf(first), count, powers);
    });
}

}  // namespace orlo::sonrel::detail
