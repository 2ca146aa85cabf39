// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/SampleConverter.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// Noise that is added to a 16-bit result.
enum class DitherChoice { None, Triangular, HighPass };

sonrel::DitherType EngineDither(DitherChoice choice);
/// Name of a choice on the command line.
const char* DitherName(DitherChoice choice);

/// Declares --dither and --seed.
/// @param seed  0 means a seed from the clock
void DeclareDither(CLI::App& command, DitherChoice& dither, unsigned int& seed);

}  // namespace orlo::host
