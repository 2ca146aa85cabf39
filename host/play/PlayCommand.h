// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/play/PlayOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunPlay(const GlobalOptions& global, const PlayOptions& options);

}  // namespace orlo::host
