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

// Frames whose powers are computed together.
constexpr int CHUNK_FRAMES = 512;

PanGains GainsOfBalance(float balance) {
    PanGains gains;
    if (balance > 0.0f) gains.left = 1.0f - std::fabs(balance);
    if (balance < 0.0f) gains.right = 1.0f - std::fabs(balance);
    return gains;
}

// The slope of a ramp in dB per frame.
float RampSlope(float startLevel, float endLevel, int frames) {
    return (endLevel - startLevel) / static_cast<float>(frames);
}

// Calls use(first, count, powers) for consecutive parts of a ramp.
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

std::ptrdiff_t ValueOf(int frame) {
    return 2 * static_cast<std::ptrdiff_t>(frame);
}

MixSpan PartOf(const MixSpan& span, int first, int count) {
    return {span.samples + ValueOf(first), count, span.block + ValueOf(first)};
}

// Calls add(part, first, peaks) for the whole span without a meter, and for parts that are each
// within one block of the meter otherwise. The meter counts the parts.
template <typename Add>
void ForEachMeterPart(const MixSpan& span, AudioMeterImpl* meter, Add add) {
    if (!meter) {
        add(span, 0, nullptr);
        return;
    }
    for (int first = 0; first < span.frames;) {
        const int count = std::min(span.frames - first, RoomInBlock(*meter));
        StereoPeaks peaks;
        add(PartOf(span, first, count), first, &peaks);
        CountFrames(*meter, count, peaks);
        first += count;
    }
}

void AddWithLevels(const MixSpan& span, float startLevel, float endLevel, PanGains pan,
                   AudioMeterImpl* meter) {
    if (startLevel == endLevel) {
        const float gain = GainOfLevel(startLevel);
        ForEachMeterPart(span, meter, [&](const MixSpan& part, int, StereoPeaks* peaks) {
            AddWithGain(part, gain, pan, peaks);
        });
        return;
    }
    ForEachRampChunk(startLevel, endLevel, span.frames,
                     [&](int chunk, int count, const float* powers) {
                         ForEachMeterPart(PartOf(span, chunk, count), meter,
                                          [&](const MixSpan& part, int first, StereoPeaks* peaks) {
                                              AddWithPowers(part, powers + first, pan, peaks);
                                          });
                     });
}

}  // namespace

float GainOfLevel(float level) {
    return PowerOfLevel(level) * SAMPLE_SCALE;
}

void MixObjectIntoBlock(const short* samples, int frames, float* block, float startLevel,
                        float endLevel, float balance) {
    if (frames < 1) return;
    AddWithLevels({samples, frames, block}, startLevel, endLevel, GainsOfBalance(balance), nullptr);
}

void MixObjectIntoBlockMetered(const short* samples, int frames, float* block, int requested,
                               float startLevel, float endLevel, float balance, AudioMeter* meter) {
    AudioMeterImpl* record = meter ? &AudioMeterAccess::Record(*meter) : nullptr;
    if (record && !record->active) record = nullptr;
    const int added = std::max(frames, 0);
    if (added > 0) {
        AddWithLevels({samples, frames, block}, startLevel, endLevel, GainsOfBalance(balance),
                      record);
    }
    if (record && requested > added) meter->ProcessSamples(nullptr, requested - added);
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
