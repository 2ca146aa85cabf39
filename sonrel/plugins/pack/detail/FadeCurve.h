// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::sonrel::detail {

/// How the gains of a fade run over its length. The numbers are those of the parameter "curve".
enum class FadeCurve : int { Linear = 0, EqualPower = 1, Decibel = 2 };

/// Gain of the side that fades away.
/// @param t  place in the fade, 0 at its beginning to 1 at its end; values outside are held there
/// @return 1 at t = 0, and (but for the rounding of a cosine) 0 at t = 1
double LeavingGain(FadeCurve curve, double t);

/// Gain of the side that fades in: 0 at t = 0, 1 at t = 1.
double EnteringGain(FadeCurve curve, double t);

/// The parameter "curve", equal-power by default.
PluginPack::ParameterInfo CurveParameter();

/// The curve that a checked parameter value stands for.
FadeCurve CurveOf(double number);

}  // namespace orlo::sonrel::detail
