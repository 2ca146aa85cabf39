// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::sonrel::detail {

/// The shape of the gains of a fade. The numbers are the values of the parameter "curve".
enum class FadeCurve : int { Linear = 0, EqualPower = 1, Decibel = 2 };

/// Gain of the side that fades out.
/// @param t  position in the fade, 0 at its start to 1 at its end; other values are clamped
/// @return 1 at t = 0, and (except for the rounding of a cosine) 0 at t = 1
double LeavingGain(FadeCurve curve, double t);

/// Gain of the side that fades in: 0 at t = 0, 1 at t = 1.
double EnteringGain(FadeCurve curve, double t);

/// The parameter "curve", equal-power by default.
PluginPack::ParameterInfo CurveParameter();

/// The curve of a checked parameter value.
FadeCurve CurveOf(double number);

}  // namespace orlo::sonrel::detail
