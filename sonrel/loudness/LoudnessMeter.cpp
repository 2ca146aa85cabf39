// SPDX-License-Identifier: MIT
#include "sonrel/loudness/LoudnessMeter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "sonrel/loudness/detail/GatedLoudness.h"
#include "sonrel/loudness/detail/KWeighting.h"
#include "sonrel/loudness/detail/LoudnessWindows.h"
#include "sonrel/loudness/detail/TruePeak.h"

namespace orlo::sonrel {
namespace {

using detail::KWeighting;
using detail::LoudnessWindows;
using detail::TruePeak;

constexpr double FULL_SCALE = 32768.0;
constexpr int CHANNELS = 2;
/// Steps of 10 milliseconds in a block of 100.
constexpr int STEPS = 10;

/// Frames of 100 milliseconds, rounded. They are divided into ten steps of whole frames.
int FramesOfTenSteps(int rate) {
    return (rate + 5) / 10;
}

std::optional<double> LoudnessOrEmpty(const std::optional<double>& meanSquare) {
    if (!meanSquare || !(*meanSquare > 0.0)) return std::nullopt;
    return detail::LoudnessOf(*meanSquare);
}

void Raise(const std::optional<double>& meanSquare, std::optional<double>& largest) {
    if (meanSquare && (!largest || *largest < *meanSquare)) largest = meanSquare;
}

}  // namespace

struct LoudnessMeterImpl {
    explicit LoudnessMeterImpl(int sampleRate) : rate(sampleRate) {}

    int rate;
    int framesOfTenSteps = FramesOfTenSteps(rate);
    KWeighting filter{rate};
    LoudnessWindows windows{framesOfTenSteps};
    TruePeak peak{rate};
    /// The end of the previous step, and the frames of the current step.
    std::vector<short> frames = std::vector<short>(
        CHANNELS * static_cast<std::size_t>(TruePeak::HISTORY + framesOfTenSteps / STEPS + 1));
    int filled = 0;                       ///< frames of the current step
    int step = 0;                         ///< of ten
    std::optional<double> maxMomentary;   ///< mean square
    std::optional<double> maxShortTerm;   ///< mean square
    std::vector<double> blocks;           ///< mean squares above the absolute gate
    std::vector<double> shortTermBlocks;  ///< mean squares above the absolute gate
};

namespace {

short* CurrentStep(LoudnessMeterImpl& meter) {
    return meter.frames.data() + static_cast<std::ptrdiff_t>(CHANNELS * TruePeak::HISTORY);
}

/// Frames of the current step: ten steps have exactly their frames.
int StepFrames(const LoudnessMeterImpl& meter) {
    const int frames = meter.framesOfTenSteps;
    return frames * (meter.step + 1) / STEPS - frames * meter.step / STEPS;
}

void AddBlock(const std::optional<double>& meanSquare, std::vector<double>& blocks) {
    if (meanSquare && detail::IsAboveAbsoluteGate(*meanSquare)) blocks.push_back(*meanSquare);
}

void FinishStep(LoudnessMeterImpl& meter) {
    short* const step = CurrentStep(meter);
    meter.windows.Add(meter.filter.Energy(step, meter.filled));
    meter.peak.Add(step, meter.filled);
    const std::optional<double> momentary = meter.windows.Momentary();
    const std::optional<double> shortTerm = meter.windows.ShortTerm();
    Raise(momentary, meter.maxMomentary);
    Raise(shortTerm, meter.maxShortTerm);
    if (meter.windows.IsAtTenSteps()) {
        AddBlock(momentary, meter.blocks);
        AddBlock(shortTerm, meter.shortTermBlocks);
    }
    const short* const kept =
        step + static_cast<std::ptrdiff_t>(CHANNELS) * (meter.filled - TruePeak::HISTORY);
    std::copy_n(kept, CHANNELS * TruePeak::HISTORY, meter.frames.data());
    meter.filled = 0;
    meter.step = (meter.step + 1) % STEPS;
}

}  // namespace

LoudnessMeter::LoudnessMeter(int sampleRate) {
    if (sampleRate < MIN_RATE || sampleRate > MAX_RATE) return;
    impl_ = std::make_unique<LoudnessMeterImpl>(sampleRate);
}

LoudnessMeter::~LoudnessMeter() = default;
LoudnessMeter::LoudnessMeter(LoudnessMeter&&) noexcept = default;
LoudnessMeter& LoudnessMeter::operator=(LoudnessMeter&&) noexcept = default;

void LoudnessMeter::Add(const short* frames, std::size_t count) {
    if (!impl_) return;
    while (count > 0) {
        const auto room = static_cast<std::size_t>(StepFrames(*impl_) - impl_->filled);
        const std::size_t part = std::min(count, room);
        std::copy_n(frames, CHANNELS * part,
                    CurrentStep(*impl_) + static_cast<std::ptrdiff_t>(CHANNELS) * impl_->filled);
        impl_->filled += static_cast<int>(part);
        if (part == room) FinishStep(*impl_);
        frames += CHANNELS * part;
        count -= part;
    }
}

void LoudnessMeter::Reset() {
    if (impl_) *impl_ = LoudnessMeterImpl(impl_->rate);
}

std::optional<double> LoudnessMeter::MomentaryLufs() const {
    return impl_ ? LoudnessOrEmpty(impl_->windows.Momentary()) : std::nullopt;
}

std::optional<double> LoudnessMeter::ShortTermLufs() const {
    return impl_ ? LoudnessOrEmpty(impl_->windows.ShortTerm()) : std::nullopt;
}

std::optional<double> LoudnessMeter::MaxMomentaryLufs() const {
    return impl_ ? LoudnessOrEmpty(impl_->maxMomentary) : std::nullopt;
}

std::optional<double> LoudnessMeter::MaxShortTermLufs() const {
    return impl_ ? LoudnessOrEmpty(impl_->maxShortTerm) : std::nullopt;
}

std::optional<double> LoudnessMeter::IntegratedLufs() const {
    return impl_ ? detail::IntegratedLoudness(impl_->blocks) : std::nullopt;
}

std::optional<double> LoudnessMeter::RangeLu() const {
    return impl_ ? detail::LoudnessRange(impl_->shortTermBlocks) : std::nullopt;
}

std::optional<double> LoudnessMeter::TruePeakDb() const {
    if (!impl_) return std::nullopt;
    TruePeak peak = impl_->peak;
    if (impl_->filled > 0) peak.Add(CurrentStep(*impl_), impl_->filled);
    if (!(peak.Peak() > 0.0f)) return std::nullopt;
    return 20.0 * std::log10(static_cast<double>(peak.Peak()) / FULL_SCALE);
}

}  // namespace orlo::sonrel
