// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/DynamicsEffect.h"

#include <algorithm>
#include <cmath>

#include "sonrel/plugins/pack/detail/CellGains.h"
#include "sonrel/plugins/pack/detail/Raster.h"

namespace orlo::sonrel::detail {
namespace {

constexpr double GAIN_CELL_SECONDS = 0.001;
constexpr double FULL_SCALE = 32768.0;

Raster GainCellsAt(int rate) {
    return RasterOf(rate, GAIN_CELL_SECONDS);
}

int CellsIn(double milliseconds, int rate) {
    const auto frames = static_cast<double>(GainCellsAt(rate).Frames());
    return static_cast<int>(std::floor(milliseconds * rate / 1000.0 / frames + 0.5));
}

}  // namespace

int DynamicsEffect::Reach() const {
    return 0;
}

GainWindows DynamicsEffect::WindowsAt(int rate) const {
    return {std::max(CellsIn(times_.attackMs, rate), 1), CellsIn(times_.holdMs, rate),
            std::max(CellsIn(times_.releaseMs, rate), 1), times_.looksAhead};
}

long long DynamicsEffect::LookBack(int rate, long long firstSample) const {
    const Raster cells = GainCellsAt(rate);
    return WindowsAt(rate).CellsBefore() * cells.Frames() + cells.Inside(firstSample) + Reach();
}

long long DynamicsEffect::LookAhead(int rate, long long endSample) const {
    const Raster cells = GainCellsAt(rate);
    return cells.ToNext(endSample) + WindowsAt(rate).CellsAfter() * cells.Frames() + Reach();
}

/// The gains at the starts of the cells of a block, and at the end of its last cell.
std::vector<double> DynamicsEffect::Gains(const EffectBlock& block) const {
    const Raster raster = GainCellsAt(block.rate);
    const long long inside = raster.Inside(block.firstSample);
    const long long cells = raster.CellsOf(block.firstSample, block.outputCount);
    const GainWindows windows = WindowsAt(block.rate);
    const SoundView sound{block.samples, block.inputCount};
    long long start = block.lookBack - inside - windows.CellsBefore() * raster.Frames();
    std::vector<double> amounts(AmountsFor(windows, static_cast<std::size_t>(cells) + 1));
    for (double& amount : amounts) {
        amount = AmountOf(sound, start, start + raster.Frames());
        start += raster.Frames();
    }
    std::vector<double> gains = GainPoints(windows, amounts);
    for (double& gain : gains) gain = GainOf(gain);
    return gains;
}

void DynamicsEffect::Run(const EffectBlock& block) const {
    ApplyGains(block, GainCellsAt(block.rate), block.firstSample, Gains(block));
}

PluginPack::ParameterInfo Milliseconds(const char* name, const char* meaning, double minimum,
                                       double maximum, double defaultValue) {
    PluginPack::ParameterInfo time = Decibels(name, meaning, minimum, maximum, defaultValue);
    time.unit = "ms";
    return time;
}

PluginPack::ParameterInfo Decibels(const char* name, const char* meaning, double minimum,
                                   double maximum, double defaultValue) {
    PluginPack::ParameterInfo level;
    level.name = name;
    level.meaning = meaning;
    level.unit = "dB";
    level.minimum = minimum;
    level.maximum = maximum;
    level.defaultValue = defaultValue;
    return level;
}

double FactorOf(double decibels) {
    return std::pow(10.0, decibels / 20.0);
}

double ValueAt(double decibels) {
    return FULL_SCALE * FactorOf(decibels);
}

double LevelOf(double value) {
    return 20.0 * std::log10(value / FULL_SCALE);
}

}  // namespace orlo::sonrel::detail
