// SPDX-License-Identifier: MIT
#pragma once

#include "host/CacheOptions.h"
#include "host/GlobalOptions.h"
#include "host/Outcome.h"

namespace orlo::host {

Outcome RunCache(const GlobalOptions& global, const CacheOptions& options);

}  // namespace orlo::host
