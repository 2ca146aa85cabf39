// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/HeardLoudness.h"

#include <cmath>

namespace orlo::sonrel::detail {
namespace {

std::optional<double> OrEmpty(double lufs) {
    return std::isnan(lufs) ? std::nullopt : std::optional<double>(lufs);
}

}  // namespace

void HeardLoudness::Begin(int sampleRate, bool isMetered) {
    meter_.reset();
    if (isMetered) meter_.emplace(sampleRate);
    momentary_ = NONE;
    shortTerm_ = NONE;
}

void HeardLoudness::Restart() {
    if (meter_) meter_->Reset();
}

void HeardLoudness::Measure(FrameAudioBuffer& buffer) {
    if (!meter_) return;
    meter_->Add(buffer.samples.data(), buffer.samples.size() / 2);
    buffer.momentaryLufs = meter_->MomentaryLufs().value_or(NONE);
    buffer.shortTermLufs = meter_->ShortTermLufs().value_or(NONE);
}

void HeardLoudness::Hear(const FrameAudioBuffer& buffer) {
    momentary_ = buffer.momentaryLufs.load();
    shortTerm_ = buffer.shortTermLufs.load();
}

PlaybackLoudness HeardLoudness::Heard() const {
    return {OrEmpty(momentary_), OrEmpty(shortTerm_)};
}

}  // namespace orlo::sonrel::detail
