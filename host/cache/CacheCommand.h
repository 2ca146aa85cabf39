// SPDX-License-Identifier: MIT
#pragma once

#include "host/cache/CacheOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunCache(const GlobalOptions& global, const CacheOptions& options);

}  // namespace orlo::host
