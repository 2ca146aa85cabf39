// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/json/Json.h"
#include "host/options/GivenOptions.h"

namespace orlo::host {

/// Whether a manifest records an option of `mix`. It leaves out only the options that cannot change
/// a sample, so that an option without an entry there is recorded.
bool IsRecordedOption(const std::string& name);

/// The recorded options, as a member each: a text, true for a flag, or a list of texts for an
/// option that can be repeated.
Json RecordedOptions(const GivenOptions& given);

/// The words of a command line for recorded options.
/// @param options  an object of RecordedOptions
std::vector<std::string> WordsOf(const Json& options);

}  // namespace orlo::host
