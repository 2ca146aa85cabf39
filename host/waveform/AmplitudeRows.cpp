// SPDX-License-Identifier: MIT
#include "host/waveform/AmplitudeRows.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using Scale = sonrel::WaveformPreview::Scale;

constexpr double FLOOR = 0.01;
/// Keeps full scale of a peak off the edge of its lane.
constexpr double PEAK_REACH = 0.9;

double LogHeight(double amplitude, int height) {
    static const double LOG_FLOOR = std::log(FLOOR);
    return (std::log(amplitude) - LOG_FLOOR) * height / -LOG_FLOOR;
}

int EnvelopeRow(double amplitude, int height, Scale scale) {
    const double top = height - 1;
    if (scale == Scale::Linear) return static_cast<int>(top - height * amplitude);
    return static_cast<int>(top - LogHeight(std::max(amplitude, FLOOR), height));
}

int PeakRow(double value, int height, Scale scale) {
    const int middle = height / 2;
    const int half = height / 2;
    if (scale == Scale::Linear) return static_cast<int>(middle - value * PEAK_REACH * half);
    const double w = std::clamp(std::abs(value), FLOOR, 1.0) * PEAK_REACH;
    const double distance = LogHeight(w, half);
    return static_cast<int>(value > 0.0 ? middle - distance : distance + middle);
}

/// A value of a scale, the most important first.
struct ScaleValue {
    double amplitude;
    std::string label;
};

std::vector<ScaleValue> DecibelValues(Scale scale) {
    std::vector<ScaleValue> values{{1.0, "0 dB"}};
    if (scale == Scale::Linear) values.push_back({0.0, "-inf"});
    for (const int decibels : {-6, -12, -20, -30, -40, -3, -18, -9, -25, -35}) {
        values.push_back({std::pow(10.0, decibels / 20.0), std::to_string(decibels)});
    }
    return values;
}

std::vector<ScaleValue> LinearValues(Scale scale) {
    std::vector<ScaleValue> values;
    for (const double value : scale == Scale::Linear
                                  ? std::vector<double>{1.0, 0.0, 0.5, 0.25, 0.75, 0.1, 0.9}
                                  : std::vector<double>{1.0, 0.01, 0.1, 0.5, 0.2, 0.05, 0.02}) {
        values.push_back({value, FormatNumber(value, 2)});
    }
    return values;
}

/// Places labels where there is room.
class TickPlacer {
public:
    TickPlacer(const AmplitudeLane& lane, int labelHeight)
        : lane_(lane), labelHeight_(labelHeight) {}

    void Place(double amplitude, const std::string& label) {
        const int row = std::clamp(lane_.RowOf(amplitude), lane_.top, lane_.top + lane_.height - 1);
        const int top = LabelTop(lane_, row, labelHeight_);
        const auto overlaps = [&](const AmplitudeTick& other) {
            return std::abs(LabelTop(lane_, other.row, labelHeight_) - top) < labelHeight_;
        };
        if (lane_.height < labelHeight_) return;
        if (std::any_of(ticks_.begin(), ticks_.end(), overlaps)) return;
        ticks_.push_back({row, label});
    }

    std::vector<AmplitudeTick> Sorted() {
        std::sort(ticks_.begin(), ticks_.end(),
                  [](const auto& one, const auto& other) { return one.row < other.row; });
        return std::move(ticks_);
    }

private:
    const AmplitudeLane& lane_;
    int labelHeight_;
    std::vector<AmplitudeTick> ticks_;
};

}  // namespace

int AmplitudeLane::RowOf(double amplitude) const {
    return top +
           (isEnvelope ? EnvelopeRow(amplitude, height, scale) : PeakRow(amplitude, height, scale));
}

int LabelTop(const AmplitudeLane& lane, int row, int labelHeight) {
    const int last = lane.top + lane.height - labelHeight;
    return std::max(lane.top, std::min(row - labelHeight / 2, last));
}

std::vector<AmplitudeTick> AmplitudeTicks(const AmplitudeLane& lane, AmplitudeUnit unit,
                                          int labelHeight) {
    if (unit == AmplitudeUnit::None) return {};
    const bool isLinear = unit == AmplitudeUnit::Linear;
    TickPlacer placer(lane, labelHeight);
    for (const ScaleValue& value :
         isLinear ? LinearValues(lane.scale) : DecibelValues(lane.scale)) {
        placer.Place(value.amplitude, value.label);
        if (lane.isEnvelope || value.amplitude == 0.0) continue;
        placer.Place(-value.amplitude, isLinear ? "-" + value.label : value.label);
    }
    return placer.Sorted();
}

}  // namespace orlo::host
