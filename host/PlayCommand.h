// SPDX-License-Identifier: MIT
#pragma once

#include "host/GlobalOptions.h"
#include "host/Outcome.h"
#include "host/PlayOptions.h"

namespace orlo::host {

Outcome RunPlay(const GlobalOptions& global, const PlayOptions& options);

}  // namespace orlo::host
