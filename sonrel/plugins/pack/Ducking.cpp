// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/Ducking.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/CellGains.h"
#include "sonrel/plugins/pack/detail/DynamicsEffect.h"
#include "sonrel/plugins/pack/detail/GainWindows.h"
#include "sonrel/plugins/pack/detail/ParameterCheck.h"
#include "sonrel/plugins/pack/detail/Raster.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::PluginPack {
namespace {

using detail::Decibels;
using detail::EffectBlock;
using detail::GainWindows;
using detail::Milliseconds;
using detail::Raster;

constexpr double DUCKING_CELL_SECONDS = 0.01;

Raster DuckingCellsAt(int rate) {
    return detail::RasterOf(rate, DUCKING_CELL_SECONDS);
}

/// Holds the gain curve of a track for one of its objects.
class Duck final : public detail::AudioEffect {
public:
    Duck(std::shared_ptr<const GainCurve> curve, long long objectStart)
        : curve_(std::move(curve)), objectStart_(objectStart) {}

protected:
    void Run(const EffectBlock& block) const override {
        const Raster cells = DuckingCellsAt(block.rate);
        const long long position = StartAt(block.rate) + block.firstSample;
        const long long first = (position - cells.Inside(position)) / cells.Frames();
        const long long count = cells.CellsOf(position, block.outputCount);
        std::vector<double> gains;
        for (long long i = 0; i <= count; ++i) gains.push_back(GainAt(first + i));
        detail::ApplyGains(block, cells, position, gains);
    }

private:
    /// The start of the object in frames of another rate.
    long long StartAt(int rate) const {
        if (rate == curve_->sampleRate) return objectStart_;
        const double seconds = static_cast<double>(objectStart_) / curve_->sampleRate;
        return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * rate));
    }

    double GainAt(long long cell) const {
        const auto last = static_cast<long long>(curve_->gains.size()) - 1;
        return curve_->gains[static_cast<std::size_t>(std::clamp(cell, 0LL, last))];
    }

    std::shared_ptr<const GainCurve> curve_;
    long long objectStart_;
};

PluginInfo DescribeDucking() {
    return {
        "duck",
        "Makes a track softer while another track sounds.",
        {Decibels("thresholdDb", "Level from which the other track lowers this track.", -90.0, 0.0,
                  -40.0),
         Decibels("depthDb", "Change of level while it does.", -96.0, 0.0, -12.0),
         Milliseconds("attackMs", "Time in which the level falls, before the other track sounds.",
                      10.0, 250.0, 150.0),
         Milliseconds("holdMs", "Time for which the level stays low.", 0.0, 250.0, 200.0),
         Milliseconds("releaseMs", "Time in which the level rises again.", 10.0, 500.0, 400.0)}};
}

/// Cells of a time, at least @p least.
int DuckingCells(const Parameters& parameters, const char* name, int rate, int least) {
    const double cells = parameters.at(name) / 1000.0 * rate / DuckingCellFrames(rate);
    return std::max(zrtl::TruncToInt32(zrtl::RoundHalfAway(cells)), least);
}

/// 1 for each cell in which the key sounds, with silence around the timeline.
std::vector<double> Sounding(const std::vector<int>& peaks, double threshold,
                             const GainWindows& windows) {
    std::vector<double> sounding(detail::AmountsFor(windows, peaks.size() + 1), 0.0);
    std::transform(peaks.begin(), peaks.end(), sounding.begin() + windows.CellsBefore(),
                   [=](int peak) { return peak >= threshold ? 1.0 : 0.0; });
    return sounding;
}

bool IsGain(double gain) {
    return std::isfinite(gain) && gain >= 0.0;
}

}  // namespace

const PluginInfo& Ducking() {
    static const PluginInfo DUCKING = DescribeDucking();
    return DUCKING;
}

int DuckingCellFrames(int sampleRate) {
    return static_cast<int>(DuckingCellsAt(sampleRate).Frames());
}

std::shared_ptr<const GainCurve> DuckingCurve(const std::vector<int>& peaks,
                                              const Parameters& parameters, int sampleRate) {
    const Parameters checked = detail::CheckedParameters(Ducking(), parameters, sampleRate);
    const GainWindows windows{DuckingCells(checked, "attackMs", sampleRate, 1),
                              DuckingCells(checked, "holdMs", sampleRate, 0),
                              DuckingCells(checked, "releaseMs", sampleRate, 1), true};
    const double threshold = detail::ValueAt(checked.at("thresholdDb"));
    const double depthDb = checked.at("depthDb");
    auto curve = std::make_shared<GainCurve>();
    curve->sampleRate = sampleRate;
    curve->gains = detail::GainPoints(windows, Sounding(peaks, threshold, windows));
    for (double& gain : curve->gains) gain = detail::FactorOf(depthDb * gain);
    return curve;
}

std::shared_ptr<project::AbstractPluginAudio> CreateDucking(std::shared_ptr<const GainCurve> curve,
                                                            long long objectStart) {
    if (curve == nullptr || curve->sampleRate < 1 || curve->gains.empty() ||
        !std::all_of(curve->gains.begin(), curve->gains.end(), IsGain)) {
        throw std::invalid_argument(
            "duck: the curve must have a sample rate and finite gains of 0 or more");
    }
    return std::make_shared<Duck>(std::move(curve), objectStart);
}

}  // namespace orlo::sonrel::PluginPack
