// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

/// A small pack of audio effects and transitions, created by name.
///
/// A plugin is created with its parameters and never changes: create one for each effect instance,
/// and a new plugin when a parameter changes. It keeps no state from block to block: blocks may be
/// requested in any order, and the same block always has the same bytes.
///
/// Threads: every function and every plugin of the pack may be used on any number of threads at
/// once.
namespace orlo::sonrel::PluginPack {

/// Values by parameter name. A parameter that is left out has its default.
using Parameters = std::map<std::string, double>;

/// One parameter of a plugin.
struct ParameterInfo {
    std::string name;           ///< the key in Parameters
    std::string meaning;        ///< one sentence for a user
    std::string unit;           ///< "dB", "ms", "Hz", "frames" and so on; empty for a plain number
    double minimum = 0.0;       ///< smallest value that is accepted
    double maximum = 0.0;       ///< largest value that is accepted
    double defaultValue = 0.0;  ///< the value of a parameter that is left out
    bool whole = false;         ///< only whole numbers are accepted
    /// If above 0, the value must also not exceed this fraction of the sample rate. A plugin that
    /// runs at a lower rate limits its value to the fraction.
    double maximumOfRate = 0.0;
    /// For a choice, the names of the numbers 0, 1, 2 and so on; empty for a quantity.
    std::vector<std::string> choices;
};

/// One plugin of the pack.
struct PluginInfo {
    std::string name;                       ///< for CreateEffect or CreateTransition
    std::string meaning;                    ///< one sentence for a user
    std::vector<ParameterInfo> parameters;  ///< in the order of the documentation
};

/// The effects of CreateEffect: fade, gain, delay, low-pass, high-pass, equalizer, compressor,
/// gate, limiter.
SONREL_EXPORT const std::vector<PluginInfo>& Effects();

/// The transitions of CreateTransition: cross-fade.
SONREL_EXPORT const std::vector<PluginInfo>& Transitions();

/// The number of a fade curve, for the parameter "curve".
/// @param curve  "linear" (0), "equal-power" (1) or "db" (2)
/// @throws std::invalid_argument for any other text
SONREL_EXPORT double CurveNumber(const std::string& curve);

/// Creates an effect.
/// @param name        a name of Effects()
/// @param sampleRate  the rate at which the effect will run, in hertz: limits that depend on the
///                    rate are checked as well. 0 checks only the fixed limits
/// @return never empty
/// @throws std::invalid_argument for an unknown name or parameter, and for a value that is out of
///         range or not finite; the text is one sentence with the fault and the allowed values
SONREL_EXPORT std::shared_ptr<project::AbstractPluginAudio> CreateEffect(
    const std::string& name, const Parameters& parameters = {}, int sampleRate = 0);

/// Creates a transition.
/// @param name  a name of Transitions()
/// @return never empty
/// @throws std::invalid_argument as CreateEffect
SONREL_EXPORT std::shared_ptr<project::AbstractPluginAudioTransition> CreateTransition(
    const std::string& name, const Parameters& parameters = {});

}  // namespace orlo::sonrel::PluginPack
