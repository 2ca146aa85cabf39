// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/plugins/EffectInstance.h"

namespace orlo::project {

/// Checks an effect of a layer.
/// @throws std::invalid_argument for an empty pointer or an effect without a plugin
void AdmitLayerEffect(std::shared_ptr<EffectInstance> const& effect);

/// Checks an effect of an object on an audio track: its plugin must be an audio plugin, since each
/// effect of the chain takes one range from the plan of the chain.
/// @throws std::invalid_argument as AdmitLayerEffect, and for a plugin of another kind
void AdmitObjectEffect(std::shared_ptr<EffectInstance> const& effect);

}  // namespace orlo::project
