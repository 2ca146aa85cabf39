// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/project/AbstractLayer.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"

namespace orlo::project {

/// The asset as a composition; null for an asset of another class.
CompositionAsset* AsComposition(AbstractAsset* asset);

/// Whether a layer shows the composition of identity @p target, directly or at any depth.
///
/// An asset that is not in @p assets ends the search: it cannot be mixed either.
bool LayerLeadsTo(AbstractLayer const& layer, zrtl::ZRID const& target, AssetList const& assets);

}  // namespace orlo::project
