// SPDX-License-Identifier: MIT
#include "host/mix/Loudness.h"

#include <ebur128.h>

#include <cmath>
#include <new>

namespace orlo::host {

LoudnessMeter::LoudnessMeter(int rate)
    : state_(ebur128_init(2, static_cast<unsigned long>(rate), EBUR128_MODE_I)), peak_(rate) {
    if (!state_) throw std::bad_alloc();
}

void LoudnessMeter::Add(const short* frames, std::size_t count) {
    if (ebur128_add_frames_short(state_.get(), frames, count) != EBUR128_SUCCESS) {
        throw std::bad_alloc();
    }
    peak_.Add(frames, count);
}

std::optional<double> LoudnessMeter::IntegratedLufs() const {
    double lufs = 0.0;
    if (ebur128_loudness_global(state_.get(), &lufs) != EBUR128_SUCCESS) return std::nullopt;
    return std::isfinite(lufs) ? std::optional<double>(lufs) : std::nullopt;
}

std::optional<double> LoudnessMeter::TruePeakDb() const {
    if (!(peak_.Peak() > 0.0)) return std::nullopt;
    return 20.0 * std::log10(peak_.Peak());
}

}  // namespace orlo::host
