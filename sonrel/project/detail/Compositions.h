// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/project/AbstractLayer.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"

namespace orlo::project {

/// The asset as a composition, or null when it is none.
CompositionAsset* AsComposition(AbstractAsset* asset);

/// Whether a layer shows the composition of identity @p target, itself or at any depth.
///
/// A layer's asset that is not in @p assets leads nowhere: it cannot be mixed either.
bool LayerLeadsTo(AbstractLayer const& layer, zrtl::ZRID const& target, AssetList const& assets);

}  // namespace orlo::project
