// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::sonrel::detail {

/// Tests the values that are given for a plugin and adds the defaults of the others.
/// @param sampleRate  hertz; 0 leaves limits that hang on the rate untested
/// @return a value for each parameter of the plugin
/// @throws std::invalid_argument with a sentence that begins with the plugin's name
PluginPack::Parameters CheckedParameters(const PluginPack::PluginInfo& plugin,
                                         const PluginPack::Parameters& given, int sampleRate);

}  // namespace orlo::sonrel::detail
