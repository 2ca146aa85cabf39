// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/SampleConverter.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// The noise that a 16-bit result gets.
enum class DitherChoice { None, Triangular, HighPass };

sonrel::DitherType EngineDither(DitherChoice choice);
/// The name of a choice on the command line.
const char* DitherName(DitherChoice choice);

/// --dither and --seed
/// @param seed  0 stands for a seed from the clock
void DeclareDither(CLI::App& command, DitherChoice& dither, unsigned int& seed);

}  // namespace orlo::host
