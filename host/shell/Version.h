// SPDX-License-Identifier: MIT
#pragma once

#ifndef SONREL_VERSION
#error "The build defines SONREL_VERSION as the project's version."
#endif

namespace orlo::host {

inline constexpr const char* VERSION = SONREL_VERSION;

}  // namespace orlo::host
