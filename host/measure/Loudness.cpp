// SPDX-License-Identifier: MIT
#include "host/measure/Loudness.h"

#include <algorithm>

namespace orlo::host {

namespace {

constexpr int BLOCKS_PER_SECOND = 10;

}  // namespace

int MeterBlockFrames(int rate) {
    return std::max(1, rate / BLOCKS_PER_SECOND);
}

LoudnessMeter::LoudnessMeter(int rate)
    : meter_(rate), blockFrames_(static_cast<std::size_t>(MeterBlockFrames(rate))) {}

void LoudnessMeter::Add(const short* frames, std::size_t count) {
    while (count > 0) {
        const std::size_t part = std::min(count, blockFrames_ - filled_);
        meter_.Add(frames, part);
        filled_ += part;
        frames += 2 * part;
        count -= part;
        if (filled_ < blockFrames_) continue;
        readings_.push_back(Reading());
        filled_ = 0;
    }
}

LoudnessReading LoudnessMeter::Reading() const {
    return {meter_.MomentaryLufs(), meter_.ShortTermLufs()};
}

std::vector<LoudnessReading> LoudnessMeter::Readings() const {
    std::vector<LoudnessReading> readings = readings_;
    if (filled_ > 0) readings.push_back(Reading());
    return readings;
}

}  // namespace orlo::host
