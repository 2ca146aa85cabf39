// SPDX-License-Identifier: MIT
#pragma once

#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// The result of a mix.
struct RenderedMix {
    Outcome outcome;
    Json manifest;  ///< null where the options do not need it, and for a mix that was refused
};

/// Mixes a timeline, or one of its nested items.
/// @throws CommandError of any kind
RenderedMix MixTimeline(const GlobalOptions& global, const MixOptions& options);

}  // namespace orlo::host
