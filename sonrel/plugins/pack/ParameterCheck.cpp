// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/ParameterCheck.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>

namespace orlo::sonrel::detail {
namespace {

using PluginPack::ParameterInfo;
using PluginPack::PluginInfo;

[[noreturn]] void Refuse(const PluginInfo& plugin, const std::string& why) {
    throw std::invalid_argument(plugin.name + ": " + why);
}

/// A number in its shortest form, in any locale.
std::string Text(double value) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
    return std::string(digits, end);
}

std::string NamesOf(const std::vector<ParameterInfo>& parameters) {
    std::string names;
    for (const ParameterInfo& parameter : parameters) {
        if (!names.empty()) names += ", ";
        names += parameter.name;
    }
    return names;
}

const ParameterInfo& ParameterNamed(const PluginInfo& plugin, const std::string& name) {
    for (const ParameterInfo& parameter : plugin.parameters) {
        if (parameter.name == name) return parameter;
    }
    Refuse(plugin, "there is no parameter \"" + name + "\", only " + NamesOf(plugin.parameters));
}

/// "gainDb must be from -96 to 24 dB, not 30"
std::string OutOfRange(const ParameterInfo& parameter, double maximum, double value) {
    std::string text =
        parameter.name + " must be from " + Text(parameter.minimum) + " to " + Text(maximum);
    if (!parameter.unit.empty()) text += " " + parameter.unit;
    text += ", not " + Text(value);
    for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
        text += (i == 0 ? " (" : ", ") + std::to_string(i) + " is " + parameter.choices[i];
    }
    return parameter.choices.empty() ? text : text + ")";
}

void CheckValue(const PluginInfo& plugin, const ParameterInfo& parameter, double value,
                int sampleRate) {
    if (!std::isfinite(value)) Refuse(plugin, parameter.name + " must be a finite number");
    double maximum = parameter.maximum;
    if (parameter.maximumOfRate > 0.0 && sampleRate > 0) {
        maximum = std::min(maximum, parameter.maximumOfRate * sampleRate);
    }
    if (value < parameter.minimum || value > maximum) {
        Refuse(plugin, OutOfRange(parameter, maximum, value));
    }
    if (parameter.whole && value != std::floor(value)) {
        Refuse(plugin, parameter.name + " must be a whole number, not " + Text(value));
    }
}

}  // namespace

PluginPack::Parameters CheckedParameters(const PluginInfo& plugin,
                                         const PluginPack::Parameters& given, int sampleRate) {
    PluginPack::Parameters checked;
    for (const ParameterInfo& parameter : plugin.parameters) {
        checked[parameter.name] = parameter.defaultValue;
    }
    for (const auto& [name, value] : given) {
        const ParameterInfo& parameter = ParameterNamed(plugin, name);
        CheckValue(plugin, parameter, value, sampleRate);
        checked[name] = value;
    }
    return checked;
}

}  // namespace orlo::sonrel::detail
