// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// The noise that a 16-bit result gets.
enum class DitherChoice { None, Triangular, HighPass };

}  // namespace orlo::host
