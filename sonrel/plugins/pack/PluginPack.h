// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

/// A small pack of audio effects and transitions, made by name.
///
/// A plugin is made with its parameters and never changes: make one for each effect instance, and
/// a new one when a parameter changes. It keeps nothing from block to block, so blocks may be asked
/// for in any order, and the same block always has the same bytes.
///
/// Threads: every function, and every plugin made here, may be used from any number of threads at
/// once.
namespace orlo::sonrel::PluginPack {

/// Values by parameter name. A parameter that is left out has its default.
using Parameters = std::map<std::string, double>;

/// One parameter of a plugin.
struct ParameterInfo {
    std::string name;
    std::string meaning;        ///< a sentence for people
    std::string unit;           ///< "dB", "ms", "Hz", "frames" and so on; empty for a plain number
    double minimum = 0.0;       ///< smallest value that is taken
    double maximum = 0.0;       ///< largest value that is taken
    double defaultValue = 0.0;  ///< the value where none is given
    bool whole = false;         ///< only whole numbers are taken
    /// Above 0, the value may besides not be larger than this share of the sample rate. A plugin
    /// that runs at a lower rate than it was made for keeps to the share.
    double maximumOfRate = 0.0;
    /// For a choice, what the numbers 0, 1, 2 and so on stand for; empty for a quantity.
    std::vector<std::string> choices;
};

/// One plugin of the pack.
struct PluginInfo {
    std::string name;
    std::string meaning;  ///< a sentence for people
    std::vector<ParameterInfo> parameters;
};

/// The effects that CreateEffect makes: fade, gain, delay, low-pass, high-pass.
SONREL_EXPORT const std::vector<PluginInfo>& Effects();

/// The transitions that CreateTransition makes: cross-fade.
SONREL_EXPORT const std::vector<PluginInfo>& Transitions();

/// The number of a fade curve, as the parameter "curve" takes it.
/// @param curve  "linear" (0), "equal-power" (1) or "db" (2)
/// @throws std::invalid_argument for any other text
SONREL_EXPORT double CurveNumber(const std::string& curve);

/// Makes an effect.
/// @param name        one of Effects()
/// @param sampleRate  hertz at which the effect will run, where it is known: limits that hang on
///                    the rate are then tested too. 0 tests the fixed limits only
/// @return never empty
/// @throws std::invalid_argument  with one sentence that says what is wrong and what is allowed:
///         an unknown name or parameter, a value out of range or not finite
SONREL_EXPORT std::shared_ptr<project::AbstractPluginAudio> CreateEffect(
    const std::string& name, const Parameters& parameters = {}, int sampleRate = 0);

/// Makes a transition.
/// @param name  one of Transitions()
/// @return never empty
/// @throws std::invalid_argument  as CreateEffect does
SONREL_EXPORT std::shared_ptr<project::AbstractPluginAudioTransition> CreateTransition(
    const std::string& name, const Parameters& parameters = {});

}  // namespace orlo::sonrel::PluginPack
