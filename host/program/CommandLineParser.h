// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <variant>

#include "host/align/AlignOptions.h"
#include "host/cache/CacheOptions.h"
#include "host/conform/ConformOptions.h"
#include "host/info/InfoOptions.h"
#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/peaks/PeaksOptions.h"
#include "host/play/PlayOptions.h"
#include "host/waveform/WaveformOptions.h"

namespace orlo::host {

/// The command line as the commands take it: checked and converted, except positions, which need
/// the timeline's rates.
using CommandOptions = std::variant<AlignOptions, InfoOptions, ConformOptions, MixOptions,
                                    PeaksOptions, PlayOptions, WaveformOptions, CacheOptions>;

struct CommandLine {
    GlobalOptions global;
    CommandOptions command;
};

/// A text that was asked for instead of a command: help or the version.
struct HelpText {
    std::string text;
};

/// Reads the command line.
/// @throws UsageError with one clause of our own where it is wrong
std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments);

/// Whether the caller asked for JSON, also on a command line that cannot be read.
bool WantsJson(int argumentCount, const char* const* arguments);

}  // namespace orlo::host
