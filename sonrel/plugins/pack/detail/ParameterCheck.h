// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::sonrel::detail {

/// Checks the parameters of a plugin and adds the defaults of missing parameters.
/// @param sampleRate  hertz; 0 does not check limits that depend on the rate
/// @return a value for each parameter of the plugin
/// @throws std::invalid_argument with a sentence that begins with the name of the plugin
PluginPack::Parameters CheckedParameters(const PluginPack::PluginInfo& plugin,
                                         const PluginPack::Parameters& given, int sampleRate);

}  // namespace orlo::sonrel::detail
