// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/FadeCurve.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orlo::sonrel::detail {
namespace {

/// The decibel curve ends at -60 dB, and its last step is silence.
constexpr double DECIBEL_DEPTH = -60.0;

}  // namespace

double LeavingGain(FadeCurve curve, double t) {
    t = std::clamp(t, 0.0, 1.0);
    switch (curve) {
        case FadeCurve::Linear:
            return 1.0 - t;
        case FadeCurve::Decibel:
            return t >= 1.0 ? 0.0 : std::pow(10.0, DECIBEL_DEPTH * t / 20.0);
        case FadeCurve::EqualPower:
            break;
    }
    return std::cos(t * std::numbers::pi / 2.0);
}

double EnteringGain(FadeCurve curve, double t) {
    t = std::clamp(t, 0.0, 1.0);
    switch (curve) {
        case FadeCurve::Linear:
            return t;
        case FadeCurve::Decibel:
            return t <= 0.0 ? 0.0 : std::pow(10.0, DECIBEL_DEPTH * (1.0 - t) / 20.0);
        case FadeCurve::EqualPower:
            break;
    }
    return std::sin(t * std::numbers::pi / 2.0);
}

PluginPack::ParameterInfo CurveParameter() {
    PluginPack::ParameterInfo curve;
    curve.name = "curve";
    curve.meaning = "How the gain runs over the length of the fade.";
    curve.maximum = static_cast<double>(FadeCurve::Decibel);
    curve.defaultValue = static_cast<double>(FadeCurve::EqualPower);
    curve.whole = true;
    curve.choices = {"linear", "equal-power", "db"};
    return curve;
}

FadeCurve CurveOf(double number) {
    return static_cast<FadeCurve>(static_cast<int>(number));
}

}  // namespace orlo::sonrel::detail
