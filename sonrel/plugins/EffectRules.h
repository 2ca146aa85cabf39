// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/plugins/EffectInstance.h"

namespace orlo::project {

/// What a layer asks of an effect.
/// @throws std::invalid_argument for an empty pointer or an effect without a plugin
void AdmitLayerEffect(std::shared_ptr<EffectInstance> const& effect);

/// What an object on an audio track asks of an effect: its plugin must be an audio plugin, since
/// each effect of the chain takes one range from the chain's plan.
/// @throws std::invalid_argument also when it is none
void AdmitObjectEffect(std::shared_ptr<EffectInstance> const& effect);

}  // namespace orlo::project
